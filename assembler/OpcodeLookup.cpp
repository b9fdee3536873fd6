// Mnemonic table of the assembler and its perfect-hash lookup.
#include "assembler/OpcodeLookup.h"

#include <cstdint>
#include <cstring>

// Never defined: reached while the table below is built, it stops the build.
void opcode_quick_table_refused();

namespace {

// ---- the lookup's own table ----
// A mnemonic is 2 to 13 bytes long. Its key is two loads that between them cover every byte
// (the first and the last 2, 4 or 8 bytes, overlapping), folded with the length; the key times
// QUICK_MULTIPLIER, its top 10 bits, is a place in a table of 1024 where no two mnemonics meet.
// The multiplier was searched for that. One multiply and one compare per statement, where the
// lookup2 hash of the displacement table mixes every byte three times.
constexpr int QUICK_BITS = 10;
constexpr int QUICK_SIZE = 1 << QUICK_BITS;
constexpr uint64_t QUICK_MULTIPLIER = 0x480AF482039446F9ull;
constexpr unsigned char QUICK_NONE = 0xFF;
constexpr int SHORTEST_MNEMONIC = 2;
constexpr int LONGEST_MNEMONIC = 13;

// Little-endian loads of 2, 4 or 8 bytes: byte by byte for the table's construction below,
// whole words at run time.
struct ByteLoad {
    constexpr uint64_t operator()(const char* text, int bytes) const {
        uint64_t value = 0;
        for (int k = bytes - 1; k >= 0; k--) {
            value = (value << 8) | static_cast<unsigned char>(text[k]);
        }
        return value;
    }
};

struct WordLoad {
    uint64_t operator()(const char* text, int bytes) const {
        if (bytes == 8) {
            uint64_t value;
            std::memcpy(&value, text, 8);
            return value;
        }
        if (bytes == 4) {
            uint32_t value;
            std::memcpy(&value, text, 4);
            return value;
        }
        uint16_t value;
        std::memcpy(&value, text, 2);
        return value;
    }
};

// 'length' is at least 2. Below 8 bytes the key holds the whole text and its length, so that
// equal keys mean equal texts.
template <class Load>
constexpr uint64_t quick_key(const char* text, int length, Load load) {
    const uint64_t size = static_cast<uint64_t>(length);
    if (length >= 8) {
        return load(text, 8) ^ (load(text + length - 8, 8) * 0x9E3779B97F4A7C15ull) ^ size;
    }
    const int half = length >= 4 ? 4 : 2;
    return (load(text, half) | load(text + length - half, half) << (8 * half)) ^ size << 56;
}

constexpr unsigned quick_place(uint64_t key) {
    return static_cast<unsigned>((key * QUICK_MULTIPLIER) >> (64 - QUICK_BITS));
}

struct QuickTable {
    unsigned char slot[QUICK_SIZE];
    // The key of each slot's mnemonic.
    uint64_t key[OpcodeLookup::OPCODE_COUNT];
};

// The slot of each place's mnemonic, QUICK_NONE for a place that none takes; a clash would
// stop the build.
constexpr QuickTable build_quick_table() {
    QuickTable table{};
    for (unsigned char& slot : table.slot) slot = QUICK_NONE;
    for (int slot = 0; slot <= OpcodeLookup::LAST_SLOT; slot++) {
        const OpcodeEntry& entry = OpcodeLookup::opcodes[slot];
        const int length = static_cast<int>(entry.name_length);
        if (length < SHORTEST_MNEMONIC || length > LONGEST_MNEMONIC) opcode_quick_table_refused();
        table.key[slot] = quick_key(entry.name, length, ByteLoad());
        unsigned char& place = table.slot[quick_place(table.key[slot])];
        if (place != QUICK_NONE) opcode_quick_table_refused();
        place = static_cast<unsigned char>(slot);
    }
    return table;
}

constexpr QuickTable QUICK_TABLE = build_quick_table();

}  // namespace

// Displacement table of the slot order: slot = opcode_table[h >> 24] ^ (h & 0x7F), where h is the
// lookup2 hash of the name with the initial value 254. Generated together with the slot order of
// opcodes; the lookup itself goes through its own table above.
// clang-format off
const unsigned char OpcodeLookup::opcode_table[DISPLACEMENT_COUNT] = {
      0,   0,   0,   0,   3,   1,   6,   0,   0,   0,   0,   0,   0,   0,   0,   1,  //   0- 15
      0,   0,   0,   2,   0,   0,   3,   0,   0,   0,   0,   0,   0,   0,   0,   0,  //  16- 31
      0,   1,   0,   0,   0,   0,   0,   2,   0,   2,   1,   1,   0,   0,   5,   0,  //  32- 47
      0,   0,   0,   4,   0,  24,   2,   0,   0,   0,   0,   1,   0,   0,  10,   0,  //  48- 63
      0,   0,   3,   0,  24,   0,   0,   0,   0,   0,   0,   0,   1,   0,   0,   0,  //  64- 79
      0,   0,   0,   1,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   2,  //  80- 95
      0,   0,   2,   0,   1,   0,   0,   0,   0,   0,   0,   0,   0,   3,  32,   0,  //  96-111
      0,   0,   0,   2,   0,  34,   2,  41,   0,  48,  33,   0,   0,   0,   0,   0,  // 112-127
     34,  10,   0,  11,   0,   0,   4,   1,   0,   0,   0,   0,   0,   0,   0,   0,  // 128-143
      3,  25,   0,   0,   0,   4,  37,   0,   5,   0,   0,   0,   0,   0,   0,   0,  // 144-159
      0,   0,  29,   0,   4,   0,   1,   0,   0,  64,   0,   4,   0,   7,   5,   0,  // 160-175
      0,  20,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,  69,   0,   3,  20,  // 176-191
      0,  51,   0, 116, 160, 192,   0,   0, 194,   0,   0, 160,   0,   0,   0, 129,  // 192-207
      0,   0,   0,   0,   0,   0,   0, 162, 160,   0, 225, 163,   0,   0,   0, 168,  // 208-223
      0,   0,   0,   3,   0, 228,   0, 173, 195, 228, 176,   0, 135, 195,   0,   0,  // 224-239
      0,   0,  19,   9,   0,   0,   0,   0,   0, 184,   0,   0,   0, 157, 192, 185,  // 240-255
};
// clang-format on

static_assert(sizeof(OpcodeLookup::opcodes) / sizeof(OpcodeLookup::opcodes[0]) == 150,
              "the mnemonic table has 149 slots and one empty entry");
static_assert(sizeof(OpcodeLookup::opcode_table) == 256,
              "the displacement table is indexed by the hash's top byte");

const OpcodeEntry* OpcodeLookup::Lookup(const char* text, int length) const {
    if (length == -1) {
        length = 0;
        while (length <= LONGEST_MNEMONIC && text[length] != 0) length++;
    }
    if (length < SHORTEST_MNEMONIC || length > LONGEST_MNEMONIC) return nullptr;
    const uint64_t key = quick_key(text, length, WordLoad());
    const unsigned slot = QUICK_TABLE.slot[quick_place(key)];
    if (slot == QUICK_NONE || QUICK_TABLE.key[slot] != key) return nullptr;
    const OpcodeEntry& entry = opcodes[slot];
    // Only a long text can share its key with a mnemonic it is not.
    if (length >= 8 && std::memcmp(entry.name, text, static_cast<size_t>(length)) != 0) {
        return nullptr;
    }
    return &entry;
}
