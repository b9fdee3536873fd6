// A pipe, FIFO or character device opened for reading: it can be neither measured, mapped nor
// sought, so it is read to its end when opened and held in memory, where it serves as a file
// like any other.
#ifndef TARN_PLATFORM_STREAMFILE_H
#define TARN_PLATFORM_STREAMFILE_H

#include <cstdint>

#include "foundation/String.h"
#include "platform/File.h"

class StreamFile : public File {
  public:
    // Reads the descriptor 'fd' to its end and closes it. A stream that reaches 2 GiB is
    // refused as too large as soon as it does, rather than held whole first: no source or
    // compiled file can be that long. Null on failure, with the reason in 'error'.
    static StreamFile* ReadAll(int fd, String* error);
    ~StreamFile() override;

    StreamFile(const StreamFile&) = delete;
    StreamFile& operator=(const StreamFile&) = delete;

    int64_t Length() override { return length_; }
    // The view of the whole stream is the held bytes themselves; a part of it is copied so
    // that a zero byte can stand behind it.
    const char* Map(int64_t offset, int64_t length) override;
    void Release() override;
    int Read(void* bytes, int count) override;
    // Refused: a stream is opened for reading only.
    int Write(const void* bytes, int count) override;
    int64_t Seek(int64_t offset) override;
    const String& error() override { return error_; }
    bool Identity(uint64_t* device, uint64_t* inode) override;

  private:
    StreamFile(char* bytes, int64_t length, uint64_t device, uint64_t inode);

    // The stream's bytes with a zero byte behind them.
    char* bytes_;
    int64_t length_;
    int64_t position_;
    char* part_;  // the copy behind a view of a part, or null
    uint64_t device_;
    uint64_t inode_;
    String error_;
};

#endif
