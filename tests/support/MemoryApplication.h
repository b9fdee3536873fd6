// The assembler and dump applications over in-memory files, with their output captured: whole
// runs of tnasm and tndump for tests and fuzz targets, without touching the disk.
#ifndef TARN_TESTS_SUPPORT_MEMORYAPPLICATION_H
#define TARN_TESTS_SUPPORT_MEMORYAPPLICATION_H

#include <string>
#include <vector>

#include "driver/AssemblerApplication.h"
#include "driver/DumpApplication.h"
#include "platform/Output.h"
#include "tests/support/MemoryFile.h"

// Keeps what the program writes: ordinary output and error reports apart.
class CapturedOutput : public Output {
  public:
    int Write(const char* bytes, int count) override {
        out.append(bytes, static_cast<size_t>(count));
        return count;
    }
    // Every report arrives in one piece, so the calls count the reports.
    int WriteError(const char* bytes, int count) override {
        err.append(bytes, static_cast<size_t>(count));
        ++reports;
        return count;
    }
    int Flush() override { return 0; }

    std::string out;
    std::string err;
    int reports = 0;
};

// The command line must outlive the application, which keeps pointers into it.
struct CommandLineWords {
    explicit CommandLineWords(std::vector<std::string> list) : words(std::move(list)) {
        for (std::string& word : words) argv.push_back(&word[0]);
        argv.push_back(nullptr);
    }
    std::vector<std::string> words;
    std::vector<char*> argv;
};

class MemoryAssemblerApplication : private CommandLineWords, public AssemblerApplication {
  public:
    // 'words' is the whole command line, the program name first.
    explicit MemoryAssemblerApplication(std::vector<std::string> words)
        : CommandLineWords(std::move(words)),
          AssemblerApplication(static_cast<int>(CommandLineWords::words.size()),
                               CommandLineWords::argv.data()),
          capture(new CapturedOutput) {
        delete SetOutput(capture);
    }

    FileManager* filemanager() override { return &files; }
    const char* lasterror() override { return files.error().c_str(); }

    MemoryFileManager files;
    CapturedOutput* capture;  // owned by the application
};

class MemoryDumpApplication : private CommandLineWords, public DumpApplication {
  public:
    // 'words' is the whole command line, the program name first.
    explicit MemoryDumpApplication(std::vector<std::string> words)
        : CommandLineWords(std::move(words)),
          DumpApplication(static_cast<int>(CommandLineWords::words.size()),
                          CommandLineWords::argv.data()),
          capture(new CapturedOutput) {
        delete SetOutput(capture);
    }

    FileManager* filemanager() override { return &files; }
    const char* lasterror() override { return files.error().c_str(); }

    MemoryFileManager files;
    CapturedOutput* capture;  // owned by the application
};

#endif
