// Command-line parsing and the two report formats, in process (the program itself is run by
// run_cli.sh).
#include "driver/AssemblerApplication.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/UNIXAssemblerApplication.h"
#include "platform/Output.h"

namespace {

class CaptureOutput : public Output {
  public:
    int Write(const char* bytes, int count) override {
        out.append(bytes, static_cast<size_t>(count));
        return count;
    }
    int WriteError(const char* bytes, int count) override {
        err.append(bytes, static_cast<size_t>(count));
        return count;
    }
    int Flush() override { return 0; }

    std::string out;
    std::string err;
};

// An application over a command line, with its output captured.
struct CommandLine {
    explicit CommandLine(std::vector<std::string> words) : storage(std::move(words)) {
        for (std::string& word : storage) argv.push_back(&word[0]);
        argv.push_back(nullptr);
        app = new UNIXAssemblerApplication(static_cast<int>(storage.size()), argv.data());
        capture = new CaptureOutput;
        delete app->SetOutput(capture);
    }
    ~CommandLine() { delete app; }

    std::vector<std::string> storage;
    std::vector<char*> argv;
    UNIXAssemblerApplication* app;
    CaptureOutput* capture;  // owned by the application
};

}  // namespace

TEST(AssemblerApplication, CommandLineParsing) {
    struct Row {
        std::vector<std::string> words;
        int index;
        const char* output_file;
        const char* err;
    } rows[] = {
        {{"tnasm"}, 1, "output.tnc", ""},
        {{"tnasm", "in.s"}, 1, "output.tnc", ""},
        {{"tnasm", "-o", "out.tnc", "in.s"}, 3, "out.tnc", ""},
        {{"tnasm", "in.s", "-o", "out.tnc"}, 1, "output.tnc", ""},
        {{"tnasm", "-ofoo", "x", "y", "in.s"}, 3, "x", ""},
        {{"tnasm", "-o", "a", "-o", "b", "in.s"}, 5, "b", ""},
        {{"tnasm", "-", "in.s"}, 2, "output.tnc", ""},
        {{"tnasm", "-o", "out.tnc"}, 3, "out.tnc", ""},
        {{"tnasm", "-o"}, -1, "output.tnc", "tnasm: Option '-o' requires an argument\n"},
        {{"tnasm", "-x", "in.s"}, -1, "output.tnc", "tnasm: Invalid option '-x'\n"},
        {{"tnasm", "-ox"}, -1, "output.tnc", "tnasm: Option '-o' requires an argument\n"},
        {{"tnasm", "--", "in.s"}, -1, "output.tnc", "tnasm: Invalid option '--'\n"},
        {{"tnasm", "--helpx"}, -1, "output.tnc", "tnasm: Invalid option '--helpx'\n"},
        {{"tnasm", "", "in.s"}, 1, "output.tnc", ""},
    };
    for (const Row& row : rows) {
        CommandLine run(row.words);
        std::string line;
        for (const std::string& word : row.words) line += "[" + word + "]";
        EXPECT_EQ(run.app->CommandLine_Parse(), row.index) << line;
        EXPECT_STREQ(run.app->outputfilename(), row.output_file) << line;
        EXPECT_EQ(run.capture->err, row.err) << line;
    }
}

TEST(AssemblerApplication, ReportFormats) {
    CommandLine run({"C:\\tools\\tnasm.exe"});
    EXPECT_STREQ(run.app->basename(), "tnasm.exe");
    EXPECT_EQ(run.app->AssembleError(static_cast<ErrorCode>(5), "x.s", 12, String("message")), 0);
    EXPECT_EQ(run.app->AssembleError(AE_UNRECOGNIZED_OPCODE, "dir/y.s", 1,
                                     String("unrecognized operation code: pushx")),
              0);
    EXPECT_EQ(run.app->ArgumentError(String("No input file specified")), 0);
    EXPECT_EQ(run.capture->err,
              "x.s:12: AE_5: message\n"
              "dir/y.s:1: AE_315: unrecognized operation code: pushx\n"
              "tnasm.exe: No input file specified\n");
    EXPECT_EQ(run.capture->out, "");
    for (unsigned char byte : std::string(
             reinterpret_cast<const char*>(run.app->headeridentifier()), HEADER_IDENTIFIER_SIZE)) {
        EXPECT_EQ(byte, 0);
    }
}
