// An identifier tree kept as a hash table alone: a program's string constants, globals and
// functions run to hundreds of thousands, and a lookup then costs a probe or two rather than a
// string comparison at every level of a tree, and an insert allocates no node.
#ifndef TARN_ASSEMBLER_INDEXEDPLACEHOLDERTREE_H
#define TARN_ASSEMBLER_INDEXEDPLACEHOLDERTREE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "assembler/FunctionContext.h"
#include "assembler/ResolvablePlaceHolder.h"

// Used wherever a PlaceHolderTree is: the tree part underneath stays empty. Callers Find before
// they Insert, so keys are unique in practice; a key inserted again is kept all the same, and
// Find and Remove then take the earliest of its objects still present.
class IndexedPlaceHolderTree : public PlaceHolderTree {
  public:
    explicit IndexedPlaceHolderTree(int owner) : PlaceHolderTree(owner) {}
    ~IndexedPlaceHolderTree() override;

    int Entries() const override { return static_cast<int>(used_); }
    ResolvablePlaceHolder* Insert(ResolvablePlaceHolder* object) override;
    ResolvablePlaceHolder* Remove(const char* key) override;
    ResolvablePlaceHolder* Find(const char* key) override;
    void Dump() override;
    // In key order; objects of one key in the order they were inserted.
    void AppendToList(List<ResolvablePlaceHolder>& list) override;

  private:
    // Open addressing with linear probing, at most half full; a slot holds the key's hash and
    // the object, whose name is the key.
    struct Slot {
        uint64_t hash;
        ResolvablePlaceHolder* object;
    };
    size_t Probe(const char* key, uint64_t hash) const;
    void Grow();

    std::vector<Slot> slots_;
    size_t used_ = 0;
};

#endif
