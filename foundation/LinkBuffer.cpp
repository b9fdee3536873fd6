// Chain of blocks for building text of unknown length: bytes are appended or prepended
// without moving what is held, and made contiguous once at the end.
#include "foundation/LinkBuffer.h"

#include <cstring>

#include "foundation/Conversions.h"
#include "platform/Output.h"
#include "value/Variable.h"

namespace {

// Size of a block that starts with 'length' bytes: the next multiple of 'unit' beyond it, so
// a block always has spare room for what follows.
int block_size(int length, int unit) {
    return (length / unit + 1) * unit;
}

int checked_length(const char* bytes, int length) {
    if (bytes == nullptr) {
        return 0;
    }
    if (length == -1) {
        return static_cast<int>(std::strlen(bytes));
    }
    return length < 0 ? 0 : length;
}

}  // namespace

// ---- blocks ----

LinkBuffer_Block::LinkBuffer_Block(int size)
    : data(new char[size > 0 ? size : 0]),
      used(0),
      capacity(size > 0 ? size : 0),
      next(nullptr),
      previous(nullptr) {}

LinkBuffer_Block::LinkBuffer_Block(char* data, int used, int capacity)
    : data(data), used(used), capacity(capacity), next(nullptr), previous(nullptr) {}

LinkBuffer_Block::~LinkBuffer_Block() {
    delete[] data;
    // The rest of the chain is destroyed one block at a time, not by recursion, so that a long
    // chain cannot exhaust the call stack.
    LinkBuffer_Block* rest = next;
    while (rest != nullptr) {
        LinkBuffer_Block* following = rest->next;
        rest->next = nullptr;
        delete rest;
        rest = following;
    }
}

int LinkBuffer_Block::cat(const char* bytes, int length) {
    int room = capacity - used;
    int count = length < room ? length : room;
    if (count <= 0 || bytes == nullptr) {
        return 0;
    }
    std::memcpy(data + used, bytes, count);
    used += count;
    return count;
}

void LinkBuffer_Block::release() {
    data = nullptr;
    used = 0;
    capacity = 0;
}

// ---- buffer ----

LinkBuffer::LinkBuffer(int first_unit, int later_unit)
    : head_(nullptr),
      tail_(nullptr),
      total_(0),
      first_unit_(first_unit > 0 ? first_unit : 1),
      later_unit_(later_unit > 0 ? later_unit : 1) {}

LinkBuffer::~LinkBuffer() {
    delete head_;
}

void LinkBuffer::cat(const char* bytes, int length) {
    length = checked_length(bytes, length);
    if (head_ == nullptr) {
        head_ = tail_ = new LinkBuffer_Block(block_size(length, first_unit_));
    }
    total_ += length;
    int copied = tail_->cat(bytes, length);
    int remaining = length - copied;
    if (remaining > 0) {
        LinkBuffer_Block* block = new LinkBuffer_Block(block_size(remaining, later_unit_));
        block->cat(bytes + copied, remaining);
        link_after_tail(block, block);
    }
}

void LinkBuffer::cat_nocopy(char* data, int length, int capacity) {
    if (data == nullptr) {
        return;
    }
    length = length < 0 ? 0 : length;
    LinkBuffer_Block* block =
        new LinkBuffer_Block(data, length, capacity < length ? length : capacity);
    total_ += length;
    link_after_tail(block, block);
}

void LinkBuffer::cat_hex(unsigned char byte) {
    static const char hex_digits[] = "0123456789ABCDEF";
    const char digits[2] = {hex_digits[byte >> 4], hex_digits[byte & 0x0F]};
    cat(digits, 2);
}

void LinkBuffer::cat(int value) {
    int length = 0;
    int size = 0;
    char* text = itos(value, &length, &size);
    cat_nocopy(text, length, size);
}

void LinkBuffer::cat(double value) {
    int length = 0;
    int size = 0;
    char* text = dtos(value, &length, &size);
    cat_nocopy(text, length, size);
}

void LinkBuffer::cat(mpd_t* value) {
    if (value == nullptr) {
        return;
    }
    int length = 0;
    int size = 0;
    char* text = mpdtos(value, &length, &size);
    cat_nocopy(text, length, size);
}

void LinkBuffer::cat(Variable* variable) {
    if (variable == nullptr) {
        return;
    }
    const String& text = variable->value();
    cat(text.c_str(), text.length());
}

void LinkBuffer::cat(const LinkBuffer* other) {
    if (other == nullptr || other == this) {
        return;
    }
    for (const LinkBuffer_Block* block = other->head_; block != nullptr; block = block->next) {
        LinkBuffer_Block* copy = new LinkBuffer_Block(block->capacity);
        copy->cat(block->data, block->used);
        total_ += block->used;
        link_after_tail(copy, copy);
    }
}

void LinkBuffer::cat_destroy(LinkBuffer* other) {
    if (other == nullptr || other == this) {
        return;
    }
    if (other->head_ != nullptr) {
        total_ += other->total_;
        link_after_tail(other->head_, other->tail_);
        other->head_ = other->tail_ = nullptr;
        other->total_ = 0;
    }
    delete other;
}

void LinkBuffer::prepend(const char* bytes, int length) {
    if (head_ == nullptr) {
        cat(bytes, length);
        return;
    }
    length = checked_length(bytes, length);
    LinkBuffer_Block* block = new LinkBuffer_Block(block_size(length, later_unit_));
    block->cat(bytes, length);
    total_ += length;
    link_before_head(block, block);
}

