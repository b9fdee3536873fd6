// Texts of a compiled file in the JSON dump: a string exactly when the bytes are well-formed
// UTF-8, otherwise every byte in hexadecimal, never a replaced or dropped byte.
#include "driver/DumpJson.h"

#include <gtest/gtest.h>

#include <string>

TEST(DumpJson, TextIsAStringOnlyForWellFormedUtf8) {
    struct Row {
        std::string bytes;
        const char* json;
    };
    // clang-format off
    const Row rows[] = {
        {"",                          "\"\""},
        {std::string("a\"\\\n\0", 5), "\"a\\\"\\\\\\n\\u0000\""},
        {"caf\xC3\xA9",               "\"caf\xC3\xA9\""},
        {"\xEF\xBF\xBF\xF4\x8F\xBF\xBF", "\"\xEF\xBF\xBF\xF4\x8F\xBF\xBF\""},  // U+FFFF, U+10FFFF
        {"caf\xE9",                   "{\"bytes\":\"636166e9\"}"},               // Latin-1
        {"\xC0\x80",                  "{\"bytes\":\"c080\"}"},                   // overlong NUL
        {"\xE0\x9F\xBF",              "{\"bytes\":\"e09fbf\"}"},                 // overlong U+07FF
        {"\xF0\x8F\xBF\xBF",          "{\"bytes\":\"f08fbfbf\"}"},               // overlong U+FFFF
        {"\xED\xA0\x80",              "{\"bytes\":\"eda080\"}"},                 // surrogate
        {"\xF4\x90\x80\x80",          "{\"bytes\":\"f4908080\"}"},               // past U+10FFFF
        {"\xF5\x80\x80\x80",          "{\"bytes\":\"f5808080\"}"},
        {"a\xE2\x82",                 "{\"bytes\":\"61e282\"}"},                 // cut off
        {"\xE2\x28\xA1",              "{\"bytes\":\"e228a1\"}"},                 // not a continuation
        {"\x80",                      "{\"bytes\":\"80\"}"},
    };
    // clang-format on
    for (const Row& row : rows) {
        EXPECT_EQ(DumpJson::TextValue(row.bytes.data(), static_cast<int>(row.bytes.size())),
                  row.json)
            << row.json;
    }
}
