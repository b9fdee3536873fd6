// The assembler's name-to-number tables: string constants, globals, system variables, functions,
// and each function's identifiers and labels. A name is looked up where the token lies, without
// a copy; the names are kept, each behind its number and length, in one byte array that grows
// in place, and the hash table holds 8-byte slots that point into it. A program's hundreds of
// thousands of string constants then cost some 30 bytes each, and a lookup touches a slot and
// the one entry it names.
#ifndef TARN_ASSEMBLER_NAMETABLE_H
#define TARN_ASSEMBLER_NAMETABLE_H

#include <cstddef>
#include <cstdint>

#include "foundation/GrowingArray.h"

class NameTable {
  public:
    NameTable() = default;
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;

    int Entries() const { return static_cast<int>(used_); }

    // True with '*value' set when 'name' is present; names compare byte for byte, with case.
    bool Find(const char* name, int length, int* value) const;
    // Adds 'name' bound to 'value'; a name already present keeps its value.
    void Insert(const char* name, int length, int value);
    // Finds 'name' or adds it, bound to 0, in one probe; '*added' tells which. Returns where
    // its value lies, to be read or set before the table changes again.
    int* Add(const char* name, int length, bool* added);
    // Starts loading the slot where 'name' would be found, for a lookup a little later: the
    // slots of a table of many names are rarely in the cache.
    void Prefetch(const char* name, int length) const {
        if (slots_.size() > 0)
            __builtin_prefetch(&slots_[Hash(name, length) & (slots_.size() - 1)]);
    }

    // Forgets every name. A small table keeps its storage for the next use, as a function's
    // labels do from one function to the next; a large one gives it back.
    void Clear();

  private:
    // A slot is 0 when empty, else the entry's offset in 'names_' in 4-byte units plus 1 in
    // its low 40 bits, and the high 24 bits of the name's hash above them.
    static constexpr int OFFSET_BITS = 40;
    static constexpr uint64_t OFFSET_MASK = (uint64_t{1} << OFFSET_BITS) - 1;

    static uint64_t Hash(const char* name, int length);
    // The slot of 'name', or the empty slot that ends its probe run.
    size_t Probe(const char* name, int length, uint64_t hash) const;
    void Place(uint64_t hash, size_t offset);
    // Rebuilds the slots at 'slot_count', reading the entries in the order they were added.
    void Rehash(size_t slot_count);

    // Entries one after another: the value (4 bytes), the length (4 bytes), the name, padded
    // to a multiple of 4 bytes.
    GrowingArray<char> names_;
    GrowingArray<uint64_t> slots_;
    size_t used_ = 0;
};

#endif
