// Fuzz target: any bytes as a source file through the whole program, in memory: the tokenizer,
// the grammar, every directive, symbol resolution and the writing of the compiled file. A run
// ends in status 0 without a report, or in status 1 with at most one; what a successful run
// writes, every reader reads back, except what the format's own checks refuse on purpose
// (a version above 1.13, a dictionary whose texts are all empty).
#include <cstdint>
#include <cstdlib>
#include <string>

#include "compiled/TaggedFile.h"
#include "fuzz/LoadCompiled.h"
#include "tests/support/MemoryApplication.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    MemoryAssemblerApplication application({"tnasm", "-o", "out.tnc", "in.s"});
    application.files.Put("in.s", std::string(reinterpret_cast<const char*>(data), size));
    const int status = application.Go();
    const CapturedOutput* capture = application.capture;
    if (status != 0 && status != 1) std::abort();
    if (capture->reports > 1 || (status == 0 && capture->reports != 0)) std::abort();
    if (status != 0) return 0;

    if (!load_written_file(&application.files, "out.tnc", &application)) std::abort();
    return 0;
}
