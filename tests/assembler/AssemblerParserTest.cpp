// The assembler end to end, in memory: sources go through the real driver, and every table and
// segment of the compiled file is read back through the file format's own readers.
#include "assembler/AssemblerParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cstdint>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/Function.h"
#include "compiled/FunctionManager.h"
#include "compiled/FunctionParameter.h"
#include "compiled/IdentList.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/Segment.h"
#include "compiled/SegmentManager.h"
#include "compiled/TaggedFile.h"
#include "compiled/VariableHash.h"
#include "driver/AssemblerApplication.h"
#include "platform/Output.h"
#include "tests/support/MemoryFile.h"
#include "tests/support/ProgramGenerator.h"

namespace {

// Seeds of the generated programs, each printed when its program fails.
constexpr uint32_t GENERATED_PROGRAMS = 200;

// The run's reports, kept instead of going to standard error.
class CapturedOutput : public Output {
  public:
    int Write(const char* bytes, int count) override {
        text.append(bytes, static_cast<size_t>(count));
        return count;
    }
    int WriteError(const char* bytes, int count) override {
        errors.append(bytes, static_cast<size_t>(count));
        return count;
    }
    int Flush() override { return 0; }

    std::string text;
    std::string errors;
};

// The assembler program over in-memory files.
class MemoryAssemblerApplication : public AssemblerApplication {
  public:
    MemoryAssemblerApplication(int argc, char** argv)
        : AssemblerApplication(argc, argv), captured(new CapturedOutput()) {
        delete SetOutput(captured);
    }
    FileManager* filemanager() override { return &files; }
    const char* lasterror() override { return ""; }

    MemoryFileManager files;
    CapturedOutput* captured;  // owned by the application
};

struct RunResult {
    int status;
    std::string errors;
    bool written;
    std::vector<unsigned char> bytes;
};

// Runs "tnasm -o out.tnc in.s" over 'source'.
RunResult assemble(const std::string& source, const MemoryFaults& faults = MemoryFaults()) {
    char program[] = "tnasm";
    char option[] = "-o";
    char output[] = "out.tnc";
    char input[] = "in.s";
    char* argv[] = {program, option, output, input, nullptr};
    MemoryAssemblerApplication application(4, argv);
    application.files.Put("in.s", source);
    application.files.faults = faults;
    RunResult run;
    run.status = application.Go();
    run.errors = application.captured->errors;
    run.written = application.files.Has("out.tnc");
    run.bytes = application.files.Get("out.tnc");
    return run;
}

// A compiled file opened for reading.
struct Compiled {
    explicit Compiled(const std::vector<unsigned char>& bytes) : file(&files) {
        files.Put("x.tnc", bytes);
        opened = file.Open("x.tnc", FILE_MODE_READ);
    }
    MemoryFileManager files;
    TaggedFile file;
    bool opened;
};

std::string entry_text(const Dictionary& dictionary, int index) {
    int size = 0;
    const char* text = dictionary.Entry(index, &size);
    return text != nullptr ? std::string(text, static_cast<size_t>(size)) : std::string("<none>");
}

// The first dictionary entry holding 'text', -1 if none.
int entry_of(const Dictionary& dictionary, const std::string& text) {
    for (int i = 0; i < dictionary.entries(); ++i) {
        if (entry_text(dictionary, i) == text) return i;
    }
    return -1;
}

int slot_of(VariableHash& hash, const char* name) {
    return hash.Seek(-1, name, -1, nullptr);
}

int dword_at(Segment* segment, int position) {
    unsigned int value = 0;
    EXPECT_EQ(segment->Read_Dword(position, &value), position + 4);
    return static_cast<int>(value);
}

int word_at(Segment* segment, int position) {
    unsigned int value = 0;
    EXPECT_EQ(segment->Read_Word(position, &value), position + 2);
    return static_cast<int>(value);
}

std::vector<unsigned char> section_bytes(TaggedFile& file, int tag) {
    std::vector<unsigned char> bytes;
    int size = 0;
    if (!file.Section_Read_Start(tag, &size)) return bytes;
    bytes.resize(static_cast<size_t>(size));
    if (size > 0) {
        EXPECT_EQ(file.Section_Read(bytes.data(), size), size);
    }
    file.Section_Read_End();
    return bytes;
}

// ---- a parser driven operation by operation, for what no source text can reach ----

struct DirectParser {
    DirectParser() : application(1, argv) {
        application.files.Put("in.s", std::string());
        file = application.files.Open("in.s", FILE_MODE_READ);
        parser = new AssemblerParser(&application, file, "in.s");
    }
    ~DirectParser() {
        delete parser;
        delete file;
    }
    Segment* top() { return parser->segment_manager()->Start(); }

