// Fuzz target: any bytes as a source through the tokenizer and the statement grammar, with every
// operation accepting what it is given. The recorder copies each text handed to an operation
// out of a view of exactly the source's size, so a pointer or length that reaches outside the
// source is caught by the sanitizer; numbers handed over must lie in their ranges. Each source
// is read twice, by the grammar's own tokenizer and by the one ahead of it on a second thread,
// and both runs must agree.
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/assembler/ParserRecorder.h"

namespace {

class CheckingRecorder : public ParserRecorder {
  public:
    using ParserRecorder::ParserRecorder;

    int ProcessOpcode(int code, int operand_count) override {
        if (operand_count < 0 || operand_count > 2) std::abort();
        return ParserRecorder::ProcessOpcode(code, operand_count);
    }
    int ProcessImmediate(const char* text, int length, int operands_left, int kind) override {
        if (operands_left < 0 || operands_left > 1 || kind < 0 || kind > 8) std::abort();
        return ParserRecorder::ProcessImmediate(text, length, operands_left, kind);
    }
    int ProcessParameter(const char* n, int nl, const char* t, int tl, int flags) override {
        if (flags != 0 && flags != 1) std::abort();
        return ParserRecorder::ProcessParameter(n, nl, t, tl, flags);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string source(reinterpret_cast<const char*>(data), size);
    CheckingRecorder parser(source);
    parser.ReadAheadFrom(INT_MAX);
    const int result = parser.Start();
    // The same source with its tokens read ahead on a second thread must give the same run.
    CheckingRecorder ahead(source);
    ahead.ReadAheadFrom(0);
    if (ahead.Start() != result || ahead.calls != parser.calls || ahead.line() != parser.line()) {
        std::abort();
    }
    if (parser.negative_lengths != 0) std::abort();
    int reports = 0;
    for (const std::string& call : parser.calls) reports += call.compare(0, 6, "error ") == 0;
    // The grammar stops at its first failure: one report and status 1, or none and 0.
    if (result != (reports == 0 ? 0 : 1) || reports > 1) std::abort();
    if (parser.line() < 1) std::abort();
    return 0;
}
