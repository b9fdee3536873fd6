// UNIX file manager: translates the mode bits into open flags, reads streams to their end, and
// refuses what is no file.
#include "platform/UNIXFileManager.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/StreamFile.h"
#include "platform/UNIXFile.h"

namespace {

// Permissions of a created file before the process umask, as for any ordinary file.
constexpr mode_t CREATE_PERMISSIONS = 0666;

// Refusal of a block device, or of a pipe to be written: the file layer measures, maps and seeks
// the files it writes.
const char* const NOT_A_FILE = "Not a regular file";

int open_flags(int mode) {
    bool reading = (mode & FILE_MODE_READ) != 0;
    bool writing = (mode & FILE_MODE_WRITE) != 0;
    int flags = writing ? (reading ? O_RDWR : O_WRONLY) : O_RDONLY;
    if ((mode & FILE_MODE_CREATE) != 0) flags |= O_CREAT;
    if ((mode & FILE_MODE_TRUNCATE) != 0) flags |= O_TRUNC;
    return flags;
}

}  // namespace

UNIXFileManager::UNIXFileManager(TarnApplication* owner) : owner_(owner) {}

UNIXFileManager::~UNIXFileManager() {}

File* UNIXFileManager::Open(const char* path, int mode) {
    if (path == nullptr) {
        error_.assign(std::strerror(EINVAL));
        return nullptr;
    }
    int flags = open_flags(mode);
    // A regular file to be written from its start is cut to the written length when it is
    // closed instead of to nothing when it is opened (see UNIXFile). Only a file to be written
    // can be cut: O_TRUNC on a file opened for reading only is left to the system as it was.
    const bool cut_later = (flags & O_TRUNC) != 0 && (mode & FILE_MODE_WRITE) != 0;
    if (cut_later) flags &= ~O_TRUNC;
    // Without O_NONBLOCK, opening a pipe for reading waits for a writer, possibly for ever; the
    // flag is dropped again once the file is known to be one that can be used.
    int fd = ::open(path, flags | O_CLOEXEC | O_NONBLOCK, CREATE_PERMISSIONS);
    if (fd < 0) {
        error_.assign(std::strerror(errno));
        return nullptr;
    }
    // Every refusal after the open keeps its reason and closes the descriptor.
    auto refuse = [&](const char* reason) -> File* {
        error_.assign(reason);
        ::close(fd);
        return nullptr;
    };
    auto make_blocking = [fd] {
        return ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) == 0;
    };
    struct stat st;
    if (::fstat(fd, &st) != 0) return refuse(std::strerror(errno));
    if (S_ISDIR(st.st_mode)) return refuse(std::strerror(EISDIR));
    // A pipe, FIFO or character device to be read is read to its end now. A FIFO opened
    // without waiting may have no writer yet, and would read as empty: wait for one first, as
    // opening it the ordinary way would.
    const bool stream = S_ISFIFO(st.st_mode) || S_ISCHR(st.st_mode);
    if (stream && (mode & FILE_MODE_WRITE) == 0) {
        if (S_ISFIFO(st.st_mode) && !WaitForWriter(fd)) return refuse(std::strerror(errno));
        if (!make_blocking()) return refuse(std::strerror(errno));
        return StreamFile::ReadAll(fd, &error_);
    }
    // Character devices stay usable for writing (/dev/null, /dev/full), with their own write
    // errors.
    if (!S_ISREG(st.st_mode) && !S_ISCHR(st.st_mode)) return refuse(NOT_A_FILE);
    if (!make_blocking()) return refuse(std::strerror(errno));
    UNIXFile* file = new UNIXFile(fd, path, flags);
    // A device is written as it is, and an empty file has nothing to cut.
    if (cut_later && S_ISREG(st.st_mode) && st.st_size > 0) file->CutAtClose();
    return file;
}

// Returns once the FIFO has something to read or its writer has come and gone.
bool UNIXFileManager::WaitForWriter(int fd) {
    struct pollfd wait = {fd, POLLIN, 0};
    for (;;) {
        int n = ::poll(&wait, 1, -1);
        if (n > 0) return true;
        if (n < 0 && errno != EINTR) return false;
    }
}

bool UNIXFileManager::IsSameFile(const char* path, File* file) {
    struct stat st;
    uint64_t device = 0;
    uint64_t inode = 0;
    if (path == nullptr || file == nullptr || ::stat(path, &st) != 0 ||
        !file->Identity(&device, &inode))
        return false;
    return static_cast<uint64_t>(st.st_dev) == device && static_cast<uint64_t>(st.st_ino) == inode;
}

void UNIXFileManager::DeactivateFile(File* file) {
    UNIXFile* unix_file = dynamic_cast<UNIXFile*>(file);
    if (unix_file != nullptr) unix_file->Deactivate();
}
