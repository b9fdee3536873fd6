// Output channel of a console program: ordinary output buffered on standard output, error
// reports written at once to standard error.
#ifndef TARN_PLATFORM_CONSOLEOUTPUT_H
#define TARN_PLATFORM_CONSOLEOUTPUT_H

#include "platform/Output.h"

class ConsoleOutput : public Output {
  public:
    // 'buffer_size' bytes of standard output are collected before they are written; the
    // application uses 8192. The descriptors default to standard output and standard error.
    explicit ConsoleOutput(int buffer_size, int output_fd = 1, int error_fd = 2);
    // Flushes what is left.
    ~ConsoleOutput() override;

    ConsoleOutput(const ConsoleOutput&) = delete;
    ConsoleOutput& operator=(const ConsoleOutput&) = delete;

    int Write(const char* bytes, int count) override;
    int WriteError(const char* bytes, int count) override;
    int Flush() override;

  private:
    char* buffer_;
    int buffer_size_;
    int buffered_;
    int output_fd_;
    int error_fd_;
};

#endif
