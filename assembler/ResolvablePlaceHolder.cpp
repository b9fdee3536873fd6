// A name bound to a number or to a place in a code segment.
#include "assembler/ResolvablePlaceHolder.h"

#include <cstring>

#include "assembler/FunctionContext.h"

ResolvablePlaceHolder::ResolvablePlaceHolder(const char* name, int length, int value,
                                             FunctionContext* context, int opcode,
                                             int operand_number)
    : name_length_(length),
      value_(value),
      context_(context),
      opcode_(opcode),
      operand_number_(operand_number) {
    char* copy = inline_name_;
    if (length >= INLINE_NAME) copy = long_name_ = new char[length + 1];
    if (length > 0) std::memcpy(copy, name, static_cast<size_t>(length));
    copy[length] = '\0';
}

ResolvablePlaceHolder::~ResolvablePlaceHolder() {
    if (name_length_ >= INLINE_NAME) delete[] long_name_;
}

Segment* ResolvablePlaceHolder::SegmentAddress() const {
    return context_ != nullptr ? context_->segment() : nullptr;
}
