// UNIX file: descriptor operations that resume after interruptions, and a mapped view of the
// file with a zero byte behind it.
#include "platform/UNIXFile.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

UNIXFile::UNIXFile(int fd, const char* path, int flags)
    : fd_(fd),
      flags_(flags & ~(O_CREAT | O_TRUNC | O_EXCL)),
      path_(path),
      saved_position_(0),
      view_(nullptr),
      mapping_(nullptr),
      mapping_size_(0) {}

UNIXFile::~UNIXFile() {
    Release();
    if (fd_ >= 0) ::close(fd_);
}

int64_t UNIXFile::Length() {
    if (!Activate()) return -1;
    struct stat st;
    if (::fstat(fd_, &st) != 0) {
        SystemError();
        return -1;
    }
    return static_cast<int64_t>(st.st_size);
}

// The view maps the file itself, read-only, so that the source is neither copied nor read ahead
// of the tokenizer. The tokenizer reads one byte behind the end, which must be zero: an anonymous
// zero mapping one byte longer than the view is laid down first and the file is mapped over its
// start. Behind a file that ends inside a page the rest of the page reads as zeros anyway; behind
// one that ends on a page boundary the next page is the anonymous one. A system that refuses
// the mapping gets a copy read with pread instead.
const char* UNIXFile::Map(int64_t offset, int64_t length) {
    Release();
    int64_t file_length = Length();
    if (file_length < 0) return nullptr;
    if (offset < 0 || length < 0 || offset > file_length || length > file_length - offset) {
        error_.assign(std::strerror(EINVAL));
        return nullptr;
    }
    // The callers count the view with 32-bit lengths.
    if (length >= INT_MAX) {
        error_.assign(std::strerror(EFBIG));
        return nullptr;
    }
    int64_t page = ::sysconf(_SC_PAGESIZE);
    if (page <= 0) page = 4096;
    int64_t lead = offset % page;
    size_t size = static_cast<size_t>((lead + length + 1 + page - 1) / page * page);
    void* base = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base != MAP_FAILED) {
        if (lead + length == 0 ||
            ::mmap(base, static_cast<size_t>(lead + length), PROT_READ, MAP_PRIVATE | MAP_FIXED,
                   fd_, static_cast<off_t>(offset - lead)) != MAP_FAILED) {
            mapping_ = static_cast<char*>(base);
            mapping_size_ = size;
            view_ = mapping_ + lead;
            return view_;
        }
        ::munmap(base, size);
    }
    return Copy(offset, length);
}

// The view as a heap copy, for when the file cannot be mapped.
const char* UNIXFile::Copy(int64_t offset, int64_t length) {
    char* view = new char[static_cast<size_t>(length) + 1];
    int64_t done = 0;
    while (done < length) {
        ssize_t n = ::pread(fd_, view + done, static_cast<size_t>(length - done),
                            static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            SystemError();
            delete[] view;
            return nullptr;
        }
        // The file shrank since Length: the view keeps the size it was asked for.
        if (n == 0) {
            std::memset(view + done, 0, static_cast<size_t>(length - done));
            break;
        }
        done += n;
    }
    view[length] = '\0';
    view_ = view;
    return view_;
}

// The whole pages of the range leave the process; the kernel reads them in again from the file
// should they be touched. A heap copy is kept as it is.
void UNIXFile::Discard(int64_t offset, int64_t length) {
    if (mapping_ == nullptr || offset < 0 || length <= 0) return;
    int64_t page = ::sysconf(_SC_PAGESIZE);
    if (page <= 0) page = 4096;
    int64_t from = (view_ - mapping_) + offset;
    int64_t to = from + length;
    if (to > static_cast<int64_t>(mapping_size_)) to = static_cast<int64_t>(mapping_size_);
    from = (from + page - 1) / page * page;
    to = to / page * page;
    if (to > from) {
        (void)::madvise(mapping_ + from, static_cast<size_t>(to - from), MADV_DONTNEED);
    }
}

void UNIXFile::Release() {
    if (mapping_ != nullptr) {
        ::munmap(mapping_, mapping_size_);
    } else {
        delete[] view_;
    }
    mapping_ = nullptr;
    mapping_size_ = 0;
    view_ = nullptr;
}

int UNIXFile::Read(void* bytes, int count) {
    if (count < 0) {
        error_.assign(std::strerror(EINVAL));
        return -1;
    }
    if (!Activate()) return -1;
    char* out = static_cast<char*>(bytes);
    int done = 0;
    while (done < count) {
        ssize_t n = ::read(fd_, out + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            SystemError();
            return -1;
        }
        if (n == 0) break;
        done += static_cast<int>(n);
    }
    return done;
}

int UNIXFile::Write(const void* bytes, int count) {
    if (count < 0) {
        error_.assign(std::strerror(EINVAL));
        return -1;
    }
    if (!Activate()) return -1;
    const char* in = static_cast<const char*>(bytes);
    int done = 0;
    while (done < count) {
        ssize_t n = ::write(fd_, in + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            SystemError();
            return -1;
        }
        done += static_cast<int>(n);
    }
    return done;
}

int64_t UNIXFile::Seek(int64_t offset) {
    if (!Activate()) return -1;
    off_t result = ::lseek(fd_, static_cast<off_t>(offset), SEEK_SET);
    if (result < 0) {
        SystemError();
        return -1;
    }
    return static_cast<int64_t>(result);
}

void UNIXFile::Deactivate() {
    if (fd_ < 0) return;
    off_t position = ::lseek(fd_, 0, SEEK_CUR);
    saved_position_ = position < 0 ? 0 : static_cast<int64_t>(position);
    ::close(fd_);
    fd_ = -1;
}

bool UNIXFile::Activate() {
    if (fd_ >= 0) return true;
    int fd = ::open(path_.c_str(), flags_ | O_CLOEXEC);
    if (fd < 0) {
        SystemError();
        return false;
    }
    if (::lseek(fd, static_cast<off_t>(saved_position_), SEEK_SET) < 0) {
        SystemError();
        ::close(fd);
        return false;
    }
    fd_ = fd;
    return true;
}

void UNIXFile::SystemError() {
    error_.assign(std::strerror(errno));
}
