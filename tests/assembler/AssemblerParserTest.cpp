// The assembler in memory: what the golden cases leave out (operations no source can reach, the
// readings of the rules that are easy to get wrong) and seeded programs whose every section reads
// back and writes back to the same bytes.
#include "assembler/AssemblerParser.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/IdentList.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/SegmentManager.h"
#include "compiled/VariableHash.h"
#include "driver/CompiledImage.h"
#include "driver/SourceCheckApplication.h"
#include "driver/SourceWriter.h"
#include "tests/support/MemoryApplication.h"
#include "tests/support/ProgramGenerator.h"

namespace {

constexpr uint32_t GENERATED_PROGRAMS = 200;

struct RunResult {
    int status;
    std::string errors;
    bool written;
};

RunResult assemble(const std::string& source) {
    MemoryAssemblerApplication application({"tnasm", "-o", "out.tnc", "in.s"});
    application.files.Put("in.s", source);
    const int status = application.Go();
    return {status, application.capture->err, application.files.Has("out.tnc")};
}

std::string entry_text(const Dictionary& dictionary, int index) {
    int size = 0;
    const char* text = dictionary.Entry(index, &size);
    return text != nullptr ? std::string(text, static_cast<size_t>(size)) : "<none>";
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

// A parser driven operation by operation, for what no source text can reach.
struct DirectParser {
    DirectParser() : application({"tnasm"}) {
        application.files.Put("in.s", std::string());
        file = application.files.Open("in.s", FILE_MODE_READ);
        parser = new AssemblerParser(&application, file, "in.s");
    }
    ~DirectParser() {
        delete parser;
        delete file;
    }
    Segment* top() { return parser->segment_manager()->Start(); }

    MemoryAssemblerApplication application;
    File* file;
    AssemblerParser* parser;
};

}  // namespace

// The golden cases hold the usual texts; these are the corners of the split.
TEST(AssemblerParser, SplitsLocalizedTextsIntoPieceChains) {
    const struct {
        std::string text;
        std::vector<std::string> chain;  // kind:text, first piece first
    } cases[] = {
        {"", {}},
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
        {{}, 0x00010001},
        {{"2.5", "1.9"}, 0x00020005},
        {{"1.0"}, 0x00010001},
        {{"3"}, 0x00030000},
        {{"1.8", "1.13"}, 0x0001000D},
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
        while (direct.top()->length() < 32) ASSERT_EQ(parser->ProcessOpcode(0, 0), 0);
        ASSERT_EQ(parser->ProcessLabel("target", 6), 0);
        ASSERT_EQ(parser->Resolve(), 0);
        unsigned value = 0;
        direct.top()->Read_Dword(row.label_operand == 1 ? 2 : 6, &value);
        EXPECT_EQ(static_cast<int>(value), row.expected);
    }
}

// Every error code has a golden case of its own; these are the readings that are easy to get
// wrong. Each is reported once with its line, and no compiled file is created.
TEST(AssemblerParser, ReportsEachErrorOnceAndWritesNothing) {
    const struct {
        const char* source;
        const char* report;
    } cases[] = {
        // labels belong to one context
        {".function f\nl:\n.endfunction\n.function g\njmp l\n.endfunction\n",
         "in.s:6: AE_333: Label l not defined\n"},
        // parameters and locals share the identifiers and the variable names of a function
        {".function f\n.parameter p \"a\" value\n.local p \"b\"\n",
         "in.s:3: AE_331: Duplicate variable identifier p\n"},
        {".function f\n.parameter p \"a\" value\n.local q \"A\"\n",
         "in.s:3: AE_330: Duplicate variable A\n"},
        // a top-level .local is a global; names compare without case
        {".global g \"v\"\n.local l \"V\"\n", "in.s:2: AE_330: Duplicate variable V\n"},
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
        // empty variable names are never duplicates
        ".global a \"\"\n.global b \"\"\n",
    };
    for (const char* source : sources) {
        RunResult run = assemble(source);
        EXPECT_EQ(run.status, 0) << source << run.errors;
        EXPECT_TRUE(run.written) << source;
    }
}

// Generated programs through the whole assembler: each one assembles, comes back through tndump
// --source byte for byte, every section reads back through its reader, the counts checked against
// the format's limits before writing are the counts the readers find (the size that of the
// file), and each reader's table writes back to exactly the bytes it read.
TEST(AssemblerParser, GeneratedProgramsReadBackAndWriteBackUnchanged) {
    const unsigned char identifier[HEADER_IDENTIFIER_SIZE] = {};
    for (uint32_t seed = 1; seed <= GENERATED_PROGRAMS; ++seed) {
        ProgramShape shape = random_small_shape(seed);
        if (seed % 4 == 0) shape.localized = 0;
        const std::string source = generate_program(seed, shape);
        SCOPED_TRACE("seed " + std::to_string(seed));
        MemoryAssemblerApplication application({"tnasm"});
        application.files.Put("in.s", source);
        File* source_file = application.files.Open("in.s", FILE_MODE_READ);
        FormatCounts counts;
        {
            AssemblerParser parser(&application, source_file, "in.s");
            ASSERT_EQ(parser.Start(), 0) << application.capture->err << source;
            ASSERT_EQ(parser.Resolve(), 0) << application.capture->err << source;
            ASSERT_EQ(parser.Write("output.tnc", identifier), 0) << application.capture->err;
            counts = parser.Counts();
        }
        delete source_file;
        const int64_t size = static_cast<int64_t>(application.files.Get("output.tnc").size());
        EXPECT_EQ(counts.file_bytes, size);
        // The tokens read ahead on a second thread give the same file.
        if (seed % 8 == 0) {
            source_file = application.files.Open("in.s", FILE_MODE_READ);
            {
                AssemblerParser parser(&application, source_file, "in.s");
                parser.ReadAheadFrom(0);
                ASSERT_EQ(parser.Start(), 0) << application.capture->err;
                ASSERT_EQ(parser.Resolve(), 0) << application.capture->err;
                ASSERT_EQ(parser.Write("ahead.tnc", identifier), 0) << application.capture->err;
            }
            delete source_file;
            EXPECT_EQ(application.files.Get("ahead.tnc"), application.files.Get("output.tnc"));
        }

        TaggedFile in(&application.files);
        ASSERT_TRUE(in.Open("output.tnc", FILE_MODE_READ)) << in.error().c_str();
        Dictionary dictionary;
        if (!dictionary.Read(&in)) {
            // Texts all empty: refused by the format itself.
            EXPECT_EQ(shape.localized, 0);
            EXPECT_STREQ(dictionary.error().c_str(), "dictionary_entry.offset out of range");
            continue;
        }
        // tndump --source writes a source that assembles into the same bytes.
        std::string written;
        {
            CompiledImage image(&application, &application.files);
            ASSERT_TRUE(image.Load("output.tnc")) << image.error().c_str();
            SourceWriter writer(&image, "output.tnc");
            ASSERT_TRUE(writer.Write(&written)) << writer.error();
        }
        SourceCheckApplication reassembler;
        std::vector<unsigned char> second;
        ASSERT_EQ(reassembler.Assemble(written, &second), 0) << reassembler.errors() << written;
        EXPECT_EQ(second, application.files.Get("output.tnc")) << written;
        EXPECT_EQ(counts.dictionary_entries, dictionary.entries());
        EXPECT_EQ(counts.dictionary_bytes, dictionary.block(0)->used());
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
        EXPECT_EQ(counts.globals, globals.Entries());
        EXPECT_EQ(counts.functions, functions.Functions());
        EXPECT_EQ(counts.segments, segments.count());
        EXPECT_EQ(counts.pieces, pieces.Entries());
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
        std::vector<int> tags = {TAG_DICT, TAG_GLBL, TAG_SYST, TAG_FUNC,
                                 TAG_SEGS, TAG_IDNT, TAG_LOCD};
        tags.insert(tags.end(), index_tags.begin(), index_tags.end());
        for (int tag : tags) {
            EXPECT_EQ(section_bytes(again, tag), section_bytes(in, tag)) << "tag " << tag;
        }
        // One index per language from version 1.8 on, else the first language's only.
        int indexes = in.version() > 0x10007 ? languages.Entries() : (languages.Entries() > 0);
        EXPECT_EQ(static_cast<int>(index_tags.size()), indexes);
        if (HasFailure()) return;
    }
}
