// The assembler run in memory.
#include "driver/SourceCheckApplication.h"

namespace {

const char* const CHECK_SOURCE = "source.s";
const char* const CHECK_OUTPUT = "output.tnc";

// The command line of the run: "tnasm -o output.tnc source.s". Nothing writes through argv;
// the casts only meet the type the command-line parser takes.
char* const CHECK_ARGUMENTS[] = {const_cast<char*>("tnasm"), const_cast<char*>("-o"),
                                 const_cast<char*>(CHECK_OUTPUT), const_cast<char*>(CHECK_SOURCE),
                                 nullptr};
constexpr int CHECK_ARGUMENT_COUNT = 4;

}  // namespace

SourceCheckApplication::SourceCheckApplication()
    : AssemblerApplication(CHECK_ARGUMENT_COUNT, const_cast<char**>(CHECK_ARGUMENTS)) {}

SourceCheckApplication::~SourceCheckApplication() {}

int SourceCheckApplication::OutputError(const char* text, int length) {
    if (text != nullptr && length > 0) errors_.append(text, static_cast<size_t>(length));
    return 0;
}

int SourceCheckApplication::Assemble(const std::string& source, std::vector<unsigned char>* bytes) {
    files_.Put(CHECK_SOURCE, source.data(), static_cast<int>(source.size()));
    if (Go() != 0) return 1;
    const std::vector<unsigned char>* written = files_.Get(CHECK_OUTPUT);
    if (written == nullptr) return 1;
    *bytes = *written;
    return 0;
}
