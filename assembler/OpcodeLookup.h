// Mnemonic table of the assembler: instruction code, operand count and operand kinds of every
// mnemonic the virtual machine executes, found through a minimal perfect hash.
#ifndef TARN_ASSEMBLER_OPCODELOOKUP_H
#define TARN_ASSEMBLER_OPCODELOOKUP_H

// Operand kinds, as the grammar hands them to ProcessImmediate. Kind 6 belongs to no mnemonic.
constexpr int OPERAND_NONE = -1;
constexpr int OPERAND_INTEGER = 0;
constexpr int OPERAND_NUMBER = 1;
constexpr int OPERAND_STRING = 2;
constexpr int OPERAND_SYSTEM = 3;
constexpr int OPERAND_GLOBAL = 4;
constexpr int OPERAND_LOCAL = 5;
constexpr int OPERAND_LABEL = 7;
constexpr int OPERAND_FUNCTION = 8;

// The codes carry the operand size bits of compiled/Segment.h (SEGMENT_FIRST_* and
// SEGMENT_SECOND_*), which announce the operands that follow the code in the segment.

struct OpcodeEntry {
    unsigned code;
    unsigned operand_count;
    int operand_kind1;
    int operand_kind2;
    unsigned name_length;
    const char* name;
};

class OpcodeLookup {
  public:
    // Slots 0-148 hold the mnemonics; slot 149 is an empty entry that no lookup reaches.
    static constexpr int OPCODE_COUNT = 150;
    static constexpr int LAST_SLOT = 148;
    static constexpr int DISPLACEMENT_COUNT = 256;

    static const OpcodeEntry opcodes[OPCODE_COUNT];
    static const unsigned char opcode_table[DISPLACEMENT_COUNT];

    OpcodeLookup() {}
    virtual ~OpcodeLookup() {}

    // The entry of the mnemonic, or null. Exact length and case; 'length' of -1 means 'text' is
    // NUL-terminated and is measured.
    const OpcodeEntry* Lookup(const char* text, int length) const;
};

#endif
