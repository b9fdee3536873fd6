// Fuzz target: any bytes as a source file through the whole program, in memory: the tokenizer,
// the grammar, every directive, symbol resolution and the writing of the compiled file. A run
// ends in status 0 without a report, or in status 1 with at most one. What a successful run
// writes, every reader reads back, except what the format's own checks refuse on purpose (a
// version above 1.13, a dictionary whose texts are all empty); and tndump --source turns it into
// a source that assembles into the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

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

    std::string failure;
    if (!load_written_file(&application.files, "out.tnc", &application, &failure)) std::abort();
    if (!failure.empty()) return 0;

    const std::vector<unsigned char> compiled = application.files.Get("out.tnc");
    MemoryDumpApplication dump({"tndump", "--source", "out.tnc"});
    dump.files.Put("out.tnc", compiled);
    if (dump.Go() != 0 || dump.capture->reports != 0) std::abort();
    MemoryAssemblerApplication again({"tnasm", "-o", "out.tnc", "in.s"});
    again.files.Put("in.s", dump.capture->out);
    if (again.Go() != 0 || again.files.Get("out.tnc") != compiled) std::abort();
    return 0;
}
