// String dictionary: where texts land (shared bytes, block granules, repacking), the section
// "dict" byte for byte, and every read check with its message.
#include "compiled/Dictionary.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/compiled/TableFiles.h"

namespace {

std::string text_of(const Dictionary& dictionary, int index) {
    int size = 0;
    const char* text = dictionary.Entry(index, &size);
    return std::string(text, static_cast<size_t>(size));
}

std::string used_bytes(const DictionaryDataBlock* block) {
    return std::string(block->data(), static_cast<size_t>(block->used()));
}

// "abc", "bc" and the empty text, logging disabled: "dict" as the dictionary writes it.
// clang-format off
const Bytes SMALL_DICT = {
    0x03, 0x00, 0x00, 0x00,  // dictionary_header.entries 3
    0x03, 0x00, 0x00, 0x00,  // dictionary_header.data_size 3
    0x01, 0x00, 0x00, 0x00,  // dictionary_header.flags: logging disabled
    0x00, 0x00, 0x00, 0x00,  // dictionary_entry[0].offset 0
    0x03, 0x00, 0x00, 0x00,  // dictionary_entry[0].size 3
    0x01, 0x00, 0x00, 0x00,  // dictionary_entry[1].offset 1
    0x02, 0x00, 0x00, 0x00,  // dictionary_entry[1].size 2
    0x00, 0x00, 0x00, 0x00,  // dictionary_entry[2].offset 0
    0x00, 0x00, 0x00, 0x00,  // dictionary_entry[2].size 0
    'a', 'b', 'c',           // data area
};
// clang-format on

// Reads 'section' into a dictionary that already holds one text; the error text on failure
// ("" on success), after checking that a failure left the old text in place.
std::string read_into_filled(const Bytes& section) {
    OpenContainer in(container_with(TAG_DICT, section));
    EXPECT_TRUE(in.opened);
    Dictionary dictionary;
    dictionary.Entry_Add("old", 3);
    if (dictionary.Read(&in.file)) return "";
    EXPECT_EQ(dictionary.entries(), 1);
    EXPECT_EQ(text_of(dictionary, 0), "old");
    EXPECT_EQ(dictionary.flags(), 0);
    return dictionary.error().c_str();
}

}  // namespace

TEST(Dictionary, SharesBytesAtTheLeftmostOccurrence) {
    struct Case {
        std::vector<std::string> texts;
        std::vector<int> offsets;
        std::string pool;
    } cases[] = {
        {{"abc", "bc"}, {0, 1}, "abc"},
        {{"ab", "cd", "bc"}, {0, 2, 1}, "abcd"},  // straddles the joint of two texts
        {{"a", "aa", "aa"}, {0, 1, 0}, "aaa"},
        {{"abcab", "cabd", "bca"}, {0, 5, 1}, "abcabcabd"},
    };
    for (const Case& c : cases) {
        Dictionary dictionary;
        for (size_t i = 0; i < c.texts.size(); i++) {
            int length = static_cast<int>(c.texts[i].size());
            EXPECT_EQ(dictionary.Entry_Add(c.texts[i].data(), length), static_cast<int>(i));
            EXPECT_EQ(dictionary.Entry_Offset(static_cast<int>(i)), c.offsets[i]) << c.pool;
            EXPECT_EQ(text_of(dictionary, static_cast<int>(i)), c.texts[i]);
        }
        ASSERT_EQ(dictionary.blocks(), 1);
        EXPECT_EQ(used_bytes(dictionary.block(0)), c.pool);
    }
}

// The bad-character skips must never step over an occurrence: against a plain leftmost find
// over small alphabets, where near misses are common.
TEST(Dictionary, SearchAgreesWithPlainLeftmostFind) {
    std::mt19937 random(20240521);
    for (int round = 0; round < 20000; round++) {
        std::uniform_int_distribution<int> alphabet(1, 3);
        std::uniform_int_distribution<int> length(0, 24);
        char top = static_cast<char>('a' + alphabet(random));
        auto make = [&](int n) {
            std::string s;
            for (int i = 0; i < n; i++) {
                s += static_cast<char>(std::uniform_int_distribution<int>('a', top)(random));
            }
            return s;
        };
        std::string pool = make(length(random));
        std::string text = make(length(random) / 4);
        size_t expected = pool.find(text);
        int found = dictionary_search(pool.data(), static_cast<int>(pool.size()), text.data(),
                                      static_cast<int>(text.size()));
        ASSERT_EQ(found, expected == std::string::npos ? -1 : static_cast<int>(expected))
            << "pool " << pool << " text " << text;
    }
}

