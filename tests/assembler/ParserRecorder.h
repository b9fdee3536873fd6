// Test doubles for the front end: a source file whose view has no byte behind it, so the
// sanitizer catches any read past the source, and a parser that records every operation.
#ifndef TARN_TESTS_ASSEMBLER_PARSERRECORDER_H
#define TARN_TESTS_ASSEMBLER_PARSERRECORDER_H

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "assembler/Parser.h"

// The view is a heap block of exactly the source's size: stricter than the file layer, which
// keeps a zero byte behind it.
class ExactSourceFile : public File {
  public:
    explicit ExactSourceFile(std::string bytes, bool fail_map = false)
        : bytes_(std::move(bytes)), fail_map_(fail_map) {}
    ~ExactSourceFile() override { delete[] view_; }

    int64_t Length() override { return static_cast<int64_t>(bytes_.size()); }
    const char* Map(int64_t, int64_t length) override {
        if (fail_map_) return nullptr;
        delete[] view_;
        view_ = new char[length];
        std::memcpy(view_, bytes_.data(), static_cast<size_t>(length));
        return view_;
    }
    void Release() override {
        delete[] view_;
        view_ = nullptr;
    }
    int Read(void*, int) override { return -1; }
    int Write(const void*, int) override { return -1; }
    int64_t Seek(int64_t) override { return -1; }
    const String& error() override { return error_; }

  private:
    std::string bytes_;
    bool fail_map_;
    char* view_ = nullptr;
    String error_;
};

struct SourceHolder {
    explicit SourceHolder(const std::string& source, bool fail_map)
        : file(new ExactSourceFile(source, fail_map)) {}
    std::unique_ptr<ExactSourceFile> file;
};

// Records each operation as one line of text; an operation named in 'results' returns the
// value given there instead of 0.
class ParserRecorder : private SourceHolder, public Parser {
  public:
    explicit ParserRecorder(const std::string& source, bool fail_map = false)
        : SourceHolder(source, fail_map), Parser(file.get()) {}

    using Parser::GrammarState;
    using Parser::Step;

    const char* source() const { return source_text_; }
    String& string_value() { return string_value_; }

    // Every record, one per line.
    std::string Calls() const {
        std::string all;
        for (const std::string& call : calls) all += call + "\n";
        return all;
    }

    int AssembleError(ErrorCode code, const String& message) override {
        calls.push_back("error " + std::to_string(static_cast<int>(code)) + " line " +
                        std::to_string(line()) + ": " + Text(message.c_str(), message.length()));
        return 1;
    }
    int ProcessGlobal(const char* name, int nameLength, const char* text, int textLength) override {
        return Record("global", Quote(name, nameLength) + " " + Quote(text, textLength));
    }
    int ProcessSystem(const char* name, int nameLength, const char* text, int textLength) override {
        return Record("system", Quote(name, nameLength) + " " + Quote(text, textLength));
    }
    int ProcessLocal(const char* name, int nameLength, const char* text, int textLength) override {
        return Record("local", Quote(name, nameLength) + " " + Quote(text, textLength));
    }
    int ProcessOpcode(int code, int operandCount) override {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "0x%04X %d", code, operandCount);
        return Record("opcode", buffer);
    }
    int ProcessImmediate(const char* text, int length, int operandsLeft, int operandKind) override {
        return Record("immediate", Quote(text, length) + " left " + std::to_string(operandsLeft) +
                                       " kind " + std::to_string(operandKind));
    }
    int ProcessFunction(const char* name, int nameLength, int flags) override {
        char buffer[16];
        std::snprintf(buffer, sizeof buffer, " 0x%02X", flags);
        return Record("function", Quote(name, nameLength) + buffer);
    }
    int ProcessEndFunction() override { return Record("endfunction", ""); }
    int ProcessParameter(const char* name, int nameLength, const char* text, int textLength,
                         int flags) override {
        return Record("parameter", Quote(name, nameLength) + " " + Quote(text, textLength) + " " +
                                       std::to_string(flags));
    }
    int ProcessString(const char* name, int nameLength, const char* text, int textLength) override {
        return Record("string", Quote(name, nameLength) + " " + Quote(text, textLength));
    }
    int ProcessLabel(const char* name, int length) override {
        return Record("label", Quote(name, length));
    }
    int ProcessLocalized(const char* text, int length, int* index) override {
        *index = next_localized_index++;
        return Record("localized", Quote(text, length));
    }
    int ProcessVersion(const char* text, int length) override {
        return Record("version", Quote(text, length));
    }
    int ProcessIdent(const char* text, int length) override {
        return Record("ident", Quote(text, length));
    }
    int ProcessDisableLogging() override { return Record("disable_logging", ""); }
    int ProcessLocLangEntry(const char* first, int firstLength, const char* second,
                            int secondLength, int index) override {
        return Record("langentry", Quote(first, firstLength) + " " + Quote(second, secondLength) +
                                       " " + std::to_string(index));
    }

    std::vector<std::string> calls;
    std::map<std::string, int> results;
    int next_localized_index = 40;
    int negative_lengths = 0;

  private:
    // A text handed to an operation must lie in the source or be a whole String: checked by
    // copying it, which the sanitizer watches.
    std::string Text(const char* text, int length) {
        if (length < 0) {
            ++negative_lengths;
            return "<negative length>";
        }
        return std::string(text, static_cast<size_t>(length));
    }
    std::string Quote(const char* text, int length) { return "'" + Text(text, length) + "'"; }
    int Record(const std::string& name, const std::string& arguments) {
        calls.push_back(arguments.empty() ? name : name + " " + arguments);
        auto it = results.find(name);
        return it == results.end() ? 0 : it->second;
    }
};

#endif
