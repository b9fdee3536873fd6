// Localization tables: the language table and its indexes, the tag-0 index of old files, lazy
// loading, and every read check of "locl" and of an index section.
#include "compiled/LocalizedLanguages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "compiled/Dictionary.h"
#include "compiled/LocalizedIndex.h"
#include "driver/UNIXAssemblerApplication.h"
#include "foundation/Hash.h"
#include "tests/compiled/TableFiles.h"

namespace {

constexpr int VERSION_1_7 = 0x10007;
constexpr int VERSION_1_8 = 0x10008;

char program_name[] = "tnasm";
char* arguments[] = {program_name, nullptr};

uint32_t index_bucket(const char* key) {
    return hash(key, static_cast<uint32_t>(strlen(key)), 0) & 0xFFF;
}

int value_of(const _LI_Entry* entry) {
    return entry == nullptr ? -1 : entry->value;
}

// Two languages with the key "hello" each, in a language table of one bucket.
// clang-format off
const Bytes TWO_LANGUAGES = cat({
    u16(1), {0}, u32(2),           //  0 localized_language_header: 1 bucket record, 0 bits, 2 languages
    u16(0), u32(1),                //  7 localized_language_bucket: bucket 0 starts at "de"
    u32(0), u32(0xFFFFFFFF),       // 13 localized_language [0]: "en-US" (dictionary 0), last
    u32(2), u32(0),                // 21 localized_language [1]: "de" (dictionary 2), then [0]
});
const Bytes ENGLISH_INDEX = cat({
    u16(1), {12}, u32(1),          //  0 localized_index_header: 1 bucket record, 12 bits, 1 entry
    u32(0),                        //  7 reserved
    u16(index_bucket("hello")),    // 11 localized_index_bucket.index
    u32(0),                        //    localized_index_bucket.entry
    u32(1), u32(0xFFFFFFFF), u32(100),  // 17 entry [0]: key "hello" (dictionary 1), last, value 100
});
// clang-format on

// The assembler's way of filling the table behind the fixtures above.
void add_two_languages(LocalizedLanguages& languages) {
    EXPECT_EQ(languages.Add_Entry("en-US", -1, "hello", -1, 100), 0);
    EXPECT_EQ(languages.Add_Entry("de", -1, "hello", -1, 200), 0);
}

}  // namespace

// ---- the index of one language ----

TEST(LocalizedIndex, KeysMatchRegardlessOfCase) {
    Dictionary dictionary;
    LocalizedIndex index(&dictionary, 12, 128, 0);
    EXPECT_EQ(index.Add_Entry(dictionary.Entry_Add("Title", -1), 7), 0);
    EXPECT_EQ(value_of(index.Get_Entry(dictionary.Entry_Add("TITLE", -1))), 7);
    EXPECT_EQ(index.Get_Entry("titles", -1), nullptr);
    // A key without text is stored but not counted; the next pair takes its place.
    EXPECT_EQ(index.Add_Entry(99, 1), -1);
    EXPECT_EQ(index.Entries(), 1);
}

TEST(LocalizedIndex, OldFilesKeepTheirSingleIndexUnderTagZero) {
    struct Case {
        int version;
        bool found;
    };
    for (const Case c : {Case{VERSION_1_7, true}, Case{VERSION_1_8, false}}) {
        Dictionary dictionary;
        dictionary.Entry_Add("en-US", -1);
        dictionary.Entry_Add("hello", -1);
        OpenContainer in(container_with(TAG_NONE, ENGLISH_INDEX, c.version));
        LocalizedIndex index(&dictionary, 12, 128, 1);
        EXPECT_EQ(index.Read(&in.file, tag_language_index(1)), c.found) << c.version;
        EXPECT_EQ(value_of(index.Get_Entry("HELLO", -1)), c.found ? 100 : -1) << c.version;
        if (!c.found) {
            EXPECT_STREQ(index.error().c_str(), "Invalid section");
        }
    }
}

