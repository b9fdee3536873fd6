// The assembler program: its options, the assembly run over one source file, and the report
// of assembly errors.
#ifndef TARN_DRIVER_ASSEMBLERAPPLICATION_H
#define TARN_DRIVER_ASSEMBLERAPPLICATION_H

#include "driver/ConsoleApplication.h"
#include "driver/ErrorCode.h"

class File;

// Size of the creator's identifier block in the compiled file's header.
constexpr int HEADER_IDENTIFIER_SIZE = 16;

class AssemblerApplication : public ConsoleApplication {
  public:
    AssemblerApplication(int argc, char** argv);
    ~AssemblerApplication() override;

    // Only -o takes a value; no long option does.
    bool CommandLine_Requires_Argument(char c) override;
    bool CommandLine_Requires_Argument(const char* name) override;
    bool CommandLine_Process_Option(char c, const char* value) override;
    bool CommandLine_Process_Option_Long(const char* name, const char* value) override;
    // Parses the command line and assembles the first operand; 0 on success or after --help
    // and --version, 1 on any failure (reported where it was found).
    int Go() override;
    bool ValidateOptions() override;
    // Reports "file:line: AE_code: message"; always 0.
    virtual int AssembleError(ErrorCode code, const char* file, int line, const String& message);

    // The compiled file to write: "output.tnc", or the value of the last -o.
    const char* outputfilename() const { return output_file_name_; }
    // The 16 bytes the compiled file's header carries as its identifier; always zero.
    const unsigned char* headeridentifier() const { return header_identifier_; }
    int inputindex() const { return input_index_; }

  private:
    int Assemble(File* source, const char* path);
    const char* UsageText() const override;
    bool SourceChanged();

    const char* output_file_name_;
    int input_index_;
    unsigned char header_identifier_[HEADER_IDENTIFIER_SIZE];
    // The source while it is read, for the reports about it.
    File* source_;
    const char* source_path_;
    bool source_change_reported_;
};

#endif
