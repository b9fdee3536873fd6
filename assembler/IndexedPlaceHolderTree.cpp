// Identifier tree with a hash index beside it; the tree stays the authority.
#include "assembler/IndexedPlaceHolderTree.h"

#include <cstring>

namespace {

// The first table's slots; it doubles when half full.
constexpr size_t FIRST_SLOTS = 64;

uint64_t key_hash(const char* key) {
    uint64_t hash = 0xCBF29CE484222325ull;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(key); *p != 0; p++) {
        hash = (hash ^ *p) * 0x100000001B3ull;
    }
    return hash ^ (hash >> 29);
}

}  // namespace

// The slot of 'key', or the empty slot where it would go.
size_t IndexedPlaceHolderTree::Probe(const char* key, uint64_t hash) {
    size_t mask = slots_.size() - 1;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
        const Slot& slot = slots_[at];
        if (slot.object == nullptr) return at;
        if (slot.hash == hash && std::strcmp(Key(slot.object), key) == 0) return at;
    }
}

void IndexedPlaceHolderTree::Grow() {
    std::vector<Slot> old;
    old.swap(slots_);
    slots_.assign(old.empty() ? FIRST_SLOTS : old.size() * 2, Slot{0, nullptr});
    for (const Slot& slot : old) {
        if (slot.object != nullptr) slots_[Probe(Key(slot.object), slot.hash)] = slot;
    }
}

ResolvablePlaceHolder* IndexedPlaceHolderTree::Insert(ResolvablePlaceHolder* object) {
    PlaceHolderTree::Insert(object);
    if (repeated_) return object;
    if ((used_ + 1) * 2 > slots_.size()) Grow();
    const char* key = Key(object);
    uint64_t hash = key_hash(key);
    Slot& slot = slots_[Probe(key, hash)];
    if (slot.object != nullptr) {
        repeated_ = true;
    } else {
        slot = Slot{hash, object};
        used_++;
    }
    return object;
}

// Takes the slot out and moves later slots of the same run back, so that probing still finds
// them without markers for removed keys.
ResolvablePlaceHolder* IndexedPlaceHolderTree::Remove(const char* key) {
    ResolvablePlaceHolder* removed = PlaceHolderTree::Remove(key);
    if (removed == nullptr || repeated_ || slots_.empty()) return removed;
    size_t mask = slots_.size() - 1;
    size_t hole = Probe(key, key_hash(key));
    if (slots_[hole].object == nullptr) return removed;
    slots_[hole] = Slot{0, nullptr};
    used_--;
    for (size_t at = (hole + 1) & mask; slots_[at].object != nullptr; at = (at + 1) & mask) {
        size_t home = slots_[at].hash & mask;
        // The slot stays unless the hole lies on its way from its home to where it is.
        bool stays = hole <= at ? (home > hole && home <= at) : (home > hole || home <= at);
        if (stays) continue;
        slots_[hole] = slots_[at];
        slots_[at] = Slot{0, nullptr};
        hole = at;
    }
    return removed;
}

ResolvablePlaceHolder* IndexedPlaceHolderTree::Find(const char* key) {
    if (repeated_) return PlaceHolderTree::Find(key);
    if (slots_.empty()) return nullptr;
    return slots_[Probe(key, key_hash(key))].object;
}

void IndexedPlaceHolderTree::Dump() {
    PlaceHolderTree::Dump();
    slots_.clear();
    used_ = 0;
    repeated_ = false;
}
