// Fuzz target: any bytes as a source through the tokenizer and the statement grammar, with every
// operation accepting what it is given. Texts handed to an operation are copied, so a pointer
// or length that reaches outside the source is caught by the sanitizer.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "assembler/Parser.h"
#include "platform/File.h"

namespace {

// The view is a heap block of exactly the source's size, without the zero byte the file layer
// keeps behind it: a read one byte too far is a finding.
class ExactView : public File {
  public:
    ExactView(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    ~ExactView() override { Release(); }

    int64_t Length() override { return static_cast<int64_t>(size_); }
    const char* Map(int64_t, int64_t length) override {
        Release();
        view_ = static_cast<char*>(std::malloc(length > 0 ? static_cast<size_t>(length) : 1));
        if (length > 0) std::memcpy(view_, data_, static_cast<size_t>(length));
        return view_;
    }
    void Release() override {
        std::free(view_);
        view_ = nullptr;
    }
    int Read(void*, int) override { return -1; }
    int Write(const void*, int) override { return -1; }
    int64_t Seek(int64_t) override { return -1; }
    const String& error() override { return error_; }

  private:
    const uint8_t* data_;
    size_t size_;
    char* view_ = nullptr;
    String error_;
};

class AcceptingParser : public Parser {
  public:
    explicit AcceptingParser(File* file) : Parser(file) {}

    int AssembleError(ErrorCode, const String& message) override {
        Touch(message.c_str(), message.length());
        ++reports;
        return 1;
    }
    int ProcessGlobal(const char* n, int nl, const char* t, int tl) override {
        return Pair(n, nl, t, tl);
    }
    int ProcessSystem(const char* n, int nl, const char* t, int tl) override {
        return Pair(n, nl, t, tl);
    }
    int ProcessLocal(const char* n, int nl, const char* t, int tl) override {
        return Pair(n, nl, t, tl);
    }
    int ProcessOpcode(int, int operand_count) override {
        if (operand_count < 0 || operand_count > 2) std::abort();
        return 0;
    }
    int ProcessImmediate(const char* text, int length, int operands_left, int kind) override {
        if (operands_left < 0 || operands_left > 1 || kind < 0 || kind > 8) std::abort();
        return Touch(text, length);
    }
    int ProcessFunction(const char* name, int length, int) override { return Touch(name, length); }
    int ProcessEndFunction() override { return 0; }
    int ProcessParameter(const char* n, int nl, const char* t, int tl, int flags) override {
        if (flags != 0 && flags != 1) std::abort();
        return Pair(n, nl, t, tl);
    }
    int ProcessString(const char* n, int nl, const char* t, int tl) override {
        return Pair(n, nl, t, tl);
    }
    int ProcessLabel(const char* name, int length) override { return Touch(name, length); }
    int ProcessLocalized(const char* text, int length, int* index) override {
        *index = length;
        return Touch(text, length);
    }
    int ProcessVersion(const char* text, int length) override { return Touch(text, length); }
    int ProcessIdent(const char* text, int length) override { return Touch(text, length); }
    int ProcessDisableLogging() override { return 0; }
    int ProcessLocLangEntry(const char* f, int fl, const char* s, int sl, int) override {
        return Pair(f, fl, s, sl);
    }

    int reports = 0;

  private:
    static int Touch(const char* text, int length) {
        if (length < 0) std::abort();
        if (length > 0) {
            std::string copy(text, static_cast<size_t>(length));
            (void)copy;
        }
        return 0;
    }
    static int Pair(const char* a, int al, const char* b, int bl) {
        Touch(a, al);
        return Touch(b, bl);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ExactView file(data, size);
    AcceptingParser parser(&file);
    const int result = parser.Start();
    // The grammar stops at its first failure: one report and status 1, or none and 0.
    if (result != (parser.reports == 0 ? 0 : 1) || parser.reports > 1) std::abort();
    if (parser.line() < 1) std::abort();
    return 0;
}
