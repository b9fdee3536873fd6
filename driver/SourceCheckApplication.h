// The assembler run in memory: assembles a source text into compiled bytes with the same
// driver, parser and writers as tnasm, collecting its error reports instead of printing them.
// tndump uses it to prove that a source it wrote assembles back into the file it read.
#ifndef TARN_DRIVER_SOURCECHECKAPPLICATION_H
#define TARN_DRIVER_SOURCECHECKAPPLICATION_H

#include <string>
#include <vector>

#include "driver/AssemblerApplication.h"
#include "platform/BufferFileManager.h"

class SourceCheckApplication : public AssemblerApplication {
  public:
    SourceCheckApplication();
    ~SourceCheckApplication() override;

    FileManager* filemanager() override { return &files_; }
    const char* lasterror() override { return "Input/output error"; }
    // Keeps the report instead of writing it.
    int OutputError(const char* text, int length) override;

    // Assembles 'source'; 0 with the compiled file in 'bytes', or 1 with the reports behind
    // errors(). Meant to be called once per application.
    int Assemble(const std::string& source, std::vector<unsigned char>* bytes);
    const std::string& errors() const { return errors_; }

  private:
    BufferFileManager files_;
    std::string errors_;
};

#endif
