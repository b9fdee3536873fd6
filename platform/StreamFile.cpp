// A stream held in memory.
#include "platform/StreamFile.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "foundation/OutOfMemory.h"

namespace {

// The held bytes grow by this much at a time; a large block grows in place, so the steps cost
// no copying.
constexpr int64_t READ_STEP = 1 << 20;

}  // namespace

StreamFile* StreamFile::ReadAll(int fd, String* error) {
    struct stat st;
    if (::fstat(fd, &st) != 0) {
        error->assign(std::strerror(errno));
        ::close(fd);
        return nullptr;
    }
    char* bytes = nullptr;
    int64_t length = 0;
    int64_t capacity = 0;
    for (;;) {
        // Room for the next piece and the zero byte behind the stream.
        if (capacity - length < 2) {
            capacity += READ_STEP;
            char* grown = static_cast<char*>(std::realloc(bytes, static_cast<size_t>(capacity)));
            if (grown == nullptr) tarn_out_of_memory();
            bytes = grown;
        }
        ssize_t n = ::read(fd, bytes + length, static_cast<size_t>(capacity - 1 - length));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error->assign(std::strerror(errno));
            break;
        }
        if (n == 0) {
            ::close(fd);
            bytes[length] = '\0';
            return new StreamFile(bytes, length, static_cast<uint64_t>(st.st_dev),
                                  static_cast<uint64_t>(st.st_ino));
        }
        length += n;
        // Lengths are 32-bit counts, and the zero byte behind the view needs one more.
        if (length >= INT_MAX) {
            error->assign(std::strerror(EFBIG));
            break;
        }
    }
    std::free(bytes);
    ::close(fd);
    return nullptr;
}

StreamFile::StreamFile(char* bytes, int64_t length, uint64_t device, uint64_t inode)
    : bytes_(bytes),
      length_(length),
      position_(0),
      part_(nullptr),
      device_(device),
      inode_(inode) {}

StreamFile::~StreamFile() {
    Release();
    std::free(bytes_);
}

const char* StreamFile::Map(int64_t offset, int64_t length) {
    Release();
    if (offset < 0 || length < 0 || offset > length_ || length > length_ - offset) {
        error_.assign(std::strerror(EINVAL));
        return nullptr;
    }
    if (offset + length == length_) return bytes_ + offset;
    part_ = new char[static_cast<size_t>(length) + 1];
    std::memcpy(part_, bytes_ + offset, static_cast<size_t>(length));
    part_[length] = '\0';
    return part_;
}

void StreamFile::Release() {
    delete[] part_;
    part_ = nullptr;
}

int StreamFile::Read(void* bytes, int count) {
    if (count < 0) {
        error_.assign(std::strerror(EINVAL));
        return -1;
    }
    int64_t left = length_ - position_;
    int n = left <= 0 ? 0 : (left < count ? static_cast<int>(left) : count);
    if (n > 0) std::memcpy(bytes, bytes_ + position_, static_cast<size_t>(n));
    position_ += n;
    return n;
}

int StreamFile::Write(const void* bytes, int count) {
    (void)bytes;
    (void)count;
    error_.assign(std::strerror(EBADF));
    return -1;
}

int64_t StreamFile::Seek(int64_t offset) {
    if (offset < 0) {
        error_.assign(std::strerror(EINVAL));
        return -1;
    }
    position_ = offset;
    return position_;
}

bool StreamFile::Identity(uint64_t* device, uint64_t* inode) {
    *device = device_;
    *inode = inode_;
    return true;
}
