// Identifier list: one flat buffer of NUL-terminated texts and the "idnt" section.
#include "compiled/IdentList.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include "compiled/TaggedFile.h"

namespace {

// The smallest multiple of the growth step above 'bytes': always room for one more 0 byte.
int capacity_for(int bytes) {
    return bytes / IDENT_LIST_GROWTH * IDENT_LIST_GROWTH + IDENT_LIST_GROWTH;
}

}  // namespace

IdentList::IdentList() : buffer_(nullptr), capacity_(0), allocated_(0), cursor_(0), length_(0) {}

IdentList::~IdentList() {
    delete[] buffer_;
}

const String& IdentList::error() {
    return error_;
}

void IdentList::Error(const String& text) {
    if (text.buffer() != nullptr) error_ = text;
}

void IdentList::Entry_Add(const char* text, int length) {
    if (length == -1) length = static_cast<int>(std::strlen(text));
    if (buffer_ == nullptr) {
        cursor_ = 0;
        length_ = 0;
        capacity_ = capacity_for(length);
        allocated_ = capacity_;
        buffer_ = new char[allocated_];
    } else if (length_ + length >= capacity_) {
        capacity_ = capacity_for(length_ + length);
        // The capacity grows in steps, the memory behind it at least doubles: n bytes of texts
        // are copied O(n) times in all, not O(n^2 / 8192).
        if (capacity_ > allocated_) {
            allocated_ = std::max(capacity_, static_cast<int>(std::min<int64_t>(
                                                 2 * static_cast<int64_t>(allocated_), INT_MAX)));
            char* grown = new char[allocated_];
            std::memcpy(grown, buffer_, static_cast<size_t>(length_));
            delete[] buffer_;
            buffer_ = grown;
        }
    }
    if (length > 0) std::memcpy(buffer_ + length_, text, static_cast<size_t>(length));
    buffer_[length_ + length] = 0;
    length_ += length + 1;
}

// A buffer read from a file need not end in a 0 byte: the last entry then ends at the buffer's end.
const char* IdentList::Entry(int* length) {
    if (cursor_ >= length_) return nullptr;
    const char* text = buffer_ + cursor_;
    const void* end = std::memchr(text, 0, static_cast<size_t>(length_ - cursor_));
    int size =
        end == nullptr ? length_ - cursor_ : static_cast<int>(static_cast<const char*>(end) - text);
    cursor_ = end == nullptr ? length_ : cursor_ + size + 1;
    if (length != nullptr) *length = size;
    return text;
}

// Section "idnt": each text followed by one 0 byte, in source order; no count, no framing.
bool IdentList::Write(TaggedFile* file) {
    file->Section_Start(TAG_IDNT);
    if (length_ > 0 && file->Section_Write(buffer_, length_) != length_) {
        Error(file->error());
        return false;
    }
    file->Section_End();
    return true;
}

bool IdentList::Read(TaggedFile* file) {
    delete[] buffer_;
    buffer_ = nullptr;
    capacity_ = 0;
    allocated_ = 0;
    cursor_ = 0;
    length_ = 0;
    int size = 0;
    std::vector<unsigned char> bytes;
    if (!file->Section_Read_Start(TAG_IDNT, &size) ||
        file->Section_Read_Vector(&bytes, size) != size) {
        Error(file->error());
        return false;
    }
    buffer_ = new char[size];
    if (size > 0) std::memcpy(buffer_, bytes.data(), static_cast<size_t>(size));
    capacity_ = size;
    allocated_ = size;
    length_ = size;
    file->Section_Read_End();
    return true;
}
