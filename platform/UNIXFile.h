// A file of the UNIX file manager: a POSIX descriptor, and a read-only mapping of the file (or a
// heap copy where mapping fails) as the view that the tokenizer scans. A file cut short under
// the mapping costs no crash: the pages it lost read as zeros, and Changed() tells.
#ifndef TARN_PLATFORM_UNIXFILE_H
#define TARN_PLATFORM_UNIXFILE_H

#include <cstddef>
#include <cstdint>

#include "foundation/String.h"
#include "platform/File.h"

class UNIXFile : public File {
  public:
    // Takes over the open descriptor 'fd'; 'path' and 'flags' let a deactivated file reopen.
    UNIXFile(int fd, const char* path, int flags);
    // Ends the view and closes the descriptor.
    ~UNIXFile() override;

    UNIXFile(const UNIXFile&) = delete;
    UNIXFile& operator=(const UNIXFile&) = delete;

    int64_t Length() override;
    const char* Map(int64_t offset, int64_t length) override;
    void Release() override;
    void Discard(int64_t offset, int64_t length) override;
    int Read(void* bytes, int count) override;
    int Write(const void* bytes, int count) override;
    int64_t Seek(int64_t offset) override;
    const String& error() override { return error_; }
    bool Changed() override;
    bool Identity(uint64_t* device, uint64_t* inode) override;

    // Closes the descriptor but keeps the place; the next operation reopens the file there.
    void Deactivate();

    // The file is to end where the writing ends, as if it had been opened truncated: the bytes
    // behind the furthest byte written are cut off when the file is closed (or deactivated),
    // and until then they read as absent. Writing over the old bytes in place reuses the
    // file's cached pages and blocks; a file truncated at the open has them all freed, and on
    // some file systems (ext4 among them) closing a file rewritten after such a truncation also
    // starts writing it out to disk at once, which the writer then waits for.
    void CutAtClose() { cut_at_close_ = true; }

  private:
    bool Activate();
    void SystemError();
    void Cut();
    void Advance(int written);
    const char* Copy(int64_t offset, int64_t length);

    int fd_;
    // Reopen flags: as opened, without creating or truncating a second time.
    int flags_;
    String path_;
    int64_t saved_position_;
    // The descriptor's place, and the end of the furthest write, while a cut is pending.
    int64_t position_ = 0;
    int64_t written_end_ = 0;
    bool cut_at_close_ = false;
    // The view handed out by Map: inside 'mapping_' (of 'mapping_size_' bytes) when the file is
    // mapped, else a heap copy.
    char* view_;
    char* mapping_;
    size_t mapping_size_;
    // Where the view ends in the file, and whether the file was found shorter than that while
    // the view was copied.
    int64_t view_end_;
    bool copy_cut_short_;
    String error_;
};

#endif
