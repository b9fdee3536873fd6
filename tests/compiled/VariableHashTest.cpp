// Variable hash tables: numbering, case-insensitive sorted chains, growth, the section body with
// every read check.
#include "compiled/VariableHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "compiled/Dictionary.h"
#include "foundation/Hash.h"
#include "tests/compiled/TableFiles.h"
#include "value/Variable.h"

namespace {

// Declares 'name' as the assembler does: dictionary first, then the table.
int declare(VariableHash& table, Dictionary& dictionary, const char* name) {
    return table.Insert(dictionary.Entry_Add(name, -1));
}

int find(VariableHash& table, const char* name) {
    return table.Seek(-1, name, -1, nullptr);
}

Bytes body_of(VariableHash& table) {
    std::vector<Section> sections =
        sections_of(write_container([&](TaggedFile& f) { return table.Write(&f, TAG_GLBL) == 1; }));
    EXPECT_EQ(sections.size(), 1u);
    return sections.empty() ? Bytes() : sections[0].bytes;
}

// One bucket (0 bucket bits) holding "bb", "a" and "ab", added in that order: the chain reads
// a, ab, bb.
// clang-format off
const Bytes ONE_BUCKET = cat({
    u16(1), {0}, u32(3),           //  0 bucket_entries 1, bucket_bits 0, variable_count 3
    u16(0), u32(1),                //  7 variable_hash_bucket.index 0, first entry 1 ("a")
    u32(0), u32(0xFFFFFFFF),       // 13 [0] "bb" (dictionary 0), last
    u32(1), u32(2),                // 21 [1] "a"  (dictionary 1), then [2]
    u32(2), u32(0),                // 29 [2] "ab" (dictionary 2), then [0]
});
// clang-format on

}  // namespace

TEST(VariableHash, NumbersNamesAndFindsThemRegardlessOfCase) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 12, 512, 0);
    EXPECT_EQ(declare(table, dictionary, "Count"), 0);
    EXPECT_EQ(table.Insert("total", -1), 1);  // by text: the name goes to the dictionary
    EXPECT_EQ(table.Insert(99), 2);           // no text: numbered, but no lookup reaches it
    Variable* variable = reinterpret_cast<Variable*>(1);
    EXPECT_EQ(table.Find(&variable, "COUNT", 5, 0), 1);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(find(table, "TOTAL"), 1);
    EXPECT_EQ(table.Seek(1, nullptr, -1, nullptr), 1);  // by the dictionary entry's text
    EXPECT_EQ(table.Find(&variable, "Coun", -1, 0), 0);

    // Bucket records come in ascending bucket number, buckets from the case-folded hash.
    Bytes body = body_of(table);
    EXPECT_EQ(get_u16(body.data() + 7),
              std::min(hash("count", 5, 0) & 0xFFF, hash("total", 5, 0) & 0xFFF));
}

TEST(VariableHash, ChainsAreSortedByLengthThenCaseFolded) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 0, 512, 0);
    for (const char* name : {"bb", "a", "ab"}) declare(table, dictionary, name);
    EXPECT_EQ(body_of(table), ONE_BUCKET);

    // A twin goes after the names it equals, and the first twin is the one found.
    EXPECT_EQ(declare(table, dictionary, "AB"), 3);
    Bytes twins = body_of(table);
    EXPECT_EQ(get_s32(twins.data() + 13 + 8 * 2 + 4), 3);  // "ab" -> "AB"
    EXPECT_EQ(get_s32(twins.data() + 13 + 8 * 3 + 4), 0);  // "AB" -> "bb"
    EXPECT_EQ(find(table, "Ab"), 2);
    EXPECT_EQ(find(table, "ac"), -1);
}

