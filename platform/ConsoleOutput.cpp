// Console output channel: one buffer for standard output, direct writes for standard error.
#include "platform/ConsoleOutput.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {

// Writes all of 'bytes', resuming after interruptions and short writes.
int write_all(int fd, const char* bytes, int count) {
    int done = 0;
    while (done < count) {
        ssize_t n = ::write(fd, bytes + done, static_cast<size_t>(count - done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        done += static_cast<int>(n);
    }
    return count;
}

}  // namespace

ConsoleOutput::ConsoleOutput(int buffer_size, int output_fd, int error_fd)
    : buffer_(nullptr),
      buffer_size_(buffer_size > 0 ? buffer_size : 1),
      buffered_(0),
      output_fd_(output_fd),
      error_fd_(error_fd) {
    buffer_ = new char[buffer_size_];
}

ConsoleOutput::~ConsoleOutput() {
    (void)Flush();  // nothing is left to report a failure to at this point
    delete[] buffer_;
}

int ConsoleOutput::Write(const char* bytes, int count) {
    if (count < 0 || (bytes == nullptr && count > 0)) return -1;
    if (count > buffer_size_ - buffered_) {
        if (Flush() != 0) return -1;
        // A piece larger than the whole buffer goes out directly rather than in slices.
        if (count > buffer_size_) return write_all(output_fd_, bytes, count);
    }
    if (count > 0) std::memcpy(buffer_ + buffered_, bytes, static_cast<size_t>(count));
    buffered_ += count;
    return count;
}

int ConsoleOutput::WriteError(const char* bytes, int count) {
    if (count < 0 || (bytes == nullptr && count > 0)) return -1;
    return write_all(error_fd_, bytes, count);
}

int ConsoleOutput::Flush() {
    if (buffered_ == 0) return 0;
    int status = write_all(output_fd_, buffer_, buffered_) < 0 ? -1 : 0;
    buffered_ = 0;
    return status;
}
