// Assembler application: options, the assembly run and the assembly-error report.
#include "driver/AssemblerApplication.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include "assembler/AssemblerParser.h"
#include "platform/FileManager.h"
#include "platform/Output.h"

namespace {

const char* const DEFAULT_OUTPUT_FILE = "output.tnc";

}  // namespace

AssemblerApplication::AssemblerApplication(int argc, char** argv)
    : ConsoleApplication(argc, argv),
      output_file_name_(DEFAULT_OUTPUT_FILE),
      input_index_(argc),
      header_identifier_(),
      source_(nullptr),
      source_path_(nullptr),
      source_change_reported_(false) {}

AssemblerApplication::~AssemblerApplication() {}

bool AssemblerApplication::CommandLine_Requires_Argument(char c) {
    return c == 'o';
}

bool AssemblerApplication::CommandLine_Requires_Argument(const char* name) {
    (void)name;
    return false;
}

bool AssemblerApplication::CommandLine_Process_Option(char c, const char* value) {
    if (c == 'o') {
        output_file_name_ = value;
        return true;
    }
    return Invalid_Option(c);
}

bool AssemblerApplication::CommandLine_Process_Option_Long(const char* name, const char* value) {
    (void)value;  // no long option takes one
    return Process_Shared_Option(name) || Invalid_Option(name);
}

int AssemblerApplication::Go() {
    input_index_ = CommandLine_Parse();
    if (input_index_ < 0) return 1;
    if (exitrequested()) return 0;
    if (!ValidateOptions()) return 1;

    // Only the first operand is assembled; any further ones are ignored.
    const char* path = argv()[input_index_];
    FileManager* files = filemanager();
    File* source = files != nullptr ? files->Open(path, FILE_MODE_READ) : nullptr;
    if (source == nullptr) {
        String message("Unable to open '");
        message.cat(path);
        message.cat("': ");
        if (files != nullptr) message.cat(files->error().c_str(), files->error().length());
        ArgumentError(message);
        return 1;
    }
    // Writing the output would destroy the source before a byte of it was read.
    if (files->IsSameFile(output_file_name_, source)) {
        String message("Unable to create '");
        message.cat(output_file_name_);
        message.cat("': It is the source file");
        ArgumentError(message);
        delete source;
        return 1;
    }
    int status = Assemble(source, path);
    delete source;
    return status;
}

bool AssemblerApplication::ValidateOptions() {
    if (input_index_ < argc()) return true;
    ArgumentError(String("No input file specified"));
    return false;
}

// An error found in a source that changed while it was read is an error of the change: the
// bytes it names are no longer the source's.
int AssemblerApplication::AssembleError(ErrorCode code, const char* file, int line,
                                        const String& message) {
    if (SourceChanged()) return 0;
    String report(file != nullptr ? file : "");
    report.cat(':');
    char* number = itos(line);
    report.cat(number);
    delete[] number;
    report.cat(": AE_");
    number = itos(static_cast<int>(code));
    report.cat(number);
    delete[] number;
    report.cat(": ");
    report.cat(message.c_str(), message.length());
    report.cat('\n');
    return Error(report);
}

// The assembly stages over the opened source: grammar, resolution, then writing the compiled
// file to outputfilename() with headeridentifier(). Each stage reports its own errors; the
// first failure ends the run with 1. The compiled file is created only by the last stage, so a
// run that fails earlier leaves no output behind. The caller deletes 'source' afterwards,
// once the parser (which maps it) is gone.
int AssemblerApplication::Assemble(File* source, const char* path) {
    AssemblerParser* parser = new AssemblerParser(this, source, path);
    int status = 0;
    if (!parser->mapped()) {
        // An unreadable source would otherwise assemble as an empty program. Sources are counted
        // in 32 bits, so one of 2 GiB or more is refused as too large instead of being cut.
        String message("Unable to open '");
        message.cat(path);
        message.cat("': ");
        if (source->Length() > INT_MAX) {
            message.cat(std::strerror(EFBIG));
        } else {
            message.cat(source->error().c_str(), source->error().length());
        }
        status = parser->ArgumentError(message);
    }
    source_ = source;
    source_path_ = path;
    if (status == 0) status = parser->Start();
    // Everything the parser keeps is copied out of the source by now: a change after this
    // point cannot reach the compiled file.
    if (SourceChanged()) status = 1;
    source_ = nullptr;
    if (status == 0) status = parser->Resolve();
    if (status == 0) status = parser->Write(output_file_name_, header_identifier_);
    delete parser;
    return status == 0 ? 0 : 1;
}

// True when the source being read is no longer what it was when it was opened (cut short by
// another program, say); the first time, it is reported as the run's one error.
bool AssemblerApplication::SourceChanged() {
    if (source_ == nullptr || !source_->Changed()) return false;
    if (!source_change_reported_) {
        source_change_reported_ = true;
        String message("Unable to read '");
        message.cat(source_path_);
        message.cat("': File changed while being read");
        ArgumentError(message);
    }
    return true;
}

const char* AssemblerApplication::UsageText() const {
    return " [options] file...\n"
           "Options:\n"
           "  --help           Display this information\n"
           "  --version        Display version number and exit\n"
           "  -o <file>        Place output in <file>\n";
}
