// Sources at the edges through the whole program: ten million signs, dots or newlines in a row.
// The sign and dot prefixes read the token behind them as if by a nested call; the program must
// not nest once per character (the stack would not hold ten million frames), and its reports
// must still quote the tokens the rules make.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/MemoryApplication.h"

namespace {

constexpr int TEN_MILLION = 10 * 1000 * 1000;

struct Outcome {
    int status;
    std::string err;
    bool written;
};

Outcome assemble(const std::string& source) {
    MemoryAssemblerApplication application({"tnasm", "in.s"});
    application.files.Put("in.s", source);
    const int status = application.Go();
    return {status, application.capture->err, application.files.Has("output.tnc")};
}

}  // namespace

TEST(SourceEdges, TenMillionSignsDotsAndNewlinesInARow) {
    const std::string dashes(TEN_MILLION, '-');
    std::string spaced;
    for (int i = 0; i < TEN_MILLION / 2; ++i) spaced += "- ";
    struct Row {
        const char* what;
        std::string source;
        int status;
        std::string err;
    } rows[] = {
        // One number token whose text takes in every sign.
        {"signs before a number", dashes + "5", 1,
         "in.s:1: AE_319: Expected label, directive, or operator, found a number: " + dashes +
             "5\n"},
        // Each sign moves the text back by one character, blanks between them or not: the
        // text starts halfway through the signs.
        {"signs and blanks before a number", spaced + "7 x", 1,
         "in.s:1: AE_319: Expected label, directive, or operator, found a number: " +
             spaced.substr(spaced.size() / 2) + "7\n"},
        // Only the innermost dot may take a name; the outer ones make the token an error.
        {"dots before a directive name", std::string(TEN_MILLION, '.') + "local", 1,
         "in.s:1: AE_314: Unrecognized directive or punctuation mark: local\n"},
        {"signs alone", dashes, 1,
         "in.s:1: AE_314: Unrecognized directive or punctuation mark: \n"},
        {"dots alone", std::string(TEN_MILLION, '.'), 1,
         "in.s:1: AE_314: Unrecognized directive or punctuation mark: \n"},
        {"newlines", std::string(TEN_MILLION, '\n') + "pushx", 1,
         "in.s:10000001: AE_315: unrecognized operation code: pushx\n"},
        // An operand of ten million signs is one number; as an integer it is no number at all
        // and assembles as 0.
        {"signs in an operand", "pushi " + dashes + "5\n", 0, ""},
    };
    for (const Row& row : rows) {
        const Outcome run = assemble(row.source);
        EXPECT_EQ(row.status, run.status) << row.what;
        EXPECT_TRUE(run.err == row.err) << row.what << ": " << run.err.substr(0, 200);
        EXPECT_EQ(row.status == 0, run.written) << row.what;
    }
}
