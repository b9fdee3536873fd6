// The counts the assembler checks against the format's limits before it writes: each is the
// count the readers find in the file, and the size is never below the file's.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "assembler/AssemblerParser.h"
#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/SegmentManager.h"
#include "compiled/VariableHash.h"
#include "tests/support/MemoryApplication.h"
#include "tests/support/ProgramGenerator.h"

TEST(FormatCounts, MatchWhatTheReadersFindAndBoundTheFileSize) {
    const unsigned char identifier[HEADER_IDENTIFIER_SIZE] = {};
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ProgramShape shape = random_small_shape(seed);
        // Without languages the size is exact: only their bucket records are estimated.
        if (seed % 2 == 0) shape.localized = 0;
        MemoryAssemblerApplication application({"tnasm"});
        application.files.Put("in.s", generate_program(seed, shape));
        File* source = application.files.Open("in.s", FILE_MODE_READ);
        FormatCounts counts;
        {
            AssemblerParser parser(&application, source, "in.s");
            ASSERT_EQ(0, parser.Start());
            ASSERT_EQ(0, parser.Resolve());
            ASSERT_EQ(0, parser.Write("out.tnc", identifier));
            counts = parser.Counts();
        }
        delete source;

        const std::vector<unsigned char> bytes = application.files.Get("out.tnc");
        const int64_t size = static_cast<int64_t>(bytes.size());
        EXPECT_GE(counts.file_bytes, size);
        if (shape.localized == 0) {
            EXPECT_EQ(counts.file_bytes, size);
        }

        TaggedFile file(&application.files);
        ASSERT_TRUE(file.Open("out.tnc", FILE_MODE_READ));
        Dictionary dictionary;
        if (!dictionary.Read(&file)) continue;  // texts all empty: refused by the format itself
        EXPECT_EQ(counts.dictionary_entries, dictionary.entries());
        EXPECT_EQ(counts.dictionary_bytes, dictionary.block(0)->used());
        VariableHash globals(&dictionary, 12, 512, 0);
        ASSERT_EQ(1, globals.Read(&file, TAG_GLBL));
        EXPECT_EQ(counts.globals, globals.Entries());
        FunctionManager functions(&dictionary, 8);
        ASSERT_TRUE(functions.Read(&file));
        EXPECT_EQ(counts.functions, functions.Functions());
        SegmentManager segments;
        ASSERT_TRUE(segments.Read(&file));
        EXPECT_EQ(counts.segments, segments.count());
        LocalizedDictionary pieces;
        ASSERT_TRUE(pieces.Read(&file));
        EXPECT_EQ(counts.pieces, pieces.Entries());
    }
}
