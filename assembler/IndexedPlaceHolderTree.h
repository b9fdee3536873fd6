// An identifier tree that also files its names in a hash index: a program's string constants,
// globals and functions run to hundreds of thousands, and a lookup then costs a probe or two
// rather than a string comparison at every level of the tree.
#ifndef TARN_ASSEMBLER_INDEXEDPLACEHOLDERTREE_H
#define TARN_ASSEMBLER_INDEXEDPLACEHOLDERTREE_H

#include <cstdint>
#include <vector>

#include "assembler/FunctionContext.h"
#include "assembler/ResolvablePlaceHolder.h"

class IndexedPlaceHolderTree : public PlaceHolderTree {
  public:
    explicit IndexedPlaceHolderTree(int owner) : PlaceHolderTree(owner) {}

    ResolvablePlaceHolder* Insert(ResolvablePlaceHolder* object) override;
    ResolvablePlaceHolder* Remove(const char* key) override;
    // The object the tree itself would find.
    ResolvablePlaceHolder* Find(const char* key) override;
    void Dump() override;

  private:
    // Open addressing with linear probing; a slot holds the key's hash and the object, whose
    // name is the key. Once a name has been inserted twice the index can no longer tell which
    // of the equal names the tree finds, and lookups go through the tree.
    struct Slot {
        uint64_t hash;
        ResolvablePlaceHolder* object;
    };
    size_t Probe(const char* key, uint64_t hash);
    void Grow();

    std::vector<Slot> slots_;
    size_t used_ = 0;
    bool repeated_ = false;
};

#endif