    char program[6] = "tnasm";
    char* argv[2] = {program, nullptr};
    MemoryAssemblerApplication application;
    File* file;
    AssemblerParser* parser;
};

const char* const FULL_PROGRAM =
    "; every directive once\n"
    ".string hello \"Hello\"\n"
    ".global total \"total\"\n"
    ".system home \"HOME\"\n"
    ".local counter \"count\"\n"
    ".ident \"first\"\n"
    ".ident \"second\"\n"
    ".disable_logging\n"
    ".version 1.8\n"
    ".localized \"en-US\" \"greeting\" \"Hello %name%!\"\n"
    ".localized \"fr-FR\" \"greeting\" \"Salut %name%\"\n"
    "again:\n"
    "pushc hello\n"    // 0
    "pushg total\n"    // 6
    "pushs home\n"     // 12
    "pushl counter\n"  // 18
    "call helper\n"    // 24
    "jmp again\n"      // 30
    ".function helper private\n"
    ".parameter a \"first\" value\n"
    ".parameter b \"second\" reference\n"
    ".local c \"third\"\n"
    "pushl a\n"  // 0
    "pushl b\n"  // 6
    "popl c\n"   // 12
    ".function ext external\n"
    ".parameter x \"x\"\n"
    ".endfunction\n"
    "call ext\n"       // 18
    ".endfunction\n";  // retn at 24

}  // namespace

