// A file held in memory: a byte vector shared with its file manager, so that what a writer wrote
// stays readable after the file object is gone. Lets a program run the assembler without
// touching the disk.
#ifndef TARN_PLATFORM_BUFFERFILE_H
#define TARN_PLATFORM_BUFFERFILE_H

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/String.h"
#include "platform/File.h"

class BufferFile : public File {
  public:
    explicit BufferFile(std::shared_ptr<std::vector<unsigned char>> bytes);
    ~BufferFile() override;

    BufferFile(const BufferFile&) = delete;
    BufferFile& operator=(const BufferFile&) = delete;

    int64_t Length() override;
    // A copy of the bytes with a zero byte behind it, as the tokenizer requires.
    const char* Map(int64_t offset, int64_t length) override;
    void Release() override;
    int Read(void* bytes, int count) override;
    int Write(const void* bytes, int count) override;
    int64_t Seek(int64_t offset) override;
    const String& error() override { return error_; }

  private:
    std::shared_ptr<std::vector<unsigned char>> bytes_;
    std::vector<char> view_;
    int64_t position_;
    String error_;
};

#endif
