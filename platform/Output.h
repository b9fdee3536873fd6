// Output channel of the application: a buffered stream for the program's ordinary output and an
// immediate stream for error reports, which must never wait behind buffered text.
#ifndef TARN_PLATFORM_OUTPUT_H
#define TARN_PLATFORM_OUTPUT_H

class Output {
  public:
    virtual ~Output() {}

    // Buffered write of ordinary output; returns 'count', or -1 when the channel failed.
    virtual int Write(const char* bytes, int count) = 0;
    // Unbuffered write of an error report; returns 'count', or -1 when the channel failed.
    virtual int WriteError(const char* bytes, int count) = 0;
    // Pushes out whatever the buffered stream holds; 0 on success, -1 on failure.
    virtual int Flush() = 0;
};

#endif
