// The dump program tndump: its options, the loading of one compiled file through the loader's
// readers, and the four ways of printing it (readable dump, segment listing, assembly source,
// JSON document).
#ifndef TARN_DRIVER_DUMPAPPLICATION_H
#define TARN_DRIVER_DUMPAPPLICATION_H

#include <string>

#include "driver/ConsoleApplication.h"

class CompiledImage;

class DumpApplication : public ConsoleApplication {
  public:
    enum Mode {
        DUMP_READABLE,  // every section for a person
        DUMP_LISTING,   // each segment in the runtime's listing format
        DUMP_SOURCE,    // assembly source that assembles back into the same bytes
        DUMP_JSON,      // every section as one JSON document, for scripts and tools
    };

    // 'argv' is not copied and must outlive the application.
    DumpApplication(int argc, char** argv);
    ~DumpApplication() override;

    // The platform leaf supplies the files.
    FileManager* filemanager() override = 0;

    // No option takes a value.
    bool CommandLine_Requires_Argument(char c) override;
    bool CommandLine_Requires_Argument(const char* name) override;
    bool CommandLine_Process_Option(char c, const char* value) override;
    bool CommandLine_Process_Option_Long(const char* name, const char* value) override;
    // Parses the command line and prints the first operand's file; 0 on success or after
    // --help and --version, 1 on any failure, reported as "tndump: message".
    int Go() override;
    bool ValidateOptions() override;

    Mode mode() const { return mode_; }
    int inputindex() const { return input_index_; }

  private:
    // The text of 'image' in the chosen mode into 'text'; false after reporting why not.
    bool Print(CompiledImage* image, const char* path, std::string* text);
    bool Source(CompiledImage* image, const char* path, std::string* text);
    bool Emit(const char* text, int length);
    const char* UsageText() const override;
    // Chooses the mode of option '--name'; false after reporting a clash with an earlier one.
    bool SetMode(Mode mode, const char* name);

    Mode mode_;
    int input_index_;
};

#endif
