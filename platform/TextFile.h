// A text already in memory, served as a file to be read: the parser maps it like any source,
// for a program that assembles what it holds (an editor's document, a benchmark's input).
#ifndef TARN_PLATFORM_TEXTFILE_H
#define TARN_PLATFORM_TEXTFILE_H

#include <cstdint>
#include <string>

#include "foundation/String.h"
#include "platform/File.h"

class TextFile : public File {
  public:
    // 'text' is borrowed and must outlive the file; a std::string keeps the zero byte behind
    // its end that the tokenizer reads.
    explicit TextFile(const std::string& text) : text_(text) {}

    int64_t Length() override { return static_cast<int64_t>(text_.size()); }
    const char* Map(int64_t, int64_t) override { return text_.c_str(); }
    void Release() override {}
    // Only viewed: reading, writing and seeking are refused.
    int Read(void*, int) override { return -1; }
    int Write(const void*, int) override { return -1; }
    int64_t Seek(int64_t) override { return -1; }
    const String& error() override { return error_; }

  private:
    const std::string& text_;
    String error_;
};

#endif
