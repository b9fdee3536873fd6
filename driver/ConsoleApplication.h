// Application of a command-line program: the console output channel, the program and host
// names, and the parsing of the command line into options and operands.
#ifndef TARN_DRIVER_CONSOLEAPPLICATION_H
#define TARN_DRIVER_CONSOLEAPPLICATION_H

#include "driver/TarnApplication.h"

class ConsoleApplication : public TarnApplication {
  public:
    // 'argv' is not copied and must outlive the application.
    ConsoleApplication(int argc, char** argv);
    ~ConsoleApplication() override;

    // ---- base operations, inert in a console program unless stated ----
    NetworkManager* networkmanager() override { return nullptr; }
    FileManager* filemanager() override { return nullptr; }
    LibraryManager* librarymanager() override { return nullptr; }
    TarnConfig* config() override { return nullptr; }
    // The program's name: argv[0] behind its last '/' or '\'.
    const char* basename() override { return basename_; }
    const char* hostname() override { return hostname_; }
    Output* output(const char* text, int length) override;
    Output* SetOutput(Output* channel) override;
    int Crypt(const char* key, int key_length, const char* text, int length,
              String* result) override;
    int MakeSessionID(String* id) override;
    long processid() override { return 0; }
    long threadid() override { return 0; }
    const char* lockhostname() override { return hostname_; }
    int lockexpiration() override { return 60; }
    void Sleep(long milliseconds) override;
    long GetUserID() override { return 0; }
    bool SSL_Initialize() override { return false; }
    void* SSL_GetFunction(const char* name) override;
    // Paths are used as given: 'result' receives 'path' unchanged (empty when there is none).
    int ResolvePath(Tarn_PathType type, const char* path, String* result) override;

    // ---- command line ----
    // Index of the first operand (the first argument not beginning with '-'), argc when every
    // argument was an option, or -1 after an option error, which has been reported.
    virtual int CommandLine_Parse();
    // Whether the short option 'c' / the long option 'name' takes the next argument as value.
    virtual bool CommandLine_Requires_Argument(char c) = 0;
    virtual bool CommandLine_Requires_Argument(const char* name) = 0;
    // Apply one option; false after reporting why it is refused.
    virtual bool CommandLine_Process_Option(char c, const char* value) = 0;
    virtual bool CommandLine_Process_Option_Long(const char* name, const char* value) = 0;
    // Reports a command-line or file error as "program: message"; always 0.
    virtual int ArgumentError(const String& message);
    // Runs the program; the exit status.
    virtual int Go() = 0;
    virtual bool ValidateOptions() = 0;

    int argc() const { return argc_; }
    char** argv() const { return argv_; }
    // Whether --help or --version was given: the run then ends with 0 once the line is parsed.
    bool exitrequested() const { return exit_requested_; }

  protected:
    // Whether the long option 'name' is exactly 'option'.
    static bool is_option(const char* name, const char* option);
    // The long options every program has: "--help" prints "Usage: <program>" and UsageText(),
    // "--version" the version of the build; either asks for the run to end. False when 'name'
    // is neither.
    bool Process_Shared_Option(const char* name);
    // Reports an option the program does not have ("Invalid option '-c'" or "'--name'");
    // always false, for the option processors to return.
    bool Invalid_Option(char c);
    bool Invalid_Option(const char* name);
    // What --help prints after "Usage: <program>": the operands and the option lines.
    virtual const char* UsageText() const = 0;

  private:
    void Print(const char* text, int length);

    Output* output_;
    const char* basename_;
    char* hostname_;
    int argc_;
    char** argv_;
    bool exit_requested_;
};

#endif