// After several blocks the summed used counts can fall short: "ab" was appended again in the
// second block, is found in the first one's bytes now, and "abcd", which straddled "ab" and
// "cd" there, must be appended. The block grows rather than leaving the entry without bytes.
TEST(Dictionary, CompressGrowsWhenSharingIsLostAcrossBlocks) {
    Dictionary dictionary;
    std::string filler = "ab" + std::string(8189, 'x');
    dictionary.Entry_Add(filler.data(), static_cast<int>(filler.size()));
    for (const char* text : {"zz", "ab", "cd", "abcd"}) dictionary.Entry_Add(text, -1);
    ASSERT_EQ(dictionary.blocks(), 2);
    EXPECT_EQ(used_bytes(dictionary.block(1)), "zzabcd");

    Dictionary copy(dictionary);  // deep: Compress below leaves it as it is
    dictionary.Compress();
    ASSERT_EQ(dictionary.blocks(), 1);
    EXPECT_EQ(used_bytes(dictionary.block(0)), filler + "zzcdabcd");
    const int offsets[] = {0, 8191, 0, 8193, 8195};
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(dictionary.Entry_Offset(i), offsets[i]) << i;
        EXPECT_EQ(text_of(dictionary, i), text_of(copy, i)) << i;
    }
    EXPECT_EQ(copy.blocks(), 2);
}

// Texts wait unplaced until something asks for the layout. Repacked straight from there, the
// block, its capacity and the offsets are the reference's, also where sharing is lost across
// blocks; a text too large to share a waiting slab keeps the later texts out of its bytes.
TEST(Dictionary, RepacksTextsThatNeverHadAPlace) {
    const std::string texts[] = {"ab" + std::string(8189, 'x'), "zz", "ab", "cd", "abcd",
                                 std::string(900000, 'p'), std::string(200000, 'q'), "qz", "zq"};
    Dictionary waiting, reference;
    for (const std::string& text : texts) {
        waiting.Entry_Add(text.data(), static_cast<int>(text.size()));
        reference.Entry_Add(text.data(), static_cast<int>(text.size()));
    }
    for (int i = 0; i < 9; i++) EXPECT_EQ(text_of(waiting, i), texts[i]) << i;
    reference.Compress_Reference();
    waiting.Compress();
    ASSERT_EQ(waiting.blocks(), 1);
    EXPECT_EQ(used_bytes(waiting.block(0)), used_bytes(reference.block(0)));
    EXPECT_EQ(waiting.block(0)->capacity(), reference.block(0)->capacity());
    for (int i = 0; i < 9; i++) EXPECT_EQ(waiting.Entry_Offset(i), reference.Entry_Offset(i)) << i;
}

TEST(Dictionary, WritesTheSectionExactlyAndReadsItBack) {
    Dictionary dictionary;
    for (const char* text : {"abc", "bc", ""}) dictionary.Entry_Add(text, -1);
    dictionary.SetFlags(DICTIONARY_FLAG_DISABLE_LOGGING);
    dictionary.Compress();
    Bytes written = write_container([&](TaggedFile& file) { return dictionary.Write(&file); });
    EXPECT_EQ(written, container_with(TAG_DICT, SMALL_DICT));

    OpenContainer in(written);
    Dictionary loaded;
    ASSERT_TRUE(loaded.Read(&in.file)) << loaded.error().c_str();
    EXPECT_EQ(loaded.flags(), 1);
    EXPECT_EQ(text_of(loaded, 1), "bc");
    EXPECT_EQ(loaded.block(0)->capacity(), 8192);
}

TEST(Dictionary, RejectsBadSectionsAndKeepsItsContents) {
    const char* offset_range = "dictionary_entry.offset out of range";
    const char* end_range = "dictionary_entry.offset + dictionary_entry.size out of range";
    const char* blocks_range =
        "( dictionary_header.data_size / TF_DATA_BLOCK_SIZE ) + 1 out of range";
    // An empty data area with no entries, for the header limits.
    const Bytes bare = cat({u32(0), u32(0), u32(0)});
    struct Case {
        const char* what;
        Bytes section;
        const char* message;
    } cases[] = {
        {"entries 0x10000000", with_u32(SMALL_DICT, 0, 0x10000000),
         "dictionary_header.entries out of range"},
        {"entries 0x07FFFFFF, table missing", with_u32(SMALL_DICT, 0, 0x07FFFFFF),
         "Unexpected end of file"},
        {"data size at the block limit, data missing", with_u32(bare, 4, 0x3FFFE * 8192 + 8191),
         "Unexpected end of file"},
        {"data size past the block limit", with_u32(bare, 4, 0x3FFFF * 8192), blocks_range},
        {"negative data size", with_u32(bare, 4, 0xFFFFFFFF), "Invalid size"},
        {"empty text at the data size", with_u32(SMALL_DICT, 28, 3), offset_range},
        {"negative offset", with_u32(SMALL_DICT, 12, 0xFFFFFFFF), offset_range},
        {"end past the data", with_u32(SMALL_DICT, 24, 3), end_range},
        {"negative size ending inside", with_u32(SMALL_DICT, 24, 0xFFFFFFFF),
         "dictionary_entry.size out of range"},
        {"header cut short", prefix(SMALL_DICT, 11), "Unexpected end of file"},
        {"data area cut short", prefix(SMALL_DICT, SMALL_DICT.size() - 1),
         "Unexpected end of file"},
        {"empty text below the data size", with_u32(SMALL_DICT, 28, 2), ""},
    };
    for (const Case& c : cases) EXPECT_EQ(read_into_filled(c.section), c.message) << c.what;
}
