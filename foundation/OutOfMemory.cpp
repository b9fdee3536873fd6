// The out-of-memory report: written with the system's write and nothing else, since the heap can
// give nothing more, and followed by _exit, since neither destructors nor buffered output may
// run on memory that is not there.
#include "foundation/OutOfMemory.h"

#include <cerrno>
#include <cstring>
#include <new>

#include <unistd.h>

namespace {

void write_all(const char* text, size_t length) {
    while (length > 0) {
        ssize_t n = ::write(STDERR_FILENO, text, length);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;  // nowhere to report
        text += n;
        length -= static_cast<size_t>(n);
    }
}

}  // namespace

void tarn_out_of_memory() {
    // The C library keeps the name the program was started by; the base name is what follows
    // its last '/' or '\', as for the application's own reports.
    const char* name = program_invocation_name != nullptr ? program_invocation_name : "";
    for (const char* p = name; *p != '\0'; ++p) {
        if (*p == '/' || *p == '\\') name = p + 1;
    }
    // One write, so that the report is one piece on standard error.
    char report[256];
    const char* const tail = ": Out of memory\n";
    size_t name_length = std::strlen(name);
    const size_t tail_length = std::strlen(tail);
    if (name_length > sizeof report - tail_length) name_length = sizeof report - tail_length;
    std::memcpy(report, name, name_length);
    std::memcpy(report + name_length, tail, tail_length);
    write_all(report, name_length + tail_length);
    ::_exit(1);
}

void tarn_report_out_of_memory() {
    std::set_new_handler(tarn_out_of_memory);
}
