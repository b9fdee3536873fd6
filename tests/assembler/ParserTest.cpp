// Statement grammar: the operations each statement form calls, every grammar error with its
// message and line, the kept quirks, and how failures of the operations end the run.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/assembler/ParserRecorder.h"

namespace {

using namespace std::string_literals;

struct Outcome {
    int result;
    std::string calls;
    // The last record and the number of reports.
    std::string last;
    int reports;
};

Outcome assemble(const std::string& source, const std::map<std::string, int>& results = {}) {
    ParserRecorder parser(source);
    parser.results = results;
    const int result = parser.Start();
    int reports = 0;
    for (const std::string& call : parser.calls) reports += call.compare(0, 6, "error ") == 0;
    return {result, parser.Calls(), parser.calls.empty() ? "" : parser.calls.back(), reports};
}

}  // namespace

// Every statement form also runs through the whole program in the golden cases; these rows pin
// the arguments each operation gets and the forms the golden cases leave out.
TEST(Parser, CallsOneOperationPerStatementPiece) {
    const struct {
        std::string source;
        std::string calls;
    } cases[] = {
        {"label: pushc s1 ; comment\n",
         "label 'label'\nopcode 0x4001 1\nimmediate 's1' left 0 kind 2\n"},
        {"pop pop", "opcode 0x000B 0\nopcode 0x000B 0\n"},
        {".global g \"G\"\n.system s \"S\"\n.local l \"L\"\n.string t \"T\\0a\"",
         "global 'g' 'G'\nsystem 's' 'S'\nlocal 'l' 'L'\nstring 't' 'T\n'\n"},
        {".parameter p \"x\" value .parameter q \"y\" reference",
         "parameter 'p' 'x' 0\nparameter 'q' 'y' 1\n"},
        {".function f private external\n", "function 'f' 0x21\n"},
        {".function f external internal stdoutinherit\n", "function 'f' 0x10\n"},
        {".function f compresswhitespace erroroutputlevelon \"\" erroroutputleveloff\n",
         "function 'f' 0x0E\n"},
        // The end of input closes a .function line whose last qualifier is valid.
        {".function f private", "function 'f' 0x20\n"},
        {".version\n", "version 'version'\n"},
        // An empty second string reuses the one of the statement before.
        {".localized \"x\" \"y\" \"z\"\n.localized \"a\" \"\" \"c\"\n",
         "localized 'z'\nlangentry 'x' 'y' 40\nlocalized 'c'\nlangentry 'a' 'y' 41\n"},
        {"pop\0 , , ,"s, "opcode 0x000B 0\n"},
        // A zero byte is read as the end of input and the reading goes on behind it: only
        // .version takes that end as its token and carries on, and a .function line closes
        // at the end of input only at the end of the source.
        {".version\0pop"s, "version '\0pop'\nopcode 0x000B 0\n"s},
        {".function f \"\"\0private\n"s, "function 'f' 0x20\n"},
    };
    for (const auto& c : cases) {
        const Outcome run = assemble(c.source);
        EXPECT_EQ(0, run.result) << c.source;
        EXPECT_EQ(c.calls, run.calls) << c.source;
    }
}

// The plain form of each message has a golden case; these are the readings around it.
TEST(Parser, ReportsEachGrammarErrorWithItsLine) {
    const struct {
        std::string source;
        std::string error;
    } cases[] = {
        // 314: a stray character quotes the rest of the source.
        {":", "error 314 line 1: Unrecognized directive or punctuation mark: :"},
        {"pop\npop # rest\nof file",
         "error 314 line 2: Unrecognized directive or punctuation mark: # rest\nof file"},
        {"pop # x\0tail"s, "error 314 line 1: Unrecognized directive or punctuation mark: # x"},
        // 315: one-operand mnemonics are back at a statement start after their operand.
        {"pushl a b", "error 315 line 1: unrecognized operation code: b"},
        {".function f\n.parameter p \"a\nb\"\n\nbogus",
         "error 315 line 5: unrecognized operation code: bogus"},
        {"- 12", "error 319 line 1: Expected label, directive, or operator, found a number:  12"},
        {"\"a\nb\"",
         "error 320 line 2: Expected label, directive, or operator, found a quoted string"},
        {"pushl", "error 321 line 1: Expected an immediate value (symbol or number)"},
        {"incg g,,", "error 321 line 1: Expected an immediate value (symbol or number)"},
        {".global g: \"x\"", "error 321 line 1: Expected directive identifier"},
        // 322 quotes the last string read anywhere before (none here), not the token it got.
        {".global g 5", "error 322 line 1: Expected quoted string, got "},
        {".localized \"a\" b", "error 322 line 1: Expected quoted string, got a"},
        {".localized \"a\" \"b\" c", "error 322 line 1: Expected quoted string, got b"},
        {".parameter p \"x\"",
         "error 323 line 1: Expected symbol 'value' or 'reference' (without quotes) for "
         "parameter type"},
        // 326 quotes the token it got; a newline or the end quotes the last operand.
        {"tagerror 1\n", "error 326 line 1: Expected comma, found 1"},
        {"tagerror 1 ;c\n", "error 326 line 1: Expected comma, found ;"},
        // A kept length never reaches past the end of the source.
        {"tagerror 12345 ;", "error 326 line 1: Expected comma, found ;"},
        {".parameter p \"x\" Value", "error 327 line 1: Unknown parameter call type: Value"},
        {".function f", "error 328 line 1: Unrecognized function qualifier \"f\""},
        {".function f :x y\n", "error 328 line 1: Unrecognized function qualifier \":x y\n\""},
        {".function f\n.function g bad",
         "error 328 line 2: Unrecognized function qualifier \"bad\""},
    };
    for (const auto& c : cases) {
        const Outcome run = assemble(c.source);
        EXPECT_EQ(1, run.result) << c.source;
        EXPECT_EQ(c.error, run.last) << c.source;
        EXPECT_EQ(1, run.reports) << c.source;
    }
}