TEST(AssemblerParser, EveryTableReadsBackAsAssembled) {
    RunResult run = assemble(FULL_PROGRAM);
    ASSERT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.errors, "");
    Compiled compiled(run.bytes);
    ASSERT_TRUE(compiled.opened) << compiled.file.error().c_str();

    Dictionary dictionary;
    ASSERT_TRUE(dictionary.Read(&compiled.file)) << dictionary.error().c_str();
    EXPECT_EQ(dictionary.flags(), 1);
    const std::vector<std::string> texts = {"Hello",  "total",  "HOME",     "count",    "!",
                                            "name",   "Hello ", "en-US",    "greeting", "name",
                                            "Salut ", "fr-FR",  "greeting", "helper",   "first",
                                            "second", "third",  "ext",      "x"};
    ASSERT_EQ(dictionary.entries(), static_cast<int>(texts.size()));
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(entry_text(dictionary, static_cast<int>(i)), texts[i]) << "entry " << i;
    }

    VariableHash globals(&dictionary, 12, 512, 0);
    ASSERT_EQ(globals.Read(&compiled.file, TAG_GLBL), 1) << globals.error().c_str();
    EXPECT_EQ(globals.Entries(), 2);
    EXPECT_EQ(slot_of(globals, "total"), 0);
    EXPECT_EQ(slot_of(globals, "COUNT"), 1);  // names match regardless of case
    VariableHash system(&dictionary, 12, 512, 0);
    ASSERT_EQ(system.Read(&compiled.file, TAG_SYST), 1) << system.error().c_str();
    EXPECT_EQ(system.Entries(), 1);
    EXPECT_EQ(slot_of(system, "home"), 0);

    FunctionManager functions(&dictionary, 8);
    ASSERT_TRUE(functions.Read(&compiled.file)) << functions.error().c_str();
    Function* helper = functions.Function_Get("helper", -1);
    ASSERT_NE(helper, nullptr);
    EXPECT_EQ(helper->index(), 0);
    EXPECT_EQ(helper->flags(), 0x20);
    EXPECT_EQ(helper->segment(), 1);
    EXPECT_EQ(helper->segment_offset(), 0);
    ASSERT_EQ(helper->parameters().Entries(), 2);
    FunctionParameter* first = helper->parameters().First();
    FunctionParameter* second = helper->parameters().Next();
    EXPECT_STREQ(first->name().c_str(), "first");
    EXPECT_EQ(first->flags(), 0);
    EXPECT_EQ(first->variable(), 0);
    EXPECT_STREQ(second->name().c_str(), "second");
    EXPECT_EQ(second->flags(), 1);
    EXPECT_EQ(second->variable(), 1);
    EXPECT_EQ(helper->variables()->Entries(), 3);
    EXPECT_EQ(slot_of(*helper->variables(), "third"), 2);
    Function* external = functions.Function_Get("EXT", -1);
    ASSERT_NE(external, nullptr);
    EXPECT_EQ(external->index(), 1);
    EXPECT_EQ(external->flags(), 0x01);
    EXPECT_EQ(external->segment(), -1);
    EXPECT_EQ(external->segment_offset(), -1);
    ASSERT_EQ(external->parameters().Entries(), 1);
    EXPECT_EQ(slot_of(*external->variables(), "x"), 0);

    SegmentManager segments;
    ASSERT_TRUE(segments.Read(&compiled.file)) << segments.error().c_str();
    ASSERT_EQ(segments.count(), 2);
    Segment* top = segments.segment(0);
    ASSERT_EQ(top->length(), 36);
    const int top_code[][3] = {
        // position, opcode, operand
        {0, 0x4001, 0},     // pushc hello: dictionary entry 0
        {6, 0x4005, 0},     // pushg total
        {12, 0x4004, 0},    // pushs home
        {18, 0x4006, 1},    // pushl counter: a global at the top level
        {24, 0x403D, 0},    // call helper: function 0, patched after the last line
        {30, 0x4025, -36},  // jmp again: 0 - 32 - 4
    };
    for (const auto& row : top_code) {
        EXPECT_EQ(word_at(top, row[0]), row[1]) << "at " << row[0];
        EXPECT_EQ(dword_at(top, row[0] + 2), row[2]) << "at " << row[0];
    }
    Segment* body = segments.segment(1);
    ASSERT_EQ(body->length(), 26);
    EXPECT_EQ(dword_at(body, 2), 0);     // pushl a
    EXPECT_EQ(dword_at(body, 8), 1);     // pushl b
    EXPECT_EQ(dword_at(body, 14), 2);    // popl c
    EXPECT_EQ(dword_at(body, 20), 1);    // call ext
    EXPECT_EQ(word_at(body, 24), 0x3C);  // retn closes the body

    IdentList idents;
    ASSERT_TRUE(idents.Read(&compiled.file)) << idents.error().c_str();
    int length = 0;
    EXPECT_STREQ(idents.Entry(&length), "first");
    EXPECT_STREQ(idents.Entry(&length), "second");
    EXPECT_EQ(idents.Entry(&length), nullptr);

    LocalizedDictionary pieces;
    ASSERT_TRUE(pieces.Read(&compiled.file)) << pieces.error().c_str();
    LocalizedLanguages languages(nullptr, &dictionary, &compiled.file, 12, 8);
    ASSERT_TRUE(languages.Read()) << languages.error().c_str();
    EXPECT_EQ(languages.Entries(), 2);
    const struct {
        int language;
        std::vector<std::string> chain;
    } localized[] = {
        {0, {"1:Hello ", "0:name", "1:!"}},
        {1, {"1:Salut ", "0:name"}},
    };
    for (const auto& row : localized) {
        LocalizedIndex index(&dictionary, 12, 128, row.language);
        ASSERT_TRUE(index.Read(&compiled.file, tag_language_index(row.language)))
            << index.error().c_str();
        const _LI_Entry* entry = index.Get_Entry(entry_of(dictionary, "greeting"));
        ASSERT_NE(entry, nullptr);
        std::vector<std::string> chain;
        for (int piece = entry->value; piece != -1 && chain.size() < 10;) {
            const _LD_Entry* e = pieces.Entry(piece);
            ASSERT_NE(e, nullptr);
            chain.push_back(std::to_string(e->type) + ":" + entry_text(dictionary, e->text));
            piece = e->next;
        }
        EXPECT_EQ(chain, row.chain) << "language " << row.language;
    }
}

