// Name tables over one byte array of entries.
#include "assembler/NameTable.h"

#include <cstring>

namespace {

// The first table's slots; the table doubles when more than 5/8 full.
constexpr size_t FIRST_SLOTS = 16;
// What Clear keeps: the tables of an ordinary function fit, a huge one is given back.
constexpr size_t KEPT_SLOTS = 4096;
constexpr size_t KEPT_NAME_BYTES = 64 * 1024;
constexpr size_t ENTRY_HEADER = 8;

size_t entry_size(int length) {
    return (ENTRY_HEADER + static_cast<size_t>(length) + 3) & ~size_t{3};
}

uint64_t load8(const unsigned char* p) {
    uint64_t word;
    std::memcpy(&word, p, 8);
    return word;
}

uint64_t load4(const unsigned char* p) {
    uint32_t word;
    std::memcpy(&word, p, 4);
    return word;
}

// Equality of two texts of 'length' bytes. Names are mostly short: up to 16 bytes they are
// compared as two overlapping words, without the library call.
bool same_text(const char* a, const char* b, size_t length) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    if (length >= 8) {
        if (length > 16) return std::memcmp(p, q, length) == 0;
        return ((load8(p) ^ load8(q)) | (load8(p + length - 8) ^ load8(q + length - 8))) == 0;
    }
    if (length >= 4) {
        return ((load4(p) ^ load4(q)) | (load4(p + length - 4) ^ load4(q + length - 4))) == 0;
    }
    for (size_t k = 0; k < length; k++) {
        if (p[k] != q[k]) return false;
    }
    return true;
}

}  // namespace

// Eight bytes at a time, each folded in with a multiply; the last, partial word is read as
// words that overlap what came before, as nothing may be read past a name's end.
uint64_t NameTable::Hash(const char* name, int length) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(name);
    uint64_t h = 0x9E3779B97F4A7C15ull ^ static_cast<uint64_t>(length);
    const size_t size = static_cast<size_t>(length);
    uint64_t last;
    if (size >= 8) {
        size_t at = 0;
        for (; at + 8 < size; at += 8) {
            h = (h ^ load8(p + at)) * 0xFF51AFD7ED558CCDull;
            h ^= h >> 32;
        }
        last = load8(p + size - 8);
    } else if (size >= 4) {
        last = load4(p) | load4(p + size - 4) << 32;
    } else if (size > 0) {
        last = p[0] | static_cast<uint64_t>(p[size / 2]) << 8 |
               static_cast<uint64_t>(p[size - 1]) << 16;
    } else {
        last = 0;
    }
    // Every bit of the last word must reach the low bits that pick the home slot, and a
    // product's low bits only see the factors' low bits: a second round folds the high half
    // down before multiplying again.
    h = (h ^ last) * 0xC4CEB9FE1A85EC53ull;
    h = (h ^ (h >> 32)) * 0xFF51AFD7ED558CCDull;
    return h ^ (h >> 29);
}

size_t NameTable::Probe(const char* name, int length, uint64_t hash) const {
    const size_t mask = slots_.size() - 1;
    const uint64_t tag = hash >> OFFSET_BITS;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
        const uint64_t slot = slots_[at];
        if (slot == 0) return at;
        if ((slot >> OFFSET_BITS) != tag) continue;
        const char* entry = names_.data() + ((slot & OFFSET_MASK) - 1) * 4;
        int32_t entry_length;
        std::memcpy(&entry_length, entry + 4, 4);
        if (entry_length == length &&
            same_text(entry + ENTRY_HEADER, name, static_cast<size_t>(length))) {
            return at;
        }
    }
}

bool NameTable::Find(const char* name, int length, int* value) const {
    if (used_ == 0) return false;
    const uint64_t slot = slots_[Probe(name, length, Hash(name, length))];
    if (slot == 0) return false;
    std::memcpy(value, names_.data() + ((slot & OFFSET_MASK) - 1) * 4, 4);
    return true;
}

void NameTable::Place(uint64_t hash, size_t offset) {
    const size_t mask = slots_.size() - 1;
    size_t at = hash & mask;
    while (slots_[at] != 0) at = (at + 1) & mask;
    slots_[at] = (hash >> OFFSET_BITS << OFFSET_BITS) | (offset / 4 + 1);
}

void NameTable::Rehash(size_t slot_count) {
    GrowingArray<uint64_t>().swap(slots_);
    slots_.resize(slot_count);
    for (size_t offset = 0; offset < names_.size();) {
        int32_t length;
        std::memcpy(&length, names_.data() + offset + 4, 4);
        Place(Hash(names_.data() + offset + ENTRY_HEADER, length), offset);
        offset += entry_size(length);
    }
}

void NameTable::Insert(const char* name, int length, int value) {
    bool added;
    int* bound = Add(name, length, &added);
    if (added) std::memcpy(bound, &value, 4);
}

int* NameTable::Add(const char* name, int length, bool* added) {
    if ((used_ + 1) * 8 > slots_.size() * 5) {
        Rehash(slots_.size() == 0 ? FIRST_SLOTS : slots_.size() * 2);
    }
    const uint64_t hash = Hash(name, length);
    const size_t at = Probe(name, length, hash);
    if (slots_[at] != 0) {
        *added = false;
        return reinterpret_cast<int*>(names_.data() + ((slots_[at] & OFFSET_MASK) - 1) * 4);
    }
    const size_t offset = names_.size();
    char header[ENTRY_HEADER] = {};
    const int32_t stored_length = length;
    std::memcpy(header + 4, &stored_length, 4);
    names_.append(header, ENTRY_HEADER);
    names_.append(name, static_cast<size_t>(length));
    static const char PADDING[4] = {};
    names_.append(PADDING, offset + entry_size(length) - names_.size());
    slots_[at] = (hash >> OFFSET_BITS << OFFSET_BITS) | (offset / 4 + 1);
    used_++;
    *added = true;
    return reinterpret_cast<int*>(names_.data() + offset);
}

void NameTable::Clear() {
    if (slots_.size() > KEPT_SLOTS) {
        GrowingArray<uint64_t>().swap(slots_);
    } else if (used_ > 0) {
        std::memset(slots_.data(), 0, slots_.size() * sizeof(uint64_t));
    }
    if (names_.capacity() > KEPT_NAME_BYTES) {
        GrowingArray<char>().swap(names_);
    } else {
        names_.resize(0);
    }
    used_ = 0;
}
