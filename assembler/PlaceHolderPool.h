// Placeholders made in blocks, for the names that live until the file is written: the string
// constants, the function names and the function references. A large program has hundreds of
// thousands of them; made one by one they would lie scattered among the objects that stay
// (functions, segments), and their memory could not go back to the system once freed.
#ifndef TARN_ASSEMBLER_PLACEHOLDERPOOL_H
#define TARN_ASSEMBLER_PLACEHOLDERPOOL_H

#include <vector>

#include "assembler/ResolvablePlaceHolder.h"

class PlaceHolderPool {
  public:
    PlaceHolderPool() = default;
    ~PlaceHolderPool();
    PlaceHolderPool(const PlaceHolderPool&) = delete;
    PlaceHolderPool& operator=(const PlaceHolderPool&) = delete;

    // A placeholder as ResolvablePlaceHolder's constructor makes it, owned by the pool: it
    // must not be deleted, and lives until Release.
    ResolvablePlaceHolder* Make(const char* name, int length, int value,
                                FunctionContext* context = nullptr);
    // Destroys every placeholder made so far and gives their blocks back.
    void Release();

  private:
    // Placeholders a block holds: a block is then large enough to be mapped on its own.
    static constexpr int BLOCK_OBJECTS = 4096;

    std::vector<ResolvablePlaceHolder*> blocks_;
    int made_ = 0;
};

#endif
