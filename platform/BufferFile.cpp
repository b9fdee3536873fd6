// A file held in memory.
#include "platform/BufferFile.h"

#include <cstring>

BufferFile::BufferFile(std::shared_ptr<std::vector<unsigned char>> bytes)
    : bytes_(std::move(bytes)), position_(0) {}

BufferFile::~BufferFile() {}

int64_t BufferFile::Length() {
    return static_cast<int64_t>(bytes_->size());
}

const char* BufferFile::Map(int64_t offset, int64_t length) {
    if (offset < 0 || length < 0 || length > Length() - offset) {
        error_.assign("Invalid argument");
        return nullptr;
    }
    view_.assign(bytes_->begin() + offset, bytes_->begin() + offset + length);
    view_.push_back('\0');
    return view_.data();
}

void BufferFile::Release() {
    view_.clear();
}

int BufferFile::Read(void* bytes, int count) {
    if (count < 0) {
        error_.assign("Invalid argument");
        return -1;
    }
    int64_t left = Length() - position_;
    int n = left <= 0 ? 0 : (left < count ? static_cast<int>(left) : count);
    if (n > 0) std::memcpy(bytes, bytes_->data() + position_, static_cast<size_t>(n));
    position_ += n;
    return n;
}

int BufferFile::Write(const void* bytes, int count) {
    if (count < 0) {
        error_.assign("Invalid argument");
        return -1;
    }
    size_t end = static_cast<size_t>(position_) + static_cast<size_t>(count);
    if (bytes_->size() < end) bytes_->resize(end);
    if (count > 0) std::memcpy(bytes_->data() + position_, bytes, static_cast<size_t>(count));
    position_ += count;
    return count;
}

int64_t BufferFile::Seek(int64_t offset) {
    if (offset < 0) {
        error_.assign("Invalid argument");
        return -1;
    }
    position_ = offset;
    return position_;
}
