// Console application: output channel, program and host names, command-line parsing.
#include "driver/ConsoleApplication.h"

#include <unistd.h>

#include <cstring>

#include "platform/ConsoleOutput.h"
#include "platform/Output.h"

// The build passes the project's version on, so that it is written down in one place only.
#ifndef TNASM_VERSION
#error "TNASM_VERSION must be defined by the build"
#endif

namespace {

// Standard output is collected in pieces of this size before it is written.
constexpr int CONSOLE_BUFFER_SIZE = 8192;
constexpr int HOSTNAME_SIZE = 128;

const char* program_basename(int argc, char** argv) {
    if (argc < 1 || argv == nullptr || argv[0] == nullptr) return "";
    const char* name = argv[0];
    for (const char* p = argv[0]; *p != '\0'; ++p) {
        if (*p == '/' || *p == '\\') name = p + 1;
    }
    return name;
}

}  // namespace

ConsoleApplication::ConsoleApplication(int argc, char** argv)
    : output_(new ConsoleOutput(CONSOLE_BUFFER_SIZE)),
      basename_(program_basename(argc, argv)),
      hostname_(new char[HOSTNAME_SIZE]()),
      argc_(argc),
      argv_(argv),
      exit_requested_(false) {
    if (gethostname(hostname_, HOSTNAME_SIZE) != 0) hostname_[0] = '\0';
    hostname_[HOSTNAME_SIZE - 1] = '\0';  // a truncated name need not be terminated
}

ConsoleApplication::~ConsoleApplication() {
    delete output_;
    delete[] hostname_;
}

Output* ConsoleApplication::output(const char* text, int length) {
    (void)text;  // one channel serves every text
    (void)length;
    return output_;
}

Output* ConsoleApplication::SetOutput(Output* channel) {
    Output* previous = output_;
    output_ = channel;
    return previous;
}

int ConsoleApplication::Crypt(const char* key, int key_length, const char* text, int length,
                              String* result) {
    (void)key;
    (void)key_length;
    (void)text;
    (void)length;
    (void)result;
    return 0;
}

int ConsoleApplication::MakeSessionID(String* id) {
    (void)id;
    return 0;
}

void ConsoleApplication::Sleep(long milliseconds) {
    (void)milliseconds;
}

void* ConsoleApplication::SSL_GetFunction(const char* name) {
    (void)name;
    return nullptr;
}

int ConsoleApplication::ResolvePath(Tarn_PathType type, const char* path, String* result) {
    (void)type;
    if (result != nullptr) result->assign(path != nullptr ? path : "", -1);
    return 0;
}

// Options stop at the first argument that does not begin with '-': whatever follows it, options
// included, is left to the program. A short option that takes a value takes the whole next
// argument, and the rest of its cluster is ignored ("-ofoo x" sets x). A lone '-' is skipped.
int ConsoleApplication::CommandLine_Parse() {
    if (argc_ < 2) return 1;
    int i = 1;
    for (;;) {
        const char* argument = argv_[i];
        if (argument[0] != '-') return i;
        if (argument[1] == '-') {
            const char* name = argument + 2;
            const char* value = nullptr;
            if (CommandLine_Requires_Argument(name)) {
                if (i >= argc_ - 1) {
                    String message("Option '--");
                    message.cat(name);
                    message.cat("' requires an argument");
                    ArgumentError(message);
                    return -1;
                }
                value = argv_[++i];
            }
            if (!CommandLine_Process_Option_Long(name, value)) return -1;
        } else if (argument[1] != '\0') {
            for (const char* c = argument + 1; *c != '\0'; ++c) {
                if (CommandLine_Requires_Argument(*c)) {
                    if (i >= argc_ - 1) {
                        String message("Option '-");
                        message.cat(*c);
                        message.cat("' requires an argument");
                        ArgumentError(message);
                        return -1;
                    }
                    bool accepted = CommandLine_Process_Option(*c, argv_[i + 1]);
                    ++i;
                    if (!accepted) return -1;
                    break;
                }
                if (!CommandLine_Process_Option(*c, nullptr)) return -1;
            }
        }
        ++i;
        if (i >= argc_) return i;
    }
}

int ConsoleApplication::ArgumentError(const String& message) {
    String line(basename_);
    line.cat(": ");
    line.cat(message.c_str(), message.length());
    line.cat('\n');
    return Error(line);
}

bool ConsoleApplication::is_option(const char* name, const char* option) {
    return std::strcmp(name, option) == 0;
}

bool ConsoleApplication::Process_Shared_Option(const char* name) {
    if (is_option(name, "help")) {
        String usage("Usage: ");
        usage.cat(basename());
        usage.cat(UsageText());
        Print(usage.c_str(), usage.length());
    } else if (is_option(name, "version")) {
        Print(TNASM_VERSION "\n", static_cast<int>(std::strlen(TNASM_VERSION "\n")));
    } else {
        return false;
    }
    exit_requested_ = true;
    return true;
}

bool ConsoleApplication::Invalid_Option(char c) {
    String message("Invalid option '-");
    message.cat(c);
    message.cat('\'');
    ArgumentError(message);
    return false;
}

bool ConsoleApplication::Invalid_Option(const char* name) {
    String message("Invalid option '--");
    message.cat(name);
    message.cat('\'');
    ArgumentError(message);
    return false;
}

void ConsoleApplication::Print(const char* text, int length) {
    Output* channel = output(text, length);
    if (channel != nullptr) (void)channel->Write(text, length);  // nowhere to report
}
