// UNIX file: descriptor operations that resume after interruptions, and a mapped view of the
// file with a zero byte behind it.
#include "platform/UNIXFile.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A mapped file that another process cuts short loses the pages past its new end, and reading
// one raises SIGBUS, which would end the program without a word. The handler lays a page of
// zeros where the lost one was, so that the reader goes on to the view's end, and leaves a mark
// that the file object reads afterwards: a signal handler can hand nothing to anybody but
// through a flag of its own, so this one flag is kept for the whole process. Only one view is
// read at a time, and each new view starts with the flag cleared.
volatile sig_atomic_t mapped_page_lost = 0;

void on_bus_error(int signal_number, siginfo_t* info, void* context) {
    (void)context;
    if (info->si_code == BUS_ADRERR) {
        long page = ::sysconf(_SC_PAGESIZE);
        if (page <= 0) page = 4096;
        uintptr_t address = reinterpret_cast<uintptr_t>(info->si_addr);
        void* start = reinterpret_cast<void*>(address - address % static_cast<uintptr_t>(page));
        if (::mmap(start, static_cast<size_t>(page), PROT_READ,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
            mapped_page_lost = 1;
            return;
        }
    }
    // Any other bus error ends the program as it would have without the handler.
    ::signal(signal_number, SIG_DFL);
}

void catch_lost_pages() {
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_sigaction = on_bus_error;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    (void)::sigaction(SIGBUS, &action, nullptr);
}

}  // namespace

UNIXFile::UNIXFile(int fd, const char* path, int flags)
    : fd_(fd),
      flags_(flags & ~(O_CREAT | O_TRUNC | O_EXCL)),
      path_(path),
      saved_position_(0),
      view_(nullptr),
      mapping_(nullptr),
      mapping_size_(0),
      view_end_(0),
      copy_cut_short_(false) {}

UNIXFile::~UNIXFile() {
    Release();
    if (fd_ >= 0) {
        Cut();
        ::close(fd_);
    }
}

// A failing cut cannot be reported from a destructor; on a regular file opened for writing it
// fails only when the device does.
void UNIXFile::Cut() {
    if (!cut_at_close_) return;
    int result;
    do {
        result = ::ftruncate(fd_, static_cast<off_t>(written_end_));
    } while (result != 0 && errno == EINTR);
    cut_at_close_ = false;
}

int64_t UNIXFile::Length() {
    if (!Activate()) return -1;
    struct stat st;
    if (::fstat(fd_, &st) != 0) {
        SystemError();
        return -1;
    }
    if (cut_at_close_) return written_end_;
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
    view_end_ = offset + length;
    copy_cut_short_ = false;
    mapped_page_lost = 0;
    void* base = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base != MAP_FAILED) {
        catch_lost_pages();
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
        // The file shrank since Length: the view keeps the size it was asked for, and Changed()
        // tells.
        if (n == 0) {
            copy_cut_short_ = true;
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

bool UNIXFile::Changed() {
    if (view_ == nullptr) return false;
    if (copy_cut_short_ || (mapping_ != nullptr && mapped_page_lost != 0)) return true;
    // A file cut short inside its last page loses no page, but the rest of that page now reads
    // as zeros; and one cut short past what was read yet may never have been touched there.
    return mapping_ != nullptr && Length() < view_end_;
}

bool UNIXFile::Identity(uint64_t* device, uint64_t* inode) {
    struct stat st;
    if (!Activate() || ::fstat(fd_, &st) != 0) return false;
    *device = static_cast<uint64_t>(st.st_dev);
    *inode = static_cast<uint64_t>(st.st_ino);
    return true;
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
    if (cut_at_close_) {
        // The old bytes behind the written ones are no longer the file's.
        int64_t left = written_end_ > position_ ? written_end_ - position_ : 0;
        if (count > left) count = static_cast<int>(left);
    }
    char* out = static_cast<char*>(bytes);
    int done = 0;
    while (done < count) {
        ssize_t n = ::read(fd_, out + done, static_cast<size_t>(count - done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            SystemError();
            position_ += done;
            return -1;
        }
        if (n == 0) break;
        done += static_cast<int>(n);
    }
    position_ += done;
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
            Advance(done);
            return -1;
        }
        done += static_cast<int>(n);
    }
    Advance(done);
    return done;
}

// What a write got into the file counts, also when the rest of it failed.
void UNIXFile::Advance(int written) {
    position_ += written;
    if (position_ > written_end_) written_end_ = position_;
}

int64_t UNIXFile::Seek(int64_t offset) {
    if (!Activate()) return -1;
    off_t result = ::lseek(fd_, static_cast<off_t>(offset), SEEK_SET);
    if (result < 0) {
        SystemError();
        return -1;
    }
    position_ = static_cast<int64_t>(result);
    return static_cast<int64_t>(result);
}

void UNIXFile::Deactivate() {
    if (fd_ < 0) return;
    off_t position = ::lseek(fd_, 0, SEEK_CUR);
    saved_position_ = position < 0 ? 0 : static_cast<int64_t>(position);
    Cut();
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
    position_ = saved_position_;
    return true;
}

void UNIXFile::SystemError() {
    error_.assign(std::strerror(errno));
}