TEST(AssemblerParser, SplitsLocalizedTextsIntoPieceChains) {
    const struct {
        std::string text;
        std::vector<std::string> chain;  // kind:text, first piece first
    } cases[] = {
        {"Hello %name%!", {"1:Hello ", "0:name", "1:!"}},
        {"50%% off", {"1:50%", "1: off"}},
        {"100%%", {"1:100%"}},
        {"a%b", {"1:b"}},  // an unmatched '%' drops what stands before it
        {"%name%", {"0:name"}},
        {"plain", {"1:plain"}},
        {"", {}},
        {"%%", {"1:%"}},
        {"x%%%y%", {"1:x%", "0:y"}},
        {std::string("a\0b%v%", 6), {std::string("1:a\0b", 5), "0:v"}},
        // A NUL byte ends the search for '%': what stands before it joins the last literal,
        // or is dropped when the NUL lies between two '%'.
        {std::string("a%b\0c", 5), {std::string("1:a%b\0c", 7)}},
        {std::string("a%b\0c%d", 7), {"1:d"}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        DirectParser direct;
        int head = 12345;
        ASSERT_EQ(direct.parser->ProcessLocalized(row.text.data(),
                                                  static_cast<int>(row.text.size()), &head),
                  0);
        std::vector<std::string> chain;
        for (int piece = head; piece != -1 && chain.size() < 10;) {
            const _LD_Entry* e = direct.parser->localized_dictionary().Entry(piece);
            ASSERT_NE(e, nullptr);
            chain.push_back(std::to_string(e->type) + ":" +
                            entry_text(direct.parser->dictionary(), e->text));
            piece = e->next;
        }
        EXPECT_EQ(chain, row.chain);
    }
}

TEST(AssemblerParser, VersionOnlyRises) {
    const struct {
        std::vector<std::string> versions;
        int expected;
    } cases[] = {
        {{}, 0x00010001},           {{"2.5"}, 0x00020005}, {{"2.5", "1.9"}, 0x00020005},
        {{"1.0"}, 0x00010001},      {{"3"}, 0x00030000},   {{"1.8", "1.13"}, 0x0001000D},
        {{"1.131072"}, 0x00030000},  // the minor number is not masked
        {{"version"}, 0x00010001},   // no number at all
    };
    for (const auto& row : cases) {
        DirectParser direct;
        for (const std::string& text : row.versions) {
            EXPECT_EQ(direct.parser->ProcessVersion(text.data(), static_cast<int>(text.size())), 0);
        }
        EXPECT_EQ(direct.parser->file_version(), row.expected) << row.versions.size();
    }
}

// A label as first operand counts from the end of its own operand, or from further on when a
// second operand follows: 8 bytes for a dword, 13 for a double.
TEST(AssemblerParser, LabelDisplacementDependsOnTheOperandsThatFollow) {
    const struct {
        int opcode;
        int label_operand;  // 1 or 2
        int expected;       // label at 32; the label operand at 2 or at 6
    } cases[] = {
        {0x4025, 1, 32 - 2 - 4},  {0x5113, 1, 32 - 2 - 8},
        {0x6025, 1, 32 - 2 - 13}, {0x7025, 1, 32 - 2 - 8},  // the dword bit is looked at first
        {0x5113, 2, 32 - 6 - 4},                            // a second operand always counts 4
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.opcode);
        DirectParser direct;
        AssemblerParser* parser = direct.parser;
        ASSERT_EQ(parser->ProcessOpcode(row.opcode, 2), 0);
        if (row.label_operand == 2) {
            ASSERT_EQ(parser->ProcessImmediate("7", 1, 1, 0), 0);
        }
        ASSERT_EQ(parser->ProcessImmediate("target", 6, 0, 7), 0);
        while (parser->segment_manager()->Start()->length() < 32) {
            ASSERT_EQ(parser->ProcessOpcode(0, 0), 0);
        }
        ASSERT_EQ(parser->ProcessLabel("target", 6), 0);
        ASSERT_EQ(parser->Resolve(), 0);
        EXPECT_EQ(dword_at(direct.top(), row.label_operand == 1 ? 2 : 6), row.expected);
    }
}