// The plain case of each message is reached through tndump in DumpApplicationTest; these rows
// are the order of the checks, their bounds and the cut-off records.
TEST(LocalizedIndex, ChecksEachFieldInOrderAndKeepsItsKeysOnFailure) {
    struct Case {
        const char* what;
        Bytes body;
        const char* message;  // null: accepted
    };
    auto with = [](size_t at, const Bytes& value) { return patched(ENGLISH_INDEX, at, value); };
    auto cut = [](size_t size) { return prefix(ENGLISH_INDEX, size); };
    const char* const COUNT = "localized_index_header.index_count out of range";
    Bytes past_limit = ENGLISH_INDEX;  // a count past the 12-byte limit
    put_u32(past_limit.data() + 3, 0x0B000000);
    const Case cases[] = {
        {"32 bucket bits: one bucket", patched(with(2, {32}), 11, u16(0)), nullptr},
        {"count past the loose bound", with(3, u32(0x20000000)), COUNT},
        {"bucket entries checked before the 12-byte limit", patched(past_limit, 0, u16(0x8000)),
         "localized_index_header.bucket_entries out of range"},
        {"count past the 12-byte limit", past_limit, COUNT},
        {"negative bucket number", with(11, u16(0x8000)),
         "localized_index_bucket.index out of range"},
        {"entries cut short", cut(28), "Unexpected end of file"},
    };
    Dictionary dictionary;
    dictionary.Entry_Add("en-US", -1);
    dictionary.Entry_Add("hello", -1);
    int kept = dictionary.Entry_Add("kept", -1);
    for (const Case& c : cases) {
        OpenContainer in(container_with(tag_language_index(0), c.body, VERSION_1_8));
        ASSERT_TRUE(in.opened) << c.what;
        LocalizedIndex index(&dictionary, 12, 128, 0);
        index.Add_Entry(kept, 5);
        EXPECT_EQ(index.Read(&in.file, tag_language_index(0)), c.message == nullptr) << c.what;
        if (c.message == nullptr) {
            EXPECT_EQ(value_of(index.Get_Entry("Hello", -1)), 100) << c.what;
            continue;
        }
        EXPECT_STREQ(index.error().c_str(), c.message) << c.what;
        EXPECT_EQ(value_of(index.Get_Entry("KEPT", -1)), 5) << c.what;
    }
}

// ---- the language table ----

TEST(LocalizedLanguages, CodesMatchRegardlessOfCase) {
    UNIXAssemblerApplication application(1, arguments);
    Dictionary dictionary;
    LocalizedLanguages languages(&application, &dictionary, nullptr, 12, 8);
    EXPECT_EQ(languages.Add_Entry("en-US", -1, "a", -1, 1), 0);
    EXPECT_EQ(languages.Add_Entry("EN-us", -1, "b", -1, 2), 1);
    EXPECT_EQ(languages.Get_Language_Entry("En-Us", -1)->index->Entries(), 2);
    EXPECT_EQ(languages.Get_Language_Entry("en", -1), nullptr);
    EXPECT_EQ(languages.Add_Entry(99), -1);  // a code without text cannot be hashed
}

TEST(LocalizedLanguages, TableReadFromAFileLoadsEachIndexOnFirstUse) {
    UNIXAssemblerApplication application(1, arguments);
    Dictionary dictionary;
    LocalizedLanguages source(&application, &dictionary, nullptr, 0, 8);
    add_two_languages(source);
    Bytes file = write_container([&](TaggedFile& f) { return source.Write(&f); }, VERSION_1_8);

    OpenContainer in(file);
    LocalizedLanguages languages(&application, &dictionary, &in.file, 12, 8);
    languages.Add_Entry("old", -1, "k", -1, 1);
    ASSERT_TRUE(languages.Read());
    EXPECT_EQ(languages.Get_Language_Entry("old", -1), nullptr);
    EXPECT_EQ(in.files.deactivations, 0);

    _LL_Entry* german = languages.Get_Language_Entry("DE", -1);
    ASSERT_NE(german, nullptr);
    EXPECT_EQ(value_of(german->index->Get_Entry("hello", -1)), 200);
    EXPECT_EQ(in.files.deactivations, 1);
    EXPECT_EQ(languages.Get_Language_Entry("de", -1), german);
    EXPECT_EQ(in.files.deactivations, 1) << "a loaded index is not read again";

    // What a reader loaded, the writer writes back to the same bytes.
    EXPECT_EQ(sections_of(
                  write_container([&](TaggedFile& f) { return languages.Write(&f); }, VERSION_1_8)),
              sections_of(file));
}

