// Placeholders made in blocks.
#include "assembler/PlaceHolderPool.h"

#include <cstddef>
#include <new>

PlaceHolderPool::~PlaceHolderPool() {
    Release();
}

ResolvablePlaceHolder* PlaceHolderPool::Make(const char* name, int length, int value,
                                             FunctionContext* context) {
    int at = made_ % BLOCK_OBJECTS;
    if (at == 0) {
        blocks_.push_back(static_cast<ResolvablePlaceHolder*>(
            ::operator new(sizeof(ResolvablePlaceHolder) * BLOCK_OBJECTS)));
    }
    made_++;
    return new (blocks_.back() + at) ResolvablePlaceHolder(name, length, value, context);
}

void PlaceHolderPool::Release() {
    int left = made_;
    for (ResolvablePlaceHolder* block : blocks_) {
        int in_block = left < BLOCK_OBJECTS ? left : BLOCK_OBJECTS;
        for (int k = 0; k < in_block; k++) block[k].~ResolvablePlaceHolder();
        left -= in_block;
        ::operator delete(block);
    }
    std::vector<ResolvablePlaceHolder*>().swap(blocks_);
    made_ = 0;
}