TEST(AssemblerParser, DoubleOperandsTakeInfinityAndNanByExactLength) {
    const struct {
        const char* text;
        double expected;  // NAN: any NaN
    } cases[] = {{"Infinity", HUGE_VAL}, {"-inf", -HUGE_VAL}, {"nan", NAN}, {"infinite", 0.0}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        DirectParser direct;
        ASSERT_EQ(direct.parser->ProcessOpcode(0x8003, 1), 0);
        ASSERT_EQ(
            direct.parser->ProcessImmediate(row.text, static_cast<int>(strlen(row.text)), 0, 1), 0);
        double value = 0;
        ASSERT_EQ(direct.top()->Read_Double(2, &value), 10);
        EXPECT_TRUE(std::isnan(row.expected) ? std::isnan(value) : value == row.expected);
    }
}

TEST(AssemblerParser, RefusesResolutionTypesOutsideTheTable) {
    for (int type : {6, 9, -1}) {
        DirectParser direct;
        ASSERT_EQ(direct.parser->ProcessOpcode(0x4002, 1), 0);
        EXPECT_EQ(direct.parser->ProcessImmediate("x", 1, 0, type), 1);
        EXPECT_EQ(direct.application.captured->errors,
                  "in.s:1: AE_305: Internal error:  Unrecognized resolution type - " +
                      std::to_string(type) + "\n");
    }
}

// Every error code has a golden case of its own; these are the readings that are easy to get
// wrong. Each is reported once with its line, and no compiled file is created: the file is made
// only after the whole source has been read and resolved.
TEST(AssemblerParser, ReportsEachErrorOnceAndWritesNothing) {
    const struct {
        const char* source;
        const char* report;
    } cases[] = {
        // labels belong to one context
        {".function f\nl:\n.endfunction\n.function g\njmp l\n.endfunction\n",
         "in.s:6: AE_333: Label l not defined\n"},
        {".function f\nx:\n.endfunction\n.function g\nx:\nx:\n",
         "in.s:6: AE_316: Duplicate label: x\n"},
        // parameters and locals share the identifiers and the variable names of a function
        {".function f\n.parameter p \"a\" value\n.local p \"b\"\n",
         "in.s:3: AE_331: Duplicate variable identifier p\n"},
        {".function f\n.parameter p \"a\" value\n.local q \"A\"\n",
         "in.s:3: AE_330: Duplicate variable A\n"},
        // a top-level .local is a global; names compare without case, identifiers with it
        {".global g \"v\"\n.local l \"V\"\n", "in.s:2: AE_330: Duplicate variable V\n"},
        {".system a \"x\"\n.system a \"y\"\n", "in.s:2: AE_331: Duplicate variable identifier a\n"},
        // a global is no local of a function
        {".global g \"g\"\n.function f\npushl g\n",
         "in.s:3: AE_332: Reference to local g not resolvable\n"},
        // the first undefined label stops the resolution
        {"jmp a\njmp b\n", "in.s:3: AE_333: Label a not defined\n"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.source);
        RunResult run = assemble(row.source);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.errors, row.report);
        EXPECT_FALSE(run.written);
    }
}

