// Prints the functions of a compiled Tarn Script file: one line per function with its number,
// name, parameters, code segment and qualifiers. Reads the file only through the Tarn base
// library's checking readers, as the runtime's loader does, so a corrupt file is refused with
// the reader's own message.
#include <cstdio>

#include "compiled/Dictionary.h"
#include "compiled/Function.h"
#include "compiled/FunctionManager.h"
#include "compiled/FunctionParameter.h"
#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "platform/UNIXFileManager.h"

namespace {

int fail(const char* program, const String& message) {
    std::fprintf(stderr, "%s: %s\n", program, message.c_str());
    return 1;
}

void print_function(Function* function) {
    std::printf("%d %.*s(", function->index(), function->name().length(), function->name().c_str());
    List<FunctionParameter>& parameters = function->parameters();
    const char* separator = "";
    for (FunctionParameter* parameter = parameters.First(); parameter != nullptr;
         parameter = parameters.Next()) {
        std::printf("%s%s%.*s", separator, parameter->flags() == 1 ? "reference " : "",
                    parameter->name().length(), parameter->name().c_str());
        separator = ", ";
    }
    std::printf(")");
    if (function->segment() >= 0) std::printf(" segment %d", function->segment());
    if ((function->flags() & FUNCTION_EXTERNAL) != 0) std::printf(" external");
    for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS) {
        if ((function->flags() & qualifier.bit) != 0) std::printf(" %s", qualifier.name);
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    const char* program = "tarn_functions";
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s file\n", program);
        return 1;
    }

    UNIXFileManager files(nullptr);
    TaggedFile file(&files);
    if (!file.Open(argv[1], FILE_MODE_READ)) return fail(program, file.error());

    Dictionary dictionary;
    if (!dictionary.Read(&file)) return fail(program, dictionary.error());
    FunctionManager functions(&dictionary, FUNCTION_TABLE_BUCKET_BITS);
    if (!functions.Read(&file)) return fail(program, functions.error());

    std::printf("version %d.%d, %d functions\n", file.version() >> 16, file.version() & 0xFFFF,
                functions.Functions());
    for (int i = 0; i < functions.Functions(); ++i) print_function(functions.Function_Index(i));
    return 0;
}
