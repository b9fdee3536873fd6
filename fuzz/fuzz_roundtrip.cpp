// Fuzz target: the input picks a seed and a program shape; the seeded generator writes a valid
// program, which must assemble without a report and read back through every reader; tndump
// --source must turn the compiled file into a source that assembles into the same bytes.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/LoadCompiled.h"
#include "tests/support/MemoryApplication.h"
#include "tests/support/ProgramGenerator.h"

namespace {

// The compiled bytes of 'source', or an abort when the run fails. 'loads' is set to whether
// every reader accepts them.
std::vector<unsigned char> assemble(const std::string& source, bool* loads) {
    MemoryAssemblerApplication application({"tnasm", "-o", "out.tnc", "in.s"});
    application.files.Put("in.s", source);
    if (application.Go() != 0 || application.capture->reports != 0) std::abort();
    std::string failure;
    if (!load_written_file(&application.files, "out.tnc", &application, &failure)) std::abort();
    *loads = failure.empty();
    return application.files.Get("out.tnc");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    const uint32_t seed = input.ConsumeIntegral<uint32_t>();
    ProgramShape shape;
    shape.functions = input.ConsumeIntegralInRange(0, 10);
    shape.external_functions = input.ConsumeIntegralInRange(0, 4);
    shape.instructions_per_function = input.ConsumeIntegralInRange(0, 60);
    shape.top_level_instructions = input.ConsumeIntegralInRange(0, 30);
    shape.strings = input.ConsumeIntegralInRange(0, 40);
    shape.globals = input.ConsumeIntegralInRange(0, 8);
    shape.systems = input.ConsumeIntegralInRange(0, 4);
    shape.max_parameters = input.ConsumeIntegralInRange(0, 4);
    shape.max_locals = input.ConsumeIntegralInRange(0, 5);
    shape.labels_per_function = input.ConsumeIntegralInRange(0, 5);
    shape.localized = input.ConsumeIntegralInRange(0, 8);
    shape.languages = input.ConsumeIntegralInRange(1, 6);
    shape.idents = input.ConsumeIntegralInRange(0, 3);
    shape.min_string_length = input.ConsumeIntegralInRange(0, 8);
    shape.max_string_length = shape.min_string_length + input.ConsumeIntegralInRange(0, 60);
    shape.disable_logging = input.ConsumeBool();

    bool loads = false;
    const std::vector<unsigned char> compiled = assemble(generate_program(seed, shape), &loads);
    // A file that the loader's own checks refuse (its texts all empty) has no source either.
    if (!loads) return 0;

    MemoryDumpApplication dump({"tndump", "--source", "in.tnc"});
    dump.files.Put("in.tnc", compiled);
    if (dump.Go() != 0 || dump.capture->reports != 0) std::abort();
    bool reloads = false;
    if (assemble(dump.capture->out, &reloads) != compiled) std::abort();
    return 0;
}