TEST(AssemblerParser, AcceptsWhatOnlyLooksWrong) {
    const char* const sources[] = {
        // an external declaration left open at the end of the file
        ".function e external\n.parameter p \"p\"\n",
        // parameters of one variable name are never checked against each other
        ".function f\n.parameter a \"n\" value\n.parameter b \"n\" value\n.endfunction\n",
        // labels and functions may be used above their definitions
        "jmp later\ncall f\nlater:\n.function f\n.endfunction\n",
        // the same label name in two contexts
        "l:\n.function f\nl:\n.endfunction\n",
        // empty variable names are never duplicates
        ".global a \"\"\n.global b \"\"\n",
    };
    for (const char* source : sources) {
        RunResult run = assemble(source);
        EXPECT_EQ(run.status, 0) << source << run.errors;
        EXPECT_TRUE(run.written) << source;
    }
}

TEST(AssemblerParser, FileFailuresAreReportedOnce) {
    const struct {
        MemoryFaults faults;
        const char* report;
    } cases[] = {
        {[] {
             MemoryFaults f;
             f.fail_open_at = 1;
             return f;
         }(),
         "tnasm: Unable to open 'in.s': Injected open failure\n"},
        {[] {
             MemoryFaults f;
             f.fail_map_at = 1;
             return f;
         }(),
         "tnasm: Unable to open 'in.s': Injected map failure\n"},
        {[] {
             MemoryFaults f;
             f.fail_open_at = 2;
             return f;
         }(),
         "tnasm: Unable to create 'out.tnc': Injected open failure\n"},
    };
    for (const auto& row : cases) {
        RunResult run = assemble("noop\n", row.faults);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.errors, row.report);
        EXPECT_FALSE(run.written);
    }
}

// A write that fails part-way leaves a file whose header still names no section: only the
// last step, the rewrite of the header, makes the sections reachable. A failed section is
// silent (its writer keeps the reason); a failed header write at creation is reported.
TEST(AssemblerParser, FailedWritesNeverLeaveAFileThatReads) {
    const std::vector<unsigned char> clean = assemble(FULL_PROGRAM).bytes;
    ASSERT_FALSE(clean.empty());
    bool succeeded = false;
    for (int k = 1; k < 200 && !succeeded; ++k) {
        SCOPED_TRACE(k);
        MemoryFaults faults;
        faults.fail_write_at = k;
        RunResult run = assemble(FULL_PROGRAM, faults);
        if (run.bytes == clean) {
            EXPECT_EQ(run.status, 0);
            succeeded = true;
            continue;
        }
        EXPECT_LE(std::count(run.errors.begin(), run.errors.end(), '\n'), 1);
        Compiled compiled(run.bytes);
        EXPECT_FALSE(compiled.opened && compiled.file.Section_Read_Start(TAG_DICT));
    }
    EXPECT_TRUE(succeeded);
}

// The programs under examples/ are what a reader tries first; each must assemble cleanly.
TEST(AssemblerParser, ExamplesAssembleCleanly) {
    for (const char* name : {"loop.s", "functions.s", "localized.s"}) {
        SCOPED_TRACE(name);
        std::string path = std::string(TNASM_SOURCE_DIR) + "/examples/" + name;
        FILE* in = std::fopen(path.c_str(), "rb");
        ASSERT_NE(in, nullptr);
        std::string source;
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, in)) > 0) source.append(buffer, n);
        std::fclose(in);
        RunResult run = assemble(source);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.errors, "");
        EXPECT_TRUE(run.written);
    }
}