TEST(LocalizedLanguages, IndexThatFailsToLoadLeavesTheLanguageUnfound) {
    UNIXAssemblerApplication application(1, arguments);
    Dictionary dictionary;
    dictionary.Entry_Add("en-US", -1);
    dictionary.Entry_Add("hello", -1);
    dictionary.Entry_Add("de", -1);
    Bytes bad_index = ENGLISH_INDEX;
    bad_index[2] = 33;
    OpenContainer in(container_with({{TAG_LOCL, TWO_LANGUAGES}, {tag_language_index(0), bad_index}},
                                    VERSION_1_8));
    LocalizedLanguages languages(&application, &dictionary, &in.file, 12, 8);
    ASSERT_TRUE(languages.Read());
    EXPECT_EQ(languages.Get_Language_Entry("en-US", -1), nullptr);
    EXPECT_STREQ(languages.error().c_str(), "localized_index_header.bucket_bits out of range");
    // The failed read left the first index section current, and the container answers a request
    // for the missing second one with the current section: the same bad header again.
    EXPECT_EQ(languages.Get_Language_Entry("de", -1), nullptr);
    EXPECT_STREQ(languages.error().c_str(), "localized_index_header.bucket_bits out of range");
    EXPECT_EQ(in.files.deactivations, 2);
}

// The plain case of each message is reached through tndump in DumpApplicationTest; these rows
// are the order of the checks, their bounds and the cut-off records.
TEST(LocalizedLanguages, ChecksEachFieldInOrderAndKeepsItsLanguagesOnFailure) {
    struct Case {
        const char* what;
        Bytes body;
        const char* message;
    };
    auto with = [](size_t at, const Bytes& value) { return patched(TWO_LANGUAGES, at, value); };
    auto cut = [](size_t size) { return prefix(TWO_LANGUAGES, size); };
    const char* const COUNT = "localized_language_header.index_count out of range";
    const Case cases[] = {
        {"header cut short", cut(5), "Unexpected end of file"},
        {"count past the loose bound", with(3, u32(0x20000000)), COUNT},
        {"count at the tight bound, records missing", with(3, u32(0x07FFFFFF)),
         "Unexpected end of file"},
        {"bucket records cut short", cut(12), "Unexpected end of file"},
        {"negative bucket number", with(7, u16(0xFFFF)),
         "localized_language_bucket.index out of range"},
        {"language records cut short", cut(28), "Unexpected end of file"},
    };
    UNIXAssemblerApplication application(1, arguments);
    for (const Case& c : cases) {
        OpenContainer in(container_with(TAG_LOCL, c.body, VERSION_1_8));
        ASSERT_TRUE(in.opened) << c.what;
        Dictionary dictionary;
        LocalizedLanguages languages(&application, &dictionary, &in.file, 12, 8);
        languages.Add_Entry("kept", -1, "k", -1, 1);
        EXPECT_FALSE(languages.Read()) << c.what;
        EXPECT_STREQ(languages.error().c_str(), c.message) << c.what;
        EXPECT_EQ(languages.Entries(), 1) << c.what;
        EXPECT_NE(languages.Get_Language_Entry("KEPT", -1), nullptr) << c.what;
    }
}