TEST(Parser, StopsAtTheFirstFailedOperationWithItsResult) {
    const struct {
        const char* source;
        const char* operation;
    } cases[] = {
        {"pop pop", "opcode"},
        {"pushl x pop", "immediate"},
        {"l: pop", "label"},
        {".global g \"x\" pop", "global"},
        {".system s \"x\" pop", "system"},
        {".local l \"x\" pop", "local"},
        {".string s \"x\" pop", "string"},
        {".parameter p \"x\"\npop", "parameter"},
        {".function f\npop", "function"},
        {".function f private", "function"},
        {".endfunction pop", "endfunction"},
        {".ident \"x\" pop", "ident"},
        {".version 2 pop", "version"},
        {".disable_logging pop", "disable_logging"},
    };
    for (const auto& c : cases) {
        const Outcome run = assemble(c.source, {{c.operation, 7}});
        EXPECT_EQ(7, run.result) << c.source;
        EXPECT_EQ(c.operation, run.last.substr(0, std::strlen(c.operation))) << c.source;
    }
}

TEST(Parser, GoesOnAfterAFailedLocalizedTextToMakeTheLanguageEntry) {
    const std::string source = ".localized \"en\" \"key\" \"text\" pop";
    const struct {
        std::map<std::string, int> results;
        int result;
        std::string calls;
    } cases[] = {
        {{{"localized", 9}},
         9,
         "localized 'text'\nerror 324 line 1: Error in localization string\n"
         "langentry 'en' 'key' 40\n"},
        {{{"langentry", -1}},
         1,
         "localized 'text'\nlangentry 'en' 'key' 40\nerror 325 line 1: Error in Localized "
         "Languages\n"},
        {{{"localized", 9}, {"langentry", -1}},
         1,
         "localized 'text'\nerror 324 line 1: Error in localization string\n"
         "langentry 'en' 'key' 40\nerror 325 line 1: Error in Localized Languages\n"},
        // Any other result of the language entry is its position, not a failure.
        {{{"langentry", 3}}, 0, "localized 'text'\nlangentry 'en' 'key' 40\nopcode 0x000B 0\n"},
    };
    for (const auto& c : cases) {
        const Outcome run = assemble(source, c.results);
        EXPECT_EQ(c.result, run.result);
        EXPECT_EQ(c.calls, run.calls);
    }
}

TEST(Parser, FlagParsersMatchWholeWordsOnly) {
    ParserRecorder parser("");
    int flags = 0;
    EXPECT_EQ(1, parser.ParameterFlags(&flags, "values", 6));
    EXPECT_EQ(-1, flags);

    flags = 0x3F;
    EXPECT_EQ(1, parser.FunctionFlags(&flags, "External", 8));
    EXPECT_EQ(1, parser.FunctionFlags(&flags, "privatex", 7 + 1));
    EXPECT_EQ(0x3F, flags);
    EXPECT_EQ(0, parser.FunctionFlags(&flags, "private and more", 7));
    EXPECT_EQ(0, parser.FunctionFlags(&flags, "internal", 8));
    EXPECT_EQ(0x3E, flags);
    EXPECT_EQ(
        "error 327 line 1: Unknown parameter call type: values\n"
        "error 328 line 1: Unrecognized function qualifier \"External\"\n"
        "error 328 line 1: Unrecognized function qualifier \"privatex\"\n",
        parser.Calls());
}

// Tokens read ahead on a second thread must leave every operation, text, report and line as the
// grammar's own reading does: the quirks of tokens without text of their own, strings across
// lines or with escapes, zero bytes and the end of input read on behind, and a source long
// enough that the thread fills its whole ring and waits, and stops in the middle when the
// grammar ends early.
TEST(Parser, ReadingAheadChangesNothing) {
    std::string long_source;
    for (int i = 0; i < 40000; ++i) {
        long_source += "l" + std::to_string(i) + ": pushc s" + std::to_string(i % 7) +
                       " ; c\n\n.string t \"a\\0a\nb\" .local x \"\"\n";
    }
    const std::string sources[] = {
        "",
        "pop",
        ".function f private",
        ".version\0pop"s,
        ".function f \"\"\0private\n"s,
        ".global g \"abc",
        ".global g \"ab\\4",
        ".global g \"a\\4Ab\" pop",
        ".string s \"x\ny\"\n.string t\n\"z\"\nabc :",
        "pushc -.-x, . function\n..local\n- - 12\n0x1.8.9",
        "pushc -  7,",
        ".localized \"x\" \"y\" \"z\"\n.localized \"a\" \"\" \"c\"\n,",
        ".string s \"" + std::string(70000, '\n') + "x\\41\" pop",
        long_source,
        long_source + "\xff",
        long_source.substr(0, long_source.size() / 3) + ".endfunction extra\n" + long_source,
    };
    for (const std::string& source : sources) {
        ParserRecorder alone(source);
        alone.ReadAheadFrom(INT_MAX);
        ParserRecorder ahead(source);
        ahead.ReadAheadFrom(0);
        const int alone_result = alone.Start();
        EXPECT_EQ(alone_result, ahead.Start()) << source.substr(0, 80);
        EXPECT_EQ(alone.Calls(), ahead.Calls()) << source.substr(0, 80);
        EXPECT_EQ(alone.line(), ahead.line()) << source.substr(0, 80);
        EXPECT_EQ(std::string(alone.string_value().c_str(), alone.string_value().length()),
                  std::string(ahead.string_value().c_str(), ahead.string_value().length()));
    }
}
