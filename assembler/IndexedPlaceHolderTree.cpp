// Identifier table as a hash table with linear probing.
#include "assembler/IndexedPlaceHolderTree.h"

#include <algorithm>
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

IndexedPlaceHolderTree::~IndexedPlaceHolderTree() {
    Dump();
}

// The first slot of 'key' along its probe run (the earliest of its objects, since inserts go
// to the end of the run and removals keep the run's order), or the empty slot ending the run.
size_t IndexedPlaceHolderTree::Probe(const char* key, uint64_t hash) const {
    size_t mask = slots_.size() - 1;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
        const Slot& slot = slots_[at];
        if (slot.object == nullptr) return at;
        if (slot.hash == hash && std::strcmp(slot.object->name(), key) == 0) return at;
    }
}

// Re-inserting in slot order keeps repeated keys in their order: the earlier of two lies
// earlier on the same run.
void IndexedPlaceHolderTree::Grow() {
    std::vector<Slot> old;
    old.swap(slots_);
    slots_.assign(old.empty() ? FIRST_SLOTS : old.size() * 2, Slot{0, nullptr});
    size_t mask = slots_.size() - 1;
    // Starting from a slot that begins a run, so that no run is split across the wrap.
    size_t start = 0;
    while (start < old.size() && old[start].object != nullptr) start++;
    for (size_t k = 0; k < old.size(); k++) {
        const Slot& slot = old[(start + k) % old.size()];
        if (slot.object == nullptr) continue;
        size_t at = slot.hash & mask;
        while (slots_[at].object != nullptr) at = (at + 1) & mask;
        slots_[at] = slot;
    }
}

ResolvablePlaceHolder* IndexedPlaceHolderTree::Insert(ResolvablePlaceHolder* object) {
    if ((used_ + 1) * 2 > slots_.size()) Grow();
    uint64_t hash = key_hash(object->name());
    size_t mask = slots_.size() - 1;
    size_t at = hash & mask;
    while (slots_[at].object != nullptr) at = (at + 1) & mask;
    slots_[at] = Slot{hash, object};
    used_++;
    return object;
}

// Takes the slot out and moves later slots of the same run back, so that probing still finds
// them without markers for removed keys.
ResolvablePlaceHolder* IndexedPlaceHolderTree::Remove(const char* key) {
    if (slots_.empty()) return nullptr;
    size_t mask = slots_.size() - 1;
    size_t hole = Probe(key, key_hash(key));
    ResolvablePlaceHolder* removed = slots_[hole].object;
    if (removed == nullptr) return nullptr;
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
    if (slots_.empty()) return nullptr;
    return slots_[Probe(key, key_hash(key))].object;
}

void IndexedPlaceHolderTree::Dump() {
    if (owner()) {
        for (const Slot& slot : slots_) delete slot.object;
    }
    // Swapped out rather than shrunk: without exceptions the library's shrink_to_fit keeps
    // the memory.
    std::vector<Slot>().swap(slots_);
    used_ = 0;
}

void IndexedPlaceHolderTree::AppendToList(List<ResolvablePlaceHolder>& list) {
    std::vector<ResolvablePlaceHolder*> objects;
    objects.reserve(used_);
    // Walked like Grow, so that repeated keys come out in their order.
    size_t start = 0;
    while (start < slots_.size() && slots_[start].object != nullptr) start++;
    for (size_t k = 0; k < slots_.size(); k++) {
        const Slot& slot = slots_[(start + k) % slots_.size()];
        if (slot.object != nullptr) objects.push_back(slot.object);
    }
    std::stable_sort(objects.begin(), objects.end(),
                     [](ResolvablePlaceHolder* a, ResolvablePlaceHolder* b) {
                         return std::strcmp(a->name(), b->name()) < 0;
                     });
    for (ResolvablePlaceHolder* object : objects) list.Insert(object, LIST_TAIL);
}
