// Fuzz target: any bytes as a compiled file, through every reader on the loader's path (header
// and directory, "dict", "glbl", "syst", "func", "segs", "idnt", "locl" with each language's
// index, "locd") and the lookups a loader makes on what was read. A reader that refuses the
// bytes must say why; nothing may crash, hang or leak.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "compiled/TaggedFile.h"
#include "fuzz/LoadCompiled.h"
#include "tests/support/MemoryApplication.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MemoryAssemblerApplication* application =
        new MemoryAssemblerApplication({"fuzz_reader"});
    MemoryFileManager files;
    files.Put("in.tnc", std::vector<unsigned char>(data, data + size));
    TaggedFile file(&files);
    const bool opened = file.Open("in.tnc", FILE_MODE_READ);
    if (!opened && file.error().length() == 0) std::abort();
    if (opened) (void)load_compiled(&file, application, false);
    return 0;
}
