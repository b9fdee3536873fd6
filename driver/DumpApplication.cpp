// The dump program: options, loading, and printing.
#include "driver/DumpApplication.h"

#include <cstring>
#include <vector>

#include "driver/CompiledImage.h"
#include "driver/DumpJson.h"
#include "driver/DumpWriter.h"
#include "driver/SourceCheckApplication.h"
#include "driver/SourceWriter.h"
#include "platform/Output.h"

DumpApplication::DumpApplication(int argc, char** argv)
    : ConsoleApplication(argc, argv), mode_(DUMP_READABLE), input_index_(argc) {}

DumpApplication::~DumpApplication() {}

bool DumpApplication::CommandLine_Requires_Argument(char c) {
    (void)c;
    return false;
}

bool DumpApplication::CommandLine_Requires_Argument(const char* name) {
    (void)name;
    return false;
}

bool DumpApplication::CommandLine_Process_Option(char c, const char* value) {
    (void)value;  // no short option exists, let alone one with a value
    return Invalid_Option(c);
}

// --listing and --source replace each other: the last one given wins. --json is refused beside
// either (see SetMode).
bool DumpApplication::CommandLine_Process_Option_Long(const char* name, const char* value) {
    (void)value;  // no long option takes one
    if (Process_Shared_Option(name)) return true;
    if (is_option(name, "listing")) return SetMode(DUMP_LISTING, "listing");
    if (is_option(name, "source")) return SetMode(DUMP_SOURCE, "source");
    if (is_option(name, "json")) return SetMode(DUMP_JSON, "json");
    return Invalid_Option(name);
}

int DumpApplication::Go() {
    input_index_ = CommandLine_Parse();
    if (input_index_ < 0) return 1;
    if (exitrequested()) return 0;
    if (!ValidateOptions()) return 1;

    // Only the first operand is read; any further ones are ignored, as tnasm does.
    const char* path = argv()[input_index_];
    FileManager* files = filemanager();
    CompiledImage image(this, files);
    if (!image.Load(path)) {
        ArgumentError(image.error());
        return 1;
    }
    std::string text;
    if (!Print(&image, path, &text)) return 1;
    return Emit(text.data(), static_cast<int>(text.size())) ? 0 : 1;
}

bool DumpApplication::ValidateOptions() {
    if (input_index_ < argc()) return true;
    ArgumentError(String("No input file specified"));
    return false;
}

bool DumpApplication::Print(CompiledImage* image, const char* path, std::string* text) {
    DumpWriter dump(image, path);
    switch (mode_) {
        case DUMP_LISTING:
            dump.WriteListing(text);
            return true;
        case DUMP_SOURCE:
            return Source(image, path, text);
        case DUMP_JSON:
            DumpJson(image, path).Write(text);
            return true;
        default:
            dump.Write(text);
            return true;
    }
}

// The source is printed only after it has been assembled again, in memory, into exactly the
// bytes of the file: a source that would give a different file is refused, never printed.
bool DumpApplication::Source(CompiledImage* image, const char* path, std::string* text) {
    String message("Cannot write '");
    message.cat(path);
    message.cat("' as source: ");
    SourceWriter writer(image, path);
    if (!writer.Write(text)) {
        message.cat(writer.error().data(), static_cast<int>(writer.error().size()));
        ArgumentError(message);
        return false;
    }
    SourceCheckApplication check;
    std::vector<unsigned char> bytes;
    if (check.Assemble(*text, &bytes) != 0) {
        std::string report = check.errors().substr(0, check.errors().find('\n'));
        message.cat("it does not assemble again (");
        message.cat(report.data(), static_cast<int>(report.size()));
        message.cat(')');
        ArgumentError(message);
        return false;
    }
    const std::vector<unsigned char>& original = image->bytes();
    if (bytes != original) {
        size_t offset = 0;
        while (offset < bytes.size() && offset < original.size() &&
               bytes[offset] == original[offset])
            ++offset;
        message.cat("it assembles into different bytes, from offset ");
        message.cat(std::to_string(offset).c_str());
        ArgumentError(message);
        return false;
    }
    return true;
}

// A script that asks for JSON parses what it gets: silently printing a listing or a source
// instead, because another option came later, would hand it text it cannot read.
bool DumpApplication::SetMode(Mode mode, const char* name) {
    if (mode_ != DUMP_READABLE && mode_ != mode && (mode == DUMP_JSON || mode_ == DUMP_JSON)) {
        String message("Option '--json' cannot be combined with '--");
        message.cat(mode != DUMP_JSON ? name : mode_ == DUMP_LISTING ? "listing" : "source");
        message.cat('\'');
        ArgumentError(message);
        return false;
    }
    mode_ = mode;
    return true;
}

bool DumpApplication::Emit(const char* text, int length) {
    Output* channel = output(text, length);
    if (channel != nullptr && channel->Write(text, length) == length && channel->Flush() == 0)
        return true;
    String message("Unable to write the output: ");
    message.cat(lasterror());
    ArgumentError(message);
    return false;
}

const char* DumpApplication::UsageText() const {
    return " [options] file\n"
           "Options:\n"
           "  --help           Display this information\n"
           "  --version        Display version number and exit\n"
           "  --listing        List each code segment in the runtime's listing format\n"
           "  --source         Write assembly source that assembles back into the same file\n"
           "  --json           Write the whole file as one JSON document\n";
}
