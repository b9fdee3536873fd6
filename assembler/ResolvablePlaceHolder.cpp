// A name bound to a number or to a place in a code segment.
#include "assembler/ResolvablePlaceHolder.h"

#include <cstring>

#include "assembler/FunctionContext.h"

ResolvablePlaceHolder::ResolvablePlaceHolder(const char* name, int length, int value,
                                             FunctionContext* context, int opcode,
                                             int operand_number)
    : name_(length < INLINE_NAME ? inline_name_ : new char[length + 1]),
      name_length_(length),
      value_(value),
      context_(context),
      opcode_(opcode),
      operand_number_(operand_number) {
    if (length > 0) std::memcpy(name_, name, static_cast<size_t>(length));
    name_[length] = '\0';
}

ResolvablePlaceHolder::~ResolvablePlaceHolder() {
    if (name_ != inline_name_) delete[] name_;
}

Segment* ResolvablePlaceHolder::SegmentAddress() const {
    return context_ != nullptr ? context_->segment() : nullptr;
}
