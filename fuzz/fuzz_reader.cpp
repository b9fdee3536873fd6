// Fuzz target: any bytes as a compiled file. First every reader on the loader's path (header
// and directory, then the sections in CompiledImage's load order) and the lookups a loader
// makes on what was read; then tndump over the same bytes in each of its modes (readable dump,
// segment listing, source, JSON). A reader that refuses the bytes must say why, tndump ends in
// status 0 without a report or 1 with exactly one, a JSON document it prints must parse, and
// nothing may crash, hang or leak.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "fuzz/LoadCompiled.h"
#include "tests/support/MemoryApplication.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<unsigned char> bytes(data, data + size);
    {
        MemoryAssemblerApplication application({"tnasm"});
        application.files.Put("in.tnc", bytes);
        CompiledImage image(&application, &application.files);
        const bool opened = image.Open("in.tnc");
        if (!opened && image.error().length() == 0) std::abort();
        if (opened) (void)load_compiled(&image, false);
    }
    for (const char* mode : {"", "--listing", "--source", "--json"}) {
        std::vector<std::string> words = {"tndump"};
        if (*mode != '\0') words.push_back(mode);
        words.push_back("in.tnc");
        MemoryDumpApplication dump(words);
        dump.files.Put("in.tnc", bytes);
        const int status = dump.Go();
        const int reports = dump.capture->reports;
        if (status == 0 ? reports != 0 : status != 1 || reports != 1) std::abort();
        if (status == 0 && std::strcmp(mode, "--json") == 0 &&
            !nlohmann::json::accept(dump.capture->out))
            std::abort();
    }
    return 0;
}
