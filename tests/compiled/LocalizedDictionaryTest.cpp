// Localized dictionary: piece chains, the "locd" section and its read checks.
#include "compiled/LocalizedDictionary.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/compiled/TableFiles.h"

namespace {

// "Hello %name%!" as its three pieces, added last piece first as the directive does.
// clang-format off
const Bytes HELLO_NAME = cat({
    u32(3),                          // loc_dictionary_header.entries
    u32(1), u32(12), u32(0xFFFFFFFF),  // [0] literal "!" (dictionary 12), last piece
    u32(0), u32(11), u32(0),         // [1] variable "name" (dictionary 11), then [0]
    u32(1), u32(10), u32(1),         // [2] literal "Hello " (dictionary 10), then [1]
});
// clang-format on

}  // namespace

TEST(LocalizedDictionary, ReadsTheSection) {
    OpenContainer in(container_with(TAG_LOCD, HELLO_NAME));
    LocalizedDictionary dictionary;
    ASSERT_TRUE(dictionary.Read(&in.file));
    ASSERT_EQ(dictionary.Entries(), 3);
    EXPECT_EQ(dictionary.Entry(2)->type, LOCALIZED_TEXT);
    EXPECT_EQ(dictionary.Entry(1)->type, LOCALIZED_VARIABLE);
    EXPECT_EQ(dictionary.Entry(0)->next, -1);
    // The array was sized to the count read; adding grows it again.
    EXPECT_EQ(dictionary.Entry_Add(LOCALIZED_TEXT, 13, 2), 3);
}

TEST(LocalizedDictionary, RejectsBadSectionsAndKeepsItsPieces) {
    struct Case {
        const char* what;
        Bytes file;
        const char* message;
    };
    Bytes type_two = patched(HELLO_NAME, 4 + 12, u32(2));       // [1].type: neither kind
    Bytes high_type = patched(HELLO_NAME, 4, u32(0x80000000));  // [0].type, compared unsigned
    const Case cases[] = {
        {"no locd section", container_with(TAG_IDNT, Bytes{}), "Invalid section"},
        {"count cut short", container_with(TAG_LOCD, Bytes{3, 0, 0}), "Unexpected end of file"},
        // At the limit the count passes; the container then refuses 12 x count bytes from a
        // section that does not start at offset 0.
        {"entries at the limit", container_with(TAG_LOCD, u32(0x0AAAAAAA)), "Invalid size"},
        {"records cut short", container_with(TAG_LOCD, prefix(HELLO_NAME, HELLO_NAME.size() - 1)),
         "Unexpected end of file"},
        {"entry type with its top bit set", container_with(TAG_LOCD, high_type),
         "Invalid localized dictionary entry type"},
    };
    for (const Case& c : cases) {
        OpenContainer in(c.file);
        ASSERT_TRUE(in.opened) << c.what;
        LocalizedDictionary dictionary;
        dictionary.Entry_Add(LOCALIZED_TEXT, 7, -1);
        EXPECT_FALSE(dictionary.Read(&in.file)) << c.what;
        EXPECT_STREQ(dictionary.error().c_str(), c.message) << c.what;
        ASSERT_EQ(dictionary.Entries(), 1) << c.what;
        EXPECT_EQ(dictionary.Entry(0)->text, 7) << c.what;
    }
}