// Generated programs through the whole assembler: each one assembles, every section reads back
// through its reader, and each reader's table writes back to exactly the bytes it read.
TEST(AssemblerParser, GeneratedProgramsReadBackAndWriteBackUnchanged) {
    for (uint32_t seed = 1; seed <= GENERATED_PROGRAMS; ++seed) {
        const std::string source = generate_program(seed, random_small_shape(seed));
        SCOPED_TRACE("seed " + std::to_string(seed));

        char program[] = "tnasm";
        char input[] = "in.s";
        char* argv[] = {program, input, nullptr};
        MemoryAssemblerApplication application(2, argv);
        application.files.Put("in.s", source);
        ASSERT_EQ(application.Go(), 0) << application.captured->errors << source;

        TaggedFile in(&application.files);
        ASSERT_TRUE(in.Open("output.tnc", FILE_MODE_READ)) << in.error().c_str();
        Dictionary dictionary;
        ASSERT_TRUE(dictionary.Read(&in)) << dictionary.error().c_str();
        VariableHash globals(&dictionary, 12, 512, 0);
        ASSERT_EQ(globals.Read(&in, TAG_GLBL), 1) << globals.error().c_str();
        VariableHash system(&dictionary, 12, 512, 0);
        ASSERT_EQ(system.Read(&in, TAG_SYST), 1) << system.error().c_str();
        FunctionManager functions(&dictionary, 8);
        ASSERT_TRUE(functions.Read(&in)) << functions.error().c_str();
        SegmentManager segments;
        ASSERT_TRUE(segments.Read(&in)) << segments.error().c_str();
        IdentList idents;
        ASSERT_TRUE(idents.Read(&in)) << idents.error().c_str();
        LocalizedDictionary pieces;
        ASSERT_TRUE(pieces.Read(&in)) << pieces.error().c_str();
        LocalizedLanguages languages(&application, &dictionary, &in, 12, 8);
        ASSERT_TRUE(languages.Read()) << languages.error().c_str();

        // Every table the assembler wrote, written again by its reader's object.
        TaggedFile out(&application.files);
        ASSERT_TRUE(out.Create("again.tnc", nullptr, in.version()));
        ASSERT_TRUE(dictionary.Write(&out));
        ASSERT_EQ(globals.Write(&out, TAG_GLBL), 1);
        ASSERT_EQ(system.Write(&out, TAG_SYST), 1);
        ASSERT_TRUE(functions.Write(&out));
        ASSERT_TRUE(segments.Write(&out));
        ASSERT_TRUE(idents.Write(&out));
        ASSERT_TRUE(pieces.Write(&out));
        // The language indexes load one by one on first use; each is written back on its own.
        std::vector<int> index_tags;
        for (int i = 0; i < in.directory_entries(); ++i) {
            int tag = in.directory_entry(i)->tag;
            if (tag == TAG_NONE || (tag & 0xFFFF) == 0x584C) index_tags.push_back(tag);
        }
        for (int tag : index_tags) {
            LocalizedIndex index(&dictionary, 12, 128, 0);
            ASSERT_TRUE(index.Read(&in, tag)) << index.error().c_str();
            ASSERT_TRUE(index.Write(&out, tag));
        }
        ASSERT_TRUE(out.Section_Flush());
        out.Close();

        TaggedFile again(&application.files);
        ASSERT_TRUE(again.Open("again.tnc", FILE_MODE_READ));
        for (int tag : {TAG_DICT, TAG_GLBL, TAG_SYST, TAG_FUNC, TAG_SEGS, TAG_IDNT, TAG_LOCD}) {
            EXPECT_EQ(section_bytes(again, tag), section_bytes(in, tag)) << "tag " << tag;
        }
        for (int tag : index_tags) {
            EXPECT_EQ(section_bytes(again, tag), section_bytes(in, tag)) << "tag " << tag;
        }
        // One index per language from version 1.8 on, else the first language's only.
        int indexes = in.version() > 0x10007 ? languages.Entries() : (languages.Entries() > 0);
        EXPECT_EQ(static_cast<int>(index_tags.size()), indexes);
        if (HasFailure()) return;
    }
}