// The plain case of each message is reached through tndump in DumpApplicationTest; these rows
// are the order of the checks, their bounds and the cut-off records.
TEST(VariableHash, ChecksEachFieldInOrderAndKeepsItsTableOnFailure) {
    auto header = [](uint32_t entries, uint32_t bits, uint32_t count) {
        return cat({u16(entries), {static_cast<unsigned char>(bits)}, u32(count)});
    };
    const char* const COUNT = "variable_hash_header.variable_count out of range";
    const char* const BUCKET = "variable_hash_bucket.index out of range";
    const char* const END = "Unexpected end of file";
    struct Case {
        const char* what;
        Bytes body;
        const char* message;  // null: accepted
    };
    const Case cases[] = {
        {"32 bucket bits: one bucket",
         cat({header(1, 32, 3), Bytes(ONE_BUCKET.begin() + 7, ONE_BUCKET.end())}), nullptr},
        {"header cut short", Bytes{0, 0, 8, 0, 0, 0}, END},
        {"bits before count", header(0, 33, 0x8000000),
         "variable_hash_header.bucket_bits out of range"},
        {"count past the loose bound", header(0, 8, 0x20000000), COUNT},
        {"count before bucket entries", header(0x8000, 8, 0x8000000), COUNT},
        {"count at the bound, records missing", header(0, 8, 0x7FFFFFF), END},
        {"bucket number 0x8000", cat({header(1, 8, 0), u16(0x8000), u32(0)}), BUCKET},
        {"variable records cut short", cat({header(0, 8, 2), u32(0), u32(0), u32(1)}), END},
    };
    Dictionary dictionary;
    for (const char* name : {"bb", "a", "ab"}) dictionary.Entry_Add(name, -1);
    int kept = dictionary.Entry_Add("kept", -1);
    for (const Case& c : cases) {
        OpenContainer in(container_with(TAG_GLBL, c.body));
        VariableHash table(&dictionary, 8, 64, 0);
        table.Insert(kept);
        EXPECT_EQ(table.Read(&in.file, TAG_GLBL), c.message == nullptr ? 1 : 0) << c.what;
        // A failed read keeps the old table; a good one replaces it.
        EXPECT_EQ(find(table, "KEPT"), c.message != nullptr ? 0 : -1) << c.what;
        if (c.message != nullptr) {
            EXPECT_STREQ(table.error().c_str(), c.message) << c.what;
        } else {
            EXPECT_EQ(find(table, "AB"), 2) << c.what;
        }
    }
    VariableHash table(&dictionary, 8, 64, 0);
    OpenContainer in(container_with(TAG_SYST, ONE_BUCKET));
    EXPECT_EQ(table.Read(&in.file, TAG_GLBL), 0);
    EXPECT_STREQ(table.error().c_str(), "Invalid section");
}

TEST(VariableHash, LinksFromAFileAreNotTrusted) {
    // A chain that loops, and one that leaves the table: walks end without reading past it.
    Dictionary dictionary;
    dictionary.Entry_Add("a", -1);
    dictionary.Entry_Add("b", -1);
    // clang-format off
    const Bytes looping = cat({
        u16(1), {0}, u32(2),   // one bucket, two variables
        u16(0), u32(0),        // bucket 0 starts at [0]
        u32(0), u32(1),        // 13 [0] "a", then [1]
        u32(0), u32(0),        // 21 [1] "a" again, back to [0]
    });
    // clang-format on
    Bytes outside = looping;
    put_u32(outside.data() + 17, 7);  // [0] links to entry 7 of a table of 2
    for (const Bytes& body : {looping, outside}) {
        OpenContainer in(container_with(TAG_GLBL, body));
        VariableHash table(&dictionary, 8, 64, 0);
        ASSERT_EQ(table.Read(&in.file, TAG_GLBL), 1);
        EXPECT_EQ(find(table, "a"), 0);
        EXPECT_EQ(find(table, "b"), -1);
        EXPECT_EQ(table.Insert(1), 2);
        EXPECT_EQ(find(table, "b"), 2);
    }
}

// ---- variables ----
