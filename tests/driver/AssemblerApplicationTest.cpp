// Command-line parsing and the two report formats, in process. The program itself, with every
// argument error, is run by run_cli.sh; these are the forms it does not try.
#include "driver/AssemblerApplication.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/MemoryApplication.h"

TEST(AssemblerApplication, CommandLineParsing) {
    struct Row {
        std::vector<std::string> words;
        int index;
        const char* output_file;
        const char* err;
    } rows[] = {
        {{"tnasm", "-o", "a", "-o", "b", "in.s"}, 5, "b", ""},
        {{"tnasm", "-ox"}, -1, "output.tnc", "tnasm: Option '-o' requires an argument\n"},
        {{"tnasm", "--helpx"}, -1, "output.tnc", "tnasm: Invalid option '--helpx'\n"},
    };
    for (const Row& row : rows) {
        MemoryAssemblerApplication app(row.words);
        EXPECT_EQ(app.CommandLine_Parse(), row.index) << row.words[1];
        EXPECT_STREQ(app.outputfilename(), row.output_file) << row.words[1];
        EXPECT_EQ(app.capture->err, row.err) << row.words[1];
    }
}

TEST(AssemblerApplication, ReportFormats) {
    MemoryAssemblerApplication app({"C:\\tools\\tnasm.exe"});
    EXPECT_STREQ(app.basename(), "tnasm.exe");
    EXPECT_EQ(app.AssembleError(static_cast<ErrorCode>(5), "x.s", 12, String("message")), 0);
    EXPECT_EQ(app.ArgumentError(String("No input file specified")), 0);
    EXPECT_EQ(app.capture->err, "x.s:12: AE_5: message\ntnasm.exe: No input file specified\n");
    EXPECT_EQ(app.capture->out, "");
}
