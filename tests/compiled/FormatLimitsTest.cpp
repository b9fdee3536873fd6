// Limits of the compiled format: each count at its limit is written and one more is refused
// with its own reason; and each limit is the one its reader enforces, checked against the
// reader itself, so that the two cannot drift apart.
#include "compiled/FormatLimits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "compiled/Dictionary.h"
#include "compiled/FunctionManager.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/SegmentManager.h"
#include "compiled/VariableHash.h"
#include "tests/compiled/TableFiles.h"
#include "tests/support/MemoryApplication.h"

namespace {

// What a reader said: nothing when it accepted its section, else its message.
std::string said(bool accepted, const String& error) {
    return accepted ? std::string() : std::string(error.c_str(), error.length());
}

std::string read_dictionary(const Bytes& section) {
    OpenContainer container(container_with(TAG_DICT, section));
    Dictionary dictionary;
    return said(dictionary.Read(&container.file), dictionary.error());
}

std::string read_variables(uint32_t count) {
    OpenContainer container(container_with(TAG_GLBL, cat({u16(0), Bytes{12}, u32(count)})));
    Dictionary dictionary;
    VariableHash table(&dictionary, 12, 512, 0);
    return said(table.Read(&container.file, TAG_GLBL) != 0, table.error());
}

// What the reader of a section whose count field holds 'count' says.
using ReadWith = std::function<std::string(uint32_t count)>;

struct Limit {
    const char* name;
    std::function<void(FormatCounts*, int64_t)> set;
    int64_t limit;
    const char* reason;
    ReadWith read;  // null: no reader checks this count by itself
    const char* refusal;
};

}  // namespace

