// Decoding of one code segment.
#include "driver/Disassembly.h"

#include <algorithm>

#include "compiled/Segment.h"

namespace {

// A label operand counts its displacement from the end of the operand, except the first
// operand of an instruction with a second one: from the end of a 4-byte second operand, and
// 13 bytes on for an 8-byte one. The assembler patches the operands so; this undoes it.
long long label_base(unsigned code, int operand, int operand_position) {
    if (operand == 0 && (code & SEGMENT_SECOND_DWORD) != 0) return operand_position + 8LL;
    if (operand == 0 && (code & SEGMENT_SECOND_DOUBLE) != 0) return operand_position + 13LL;
    return operand_position + 4LL;
}

}  // namespace

Disassembly::Disassembly(const Segment& segment) : length_(segment.length()) {
    std::vector<long long> targets;
    int position = 0;
    while (position < length_) {
        DecodedInstruction instruction = {};
        instruction.position = position;
        instruction.operands[0].target = instruction.operands[1].target = -1;
        unsigned code = 0;
        int next = segment.Read_Word(position, &code);
        if (next < 0) {
            instruction.truncated = true;
            instruction.length = length_ - position;
            instructions_.push_back(instruction);
            break;
        }
        instruction.code = code;
        instruction.entry = Entry(code);
        // The shape bits say what follows: 0x4000 / 0x8000 a first operand of 4 / 8 bytes,
        // 0x1000 / 0x2000 a second one; a field with both bits set announces nothing.
        unsigned shapes[2] = {(code & 0xC000) >> 14, (code & 0x3000) >> 12};
        for (int o = 0; o < 2 && !instruction.truncated; ++o) {
            if (shapes[o] != 1 && shapes[o] != 2) {
                if (o == 0) continue;
                break;
            }
            DecodedOperand& operand = instruction.operands[instruction.operand_count];
            operand.position = next;
            operand.is_double = shapes[o] == 2;
            operand.kind = -1;
            if (instruction.entry != nullptr) {
                operand.kind = instruction.operand_count == 0 ? instruction.entry->operand_kind1
                                                              : instruction.entry->operand_kind2;
            }
            if (operand.is_double) {
                next = segment.Read_Double(next, &operand.real);
            } else {
                unsigned value = 0;
                next = segment.Read_Dword(next, &value);
                operand.dword = static_cast<int>(value);
            }
            if (next < 0) {
                instruction.truncated = true;
                break;
            }
            if (operand.kind == OPERAND_LABEL && !operand.is_double) {
                operand.target =
                    label_base(code, instruction.operand_count, operand.position) + operand.dword;
                targets.push_back(operand.target);
            }
            ++instruction.operand_count;
        }
        if (instruction.truncated) {
            instruction.length = length_ - position;
            instructions_.push_back(instruction);
            break;
        }
        instruction.length = next - position;
        instructions_.push_back(instruction);
        position = next;
    }
    // Only targets that can carry a label are kept: inside the segment or at its end.
    for (long long target : targets) {
        if (IsBoundary(target)) labels_.push_back(static_cast<int>(target));
    }
    std::sort(labels_.begin(), labels_.end());
    labels_.erase(std::unique(labels_.begin(), labels_.end()), labels_.end());
}

int Disassembly::Label(int position) const {
    auto found = std::lower_bound(labels_.begin(), labels_.end(), position);
    if (found == labels_.end() || *found != position) return 0;
    return static_cast<int>(found - labels_.begin()) + 1;
}

bool Disassembly::IsBoundary(long long target) const {
    if (target == length_) return true;
    if (target < 0 || target > length_) return false;
    auto found = std::lower_bound(
        instructions_.begin(), instructions_.end(), target,
        [](const DecodedInstruction& i, long long value) { return i.position < value; });
    return found != instructions_.end() && found->position == target && !found->truncated;
}

const OpcodeEntry* Disassembly::Entry(unsigned code) {
    for (int slot = 0; slot <= OpcodeLookup::LAST_SLOT; ++slot) {
        if (OpcodeLookup::opcodes[slot].code == code && OpcodeLookup::opcodes[slot].name_length > 0)
            return &OpcodeLookup::opcodes[slot];
    }
    return nullptr;
}
