// The instructions of one code segment decoded for reading: each opcode with its mnemonic
// table row and operands, and the positions that jumps land on.
#ifndef TARN_DRIVER_DISASSEMBLY_H
#define TARN_DRIVER_DISASSEMBLY_H

#include <cstddef>
#include <vector>

#include "assembler/OpcodeLookup.h"

class Segment;

struct DecodedOperand {
    int kind;  // operand kind of the mnemonic table, -1 for a code it does not know
    bool is_double;
    int position;  // of the operand's first byte
    int dword;
    double real;
    // Label operands: where the jump lands, from the displacement the way the assembler made
    // it; -1 for other operands.
    long long target;
};

struct DecodedInstruction {
    int position;
    int length;  // bytes of opcode and operands
    unsigned code;
    const OpcodeEntry* entry;  // null for a code that is no mnemonic
    int operand_count;
    DecodedOperand operands[2];
    // The segment ends inside the instruction; its operands are not read.
    bool truncated;
};

class Disassembly {
  public:
    explicit Disassembly(const Segment& segment);

    int Instructions() const { return static_cast<int>(instructions_.size()); }
    const DecodedInstruction& instruction(int i) const {
        return instructions_[static_cast<size_t>(i)];
    }
    int length() const { return length_; }

    // The number (from 1, in position order) of the label at 'position', 0 when no jump lands
    // there.
    int Label(int position) const;
    // Whether 'target' is where an instruction starts, or the end of the segment.
    bool IsBoundary(long long target) const;

    // The mnemonic table row of instruction code 'code', or null.
    static const OpcodeEntry* Entry(unsigned code);

  private:
    std::vector<DecodedInstruction> instructions_;
    std::vector<int> labels_;  // sorted positions that jumps land on
    int length_;
};

#endif