// Each count at its limit is written and one more is refused with its reason; and the reader
// that checks the count takes the same limit (at it the header passes and the short section
// fails later; one more is refused), so that writer and reader cannot drift apart.
TEST(FormatLimits, EachLimitIsWrittenAndReadAlike) {
    MemoryAssemblerApplication application({"tnasm"});
    const char* const VARIABLE_COUNT = "variable_hash_header.variable_count out of range";
    const Limit limits[] = {
        {"dictionary entries", [](FormatCounts* c, int64_t v) { c->dictionary_entries = v; },
         0x07FFFFFF, "More than 134217727 dictionary entries",
         [](uint32_t n) {
             return read_dictionary(u32s({n, 0, 0}));
         },
         "dictionary_header.entries out of range"},
        {"dictionary bytes", [](FormatCounts* c, int64_t v) { c->dictionary_bytes = v; },
         0x3FFFFLL * 8192 - 1, "More than 2147475455 bytes of dictionary texts",
         [](uint32_t n) {
             return read_dictionary(u32s({0, n, 0}));
         },
         "( dictionary_header.data_size / TF_DATA_BLOCK_SIZE ) + 1 out of range"},
        {"globals", [](FormatCounts* c, int64_t v) { c->globals = v; }, 0x7FFFFFF,
         "More than 134217727 global variables", read_variables, VARIABLE_COUNT},
        {"systems", [](FormatCounts* c, int64_t v) { c->systems = v; }, 0x7FFFFFF,
         "More than 134217727 system variables", read_variables, VARIABLE_COUNT},
        {"locals", [](FormatCounts* c, int64_t v) { c->most_locals = v; }, 0x7FFFFFF,
         "More than 134217727 local variables in one function", read_variables, VARIABLE_COUNT},
        {"functions", [](FormatCounts* c, int64_t v) { c->functions = v; }, 0x0FFFFFFF,
         "More than 268435455 functions",
         [](uint32_t n) {
             OpenContainer container(container_with(TAG_FUNC, cat({u16(0), Bytes{8}, u32(n)})));
             Dictionary dictionary;
             FunctionManager table(&dictionary, 8);
             return said(table.Read(&container.file), table.error());
         },
         "function_list_header.function_count out of range"},
        {"parameters", [](FormatCounts* c, int64_t v) { c->most_parameters = v; }, 0x0AAAAAAA,
         "More than 178956970 parameters in one function",
         [](uint32_t n) {
             OpenContainer container(container_with(
                 {{TAG_DICT, dictionary_of({"f"})},
                  {TAG_FUNC, cat({u16(0), Bytes{8}, u32(1), u32s({0xFFFFFFFF, 0, n, 0, 0, 0})})}}));
             Dictionary read;
             read.Read(&container.file);
             FunctionManager table(&read, 8);
             return said(table.Read(&container.file), table.error());
         },
         "function_header.parameter_count out of range"},
        {"segments", [](FormatCounts* c, int64_t v) { c->segments = v; }, 0x0FFFFFFF,
         "More than 268435455 code segments",
         [](uint32_t n) {
             OpenContainer container(container_with(TAG_SEGS, u32s({n, 0})));
             SegmentManager segments;
             return said(segments.Read(&container.file), segments.error());
         },
         "segment_list.entries out of range"},
        {"languages", [](FormatCounts* c, int64_t v) { c->languages = v; }, 0x07FFFFFF,
         "More than 134217727 languages",
         [&application](uint32_t n) {
             OpenContainer container(container_with(TAG_LOCL, cat({u16(0), Bytes{12}, u32(n)})));
             Dictionary dictionary;
             LocalizedLanguages table(&application, &dictionary, &container.file, 12, 8);
             return said(table.Read(), table.error());
         },
         "localized_language_header.index_count out of range"},
        {"indexed languages",
         [](FormatCounts* c, int64_t v) {
             c->index_per_language = true;
             c->languages = v;
         },
         65536, "More than 65536 languages with an index each", nullptr, nullptr},
        {"index entries", [](FormatCounts* c, int64_t v) { c->most_index_entries = v; }, 0x0AAAAAAA,
         "More than 178956970 localized entries in one language",
         [](uint32_t n) {
             OpenContainer container(container_with(
                 tag_language_index(0), cat({u16(0), Bytes{12}, u32(n), u32(0)}), 0x10008));
             Dictionary dictionary;
             LocalizedIndex index(&dictionary, 12, 128, 0);
             return said(index.Read(&container.file, tag_language_index(0)), index.error());
         },
         "localized_index_header.index_count out of range"},
        {"pieces", [](FormatCounts* c, int64_t v) { c->pieces = v; }, 0x0AAAAAAA,
         "More than 178956970 localized text pieces",
         [](uint32_t n) {
             OpenContainer container(container_with(TAG_LOCD, u32(n)));
             LocalizedDictionary pieces;
             return said(pieces.Read(&container.file), pieces.error());
         },
         "loc_dictionary_header.entries out of range"},
        {"file bytes", [](FormatCounts* c, int64_t v) { c->file_bytes = v; }, 0x7FFFFFFF,
         "File too large", nullptr, nullptr},
    };
    EXPECT_EQ(nullptr, format_limit_exceeded(FormatCounts()));
    for (const Limit& limit : limits) {
        FormatCounts at;
        limit.set(&at, limit.limit);
        EXPECT_EQ(nullptr, format_limit_exceeded(at)) << limit.name;
        FormatCounts over;
        limit.set(&over, limit.limit + 1);
        EXPECT_STREQ(limit.reason, format_limit_exceeded(over)) << limit.name;
        if (!limit.read) continue;
        EXPECT_NE(limit.refusal, limit.read(static_cast<uint32_t>(limit.limit))) << limit.name;
        EXPECT_EQ(limit.refusal, limit.read(static_cast<uint32_t>(limit.limit + 1))) << limit.name;
    }
    // A single index (version 1.7 and before) has no tag per language.
    FormatCounts single;
    single.languages = 70000;
    EXPECT_EQ(nullptr, format_limit_exceeded(single));
}