void LinkBuffer::prepend_nocopy(char* data, int length, int capacity) {
    if (head_ == nullptr) {
        cat_nocopy(data, length, capacity);
        return;
    }
    if (data == nullptr) {
        return;
    }
    length = length < 0 ? 0 : length;
    LinkBuffer_Block* block =
        new LinkBuffer_Block(data, length, capacity < length ? length : capacity);
    total_ += length;
    link_before_head(block, block);
}

void LinkBuffer::prepend(int value) {
    int length = 0;
    int size = 0;
    char* text = itos(value, &length, &size);
    prepend_nocopy(text, length, size);
}

void LinkBuffer::prepend(double value) {
    int length = 0;
    int size = 0;
    char* text = dtos(value, &length, &size);
    prepend_nocopy(text, length, size);
}

void LinkBuffer::prepend(mpd_t* value) {
    if (value == nullptr) {
        return;
    }
    int length = 0;
    int size = 0;
    char* text = mpdtos(value, &length, &size);
    prepend_nocopy(text, length, size);
}

void LinkBuffer::prepend(Variable* variable) {
    if (variable == nullptr) {
        return;
    }
    const String& text = variable->value();
    prepend(text.c_str(), text.length());
}

void LinkBuffer::prepend(const LinkBuffer* other) {
    if (other == nullptr || other == this) {
        return;
    }
    for (const LinkBuffer_Block* block = other->tail_; block != nullptr; block = block->previous) {
        LinkBuffer_Block* copy = new LinkBuffer_Block(block->capacity);
        copy->cat(block->data, block->used);
        total_ += block->used;
        link_before_head(copy, copy);
    }
}

void LinkBuffer::prepend_destroy(LinkBuffer* other) {
    if (other == nullptr || other == this) {
        return;
    }
    if (other->head_ != nullptr) {
        total_ += other->total_;
        link_before_head(other->head_, other->tail_);
        other->head_ = other->tail_ = nullptr;
        other->total_ = 0;
    }
    delete other;
}

// ---- taking the result ----

void LinkBuffer::append_to(char* destination) const {
    if (destination == nullptr) {
        return;
    }
    for (const LinkBuffer_Block* block = head_; block != nullptr; block = block->next) {
        if (block->used > 0) {
            std::memcpy(destination, block->data, block->used);
            destination += block->used;
        }
    }
}

int LinkBuffer::output(Output* out) const {
    if (out == nullptr) {
        return -1;
    }
    for (const LinkBuffer_Block* block = head_; block != nullptr; block = block->next) {
        if (block->used > 0 && out->Write(block->data, block->used) != block->used) {
            return -1;
        }
    }
    return 0;
}

void LinkBuffer::coalesce(int extra) {
    if (extra < 0) {
        extra = 0;
    }
    if (head_ == nullptr || total_ == 0) {
        return;
    }
    if (head_->next == nullptr && head_->capacity - head_->used >= extra) {
        return;
    }
    LinkBuffer_Block* block = new LinkBuffer_Block(total_ + extra);
    for (const LinkBuffer_Block* part = head_; part != nullptr; part = part->next) {
        block->cat(part->data, part->used);
    }
    delete head_;
    head_ = tail_ = block;
}

const char* LinkBuffer::data(int* length, int* capacity) {
    coalesce(1);
    // A buffer of blocks that hold nothing may have no room for the terminator; its bytes are
    // the empty text all the same.
    if (head_ != nullptr && head_->capacity > head_->used) {
        head_->data[head_->used] = 0;
        if (length != nullptr) {
            *length = head_->used;
        }
        if (capacity != nullptr) {
            *capacity = head_->capacity;
        }
        return head_->data;
    }
    if (length != nullptr) {
        *length = 0;
    }
    if (capacity != nullptr) {
        *capacity = 1;
    }
    return "";
}

char* LinkBuffer::release(int* length, int* capacity, int extra) {
    coalesce(extra);
    char* released = nullptr;
    int released_length = 0;
    int released_capacity = 1;
    if (head_ != nullptr && head_->capacity - head_->used >= (extra > 0 ? extra : 0) &&
        head_->capacity > 0) {
        released = head_->data;
        released_length = head_->used;
        released_capacity = head_->capacity;
        head_->release();
    } else {
        released = new char[1];
        released[0] = 0;
    }
    clear();
    if (length != nullptr) {
        *length = released_length;
    }
    if (capacity != nullptr) {
        *capacity = released_capacity;
    }
    return released;
}

// ---- chain helpers ----

void LinkBuffer::link_after_tail(LinkBuffer_Block* first, LinkBuffer_Block* last) {
    if (tail_ == nullptr) {
        head_ = first;
    } else {
        tail_->next = first;
        first->previous = tail_;
    }
    tail_ = last;
}

void LinkBuffer::link_before_head(LinkBuffer_Block* first, LinkBuffer_Block* last) {
    if (head_ == nullptr) {
        tail_ = last;
    } else {
        last->next = head_;
        head_->previous = last;
    }
    head_ = first;
}

void LinkBuffer::clear() {
    delete head_;
    head_ = tail_ = nullptr;
    total_ = 0;
}
