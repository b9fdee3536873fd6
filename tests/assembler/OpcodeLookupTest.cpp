// The mnemonic table walked row by row through the real hash, and its size bits.
#include "assembler/OpcodeLookup.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "compiled/Segment.h"

namespace {

// The size bits a code must carry for an operand of 'kind' in the first or second place.
unsigned SizeBitsFor(int kind, bool second) {
    if (kind == OPERAND_NONE) return 0;
    if (kind == OPERAND_NUMBER) return second ? SEGMENT_SECOND_DOUBLE : SEGMENT_FIRST_DOUBLE;
    return second ? SEGMENT_SECOND_DWORD : SEGMENT_FIRST_DWORD;
}

}  // namespace

TEST(OpcodeLookup, EveryMnemonicIsFoundAtItsOwnSlot) {
    OpcodeLookup lookup;
    std::set<std::string> names;
    for (int slot = 0; slot <= OpcodeLookup::LAST_SLOT; ++slot) {
        const OpcodeEntry& entry = OpcodeLookup::opcodes[slot];
        ASSERT_NE(entry.name, nullptr) << "slot " << slot;
        EXPECT_EQ(entry.name_length, std::strlen(entry.name)) << entry.name;
        EXPECT_TRUE(names.insert(entry.name).second) << "mnemonic twice: " << entry.name;
        EXPECT_EQ(lookup.Lookup(entry.name, -1), &entry) << entry.name << " at slot " << slot;
        EXPECT_EQ(lookup.Lookup(entry.name, static_cast<int>(entry.name_length)), &entry);
    }
    EXPECT_EQ(names.size(), 149u);
    // A text one byte away from a mnemonic, or one byte longer or shorter, is no mnemonic
    // unless it is another one.
    for (const std::string& name : names) {
        for (size_t at = 0; at < name.size(); ++at) {
            for (const std::string& near : {name.substr(0, at) + "x" + name.substr(at),
                                            name.substr(0, at) + name.substr(at + 1),
                                            name.substr(0, at) + "_" + name.substr(at + 1),
                                            name + name.substr(at, 1)}) {
                const OpcodeEntry* found = lookup.Lookup(near.data(), static_cast<int>(near.size()));
                EXPECT_EQ(found != nullptr, names.count(near) == 1) << near;
            }
        }
    }
}

TEST(OpcodeLookup, SizeBitsAgreeWithOperandKinds) {
    std::set<unsigned> codes;
    for (int slot = 0; slot <= OpcodeLookup::LAST_SLOT; ++slot) {
        const OpcodeEntry& e = OpcodeLookup::opcodes[slot];
        SCOPED_TRACE(e.name);
        EXPECT_TRUE(codes.insert(e.code).second) << "code twice";
        int kinds[2] = {e.operand_kind1, e.operand_kind2};
        unsigned counted = 0;
        for (int kind : kinds) {
            if (kind != OPERAND_NONE) ++counted;
            EXPECT_TRUE(kind == OPERAND_NONE ||
                        (kind >= OPERAND_INTEGER && kind <= OPERAND_FUNCTION && kind != 6));
        }
        EXPECT_EQ(e.operand_count, counted);
        // A second operand never comes without a first.
        EXPECT_FALSE(e.operand_kind1 == OPERAND_NONE && e.operand_kind2 != OPERAND_NONE);
        unsigned expected =
            SizeBitsFor(e.operand_kind1, false) | SizeBitsFor(e.operand_kind2, true);
        EXPECT_EQ(e.code & 0xF000, expected);
        // Bits 10-11 are never used; bits 8-9 name the group.
        EXPECT_EQ(e.code & 0x0C00, 0u);
    }
}
