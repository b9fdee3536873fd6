// tndump over hand-made files: every reader check of the loader ends the run with that reader's
// own message as "tndump: message" and status 1, and a sound file prints in each mode.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"
#include "tests/compiled/TableFiles.h"
#include "tests/support/MemoryApplication.h"

namespace {

struct DumpRun {
    int status;
    std::string out;
    std::string err;
};

DumpRun run_dump(const Bytes& file, const char* mode = nullptr) {
    std::vector<std::string> words = {"tndump"};
    if (mode != nullptr) words.push_back(mode);
    words.push_back("in.tnc");
    MemoryDumpApplication application(words);
    application.files.Put("in.tnc", file);
    int status = application.Go();
    return {status, application.capture->out, application.capture->err};
}

// ---- hand-made sections ----

// The 7-byte header that the hashed tables share: non-empty buckets, bucket bits, count.
Bytes table_header(uint32_t bucket_entries, uint32_t bucket_bits, uint32_t count) {
    return cat({u16(bucket_entries), Bytes{static_cast<unsigned char>(bucket_bits)}, u32(count)});
}

// A function table of one function named by dictionary entry 0, with the given parameter
// records and local table after its 20-byte record.
Bytes function_table(uint32_t name, uint32_t parameter_count, const Bytes& parameters,
                     const Bytes& locals) {
    return cat({table_header(1, 8, 1), cat({u16(0), u32(0)}),  // bucket 0 -> function 0
                u32(0xFFFFFFFF),                               // chain
                u32s({name, parameter_count, 0, 1, 0}),        // record
                parameters, locals});
}

// One segment holding 'code'.
Bytes segments_of(const Bytes& code) {
    return cat({u32s({1, 0, 0, static_cast<uint32_t>(code.size())}), code});
}

// The sections of a sound file in the loader's order; a test replaces one of them.
std::map<int, Bytes> sound_sections() {
    return {
        {TAG_DICT, dictionary_of({"main", "en-US", "k", "x"})},
        {TAG_GLBL, table_header(0, 12, 0)},
        {TAG_SYST, table_header(0, 12, 0)},
        {TAG_FUNC, table_header(0, 8, 0)},
        {TAG_SEGS, segments_of(u16(0x003C))},
        {TAG_IDNT, Bytes{'a', 'b', 'c', 0}},
        {TAG_LOCL, cat({table_header(1, 12, 1),
                        cat({u16(static_cast<uint32_t>(name_bucket("en-US", 5, 12))), u32(0)}),
                        u32s({1, 0xFFFFFFFF})})},
        {tag_language_index(0),
         cat({table_header(1, 12, 1), u32(0), cat({u16(0), u32(0)}), u32s({2, 0xFFFFFFFF, 0})})},
        {TAG_LOCD, u32s({1, 1, 3, 0xFFFFFFFF})},
    };
}

const int SECTION_ORDER[] = {TAG_DICT, TAG_GLBL, TAG_SYST, TAG_FUNC,
                             TAG_SEGS, TAG_IDNT, TAG_LOCL, tag_language_index(0),
                             TAG_LOCD};

Bytes file_of(const std::map<int, Bytes>& sections, int version = 0x10008) {
    std::vector<Section> ordered;
    for (int tag : SECTION_ORDER) {
        auto found = sections.find(tag);
        if (found != sections.end()) ordered.push_back({tag, found->second});
    }
    return container_with(ordered, version);
}

Bytes sound_file() {
    return file_of(sound_sections());
}

}  // namespace

TEST(DumpApplication, PrintsASoundFileInEveryMode) {
    DumpRun dump = run_dump(sound_file());
    EXPECT_EQ(dump.status, 0) << dump.err;
    EXPECT_EQ(dump.err, "");
    EXPECT_NE(dump.out.find("  version     1.8\n"), std::string::npos) << dump.out;
    EXPECT_NE(dump.out.find("\"en-US\": 1 entry from section LX 0\n"), std::string::npos);
    EXPECT_NE(dump.out.find("\"k\" = \"x\" (piece 0)\n"), std::string::npos) << dump.out;

    DumpRun listing = run_dump(sound_file(), "--listing");
    EXPECT_EQ(listing.status, 0);
    EXPECT_EQ(listing.out, "\n\nExpression: segment 0\n0\tretn\t\n");
}

// One row per reader check, each reached through a file that passes every check before it.
TEST(DumpApplication, RefusesEachCorruptionWithTheReadersMessage) {
    using Patch = std::function<void(Bytes*)>;
    const Bytes sound = sound_file();
    const int directory = static_cast<int>(get_u32(sound.data() + 24));
    auto at = [](int offset, uint32_t value) -> Patch {
        return [=](Bytes* file) { put_u32(file->data() + offset, value); };
    };
    struct Row {
        const char* what;
        Patch patch;
        const char* message;
    };
    // clang-format off
    const Row header_rows[] = {
        {"magic",                   at(0, 0x6E726174),  "File is either corrupt or not a valid compiled Tarn Script file"},
        {"negative directory",      at(24, 0x80000000), "File is either corrupt or not a valid compiled Tarn Script file"},
        {"negative entry count",    at(28, 0xFFFFFFFF), "File is either corrupt or not a valid compiled Tarn Script file"},
        {"version 1.14",            at(4, 0x1000E),     "File was generated by an incompatible version of the Tarn Script Compiler"},
        {"version 1.0",             at(4, 0x10000),     "File was generated by an incompatible version of the Tarn Script Compiler"},
        {"entry count",             at(28, 0x0AAAAAAB), "header.directory_entries out of range"},
        {"directory past the end",  at(28, 40),         "Unexpected end of file while reading directory"},
        {"section offset",          at(directory + 4, 0x80000000), "directory[ entry ].section_offset out of range"},
        {"section size",            at(directory + 8, 0xFFFFFFFF), "directory[ entry ].section_size out of range"},
        {"no dict",                 at(directory, 0x11111111),     "Invalid section"},
    };
    // clang-format on
    for (const Row& row : header_rows) {
        Bytes file = sound;
        row.patch(&file);
        DumpRun run = run_dump(file);
        EXPECT_EQ(run.status, 1) << row.what;
        EXPECT_EQ(run.err, std::string("tndump: ") + row.message + "\n") << row.what;
        EXPECT_EQ(run.out, "") << row.what;
    }

    const Bytes no_variable = table_header(0, 8, 0);
    const Bytes one_parameter = u32s({0, 0, 0});
    struct SectionRow {
        const char* what;
        int tag;
        Bytes bytes;
        const char* message;
    };
    // clang-format off
    const SectionRow rows[] = {
        {"dict entries",        TAG_DICT, u32s({0x08000000, 0, 0}),        "dictionary_header.entries out of range"},
        {"dict data size",      TAG_DICT, u32s({0, 0x7FFFFFFF, 0}),        "( dictionary_header.data_size / TF_DATA_BLOCK_SIZE ) + 1 out of range"},
        {"dict offset",         TAG_DICT, cat({u32s({1, 1, 0, 1, 0}), Bytes{'a'}}), "dictionary_entry.offset out of range"},
        {"dict only empty",     TAG_DICT, dictionary_of({""}),                                 "dictionary_entry.offset out of range"},
        {"dict end",            TAG_DICT, cat({u32s({1, 1, 0, 0, 2}), Bytes{'a'}}), "dictionary_entry.offset + dictionary_entry.size out of range"},
        {"glbl bits",           TAG_GLBL, table_header(0, 33, 0),                              "variable_hash_header.bucket_bits out of range"},
        {"glbl buckets",        TAG_GLBL, table_header(0, 29, 0),                              "read_bucket_size out of range"},
        {"syst count",          TAG_SYST, table_header(0, 12, 0x8000000),                      "variable_hash_header.variable_count out of range"},
        {"syst bucket entries", TAG_SYST, table_header(0x8000, 12, 0),                         "variable_hash_header.bucket_entries out of range"},
        {"glbl bucket index",   TAG_GLBL, cat({table_header(1, 12, 0), cat({u16(4096), u32(0)})}), "variable_hash_bucket.index out of range"},
        {"func bits",           TAG_FUNC, table_header(0, 33, 0),                              "function_list_header.bucket_bits out of range"},
        {"func buckets",        TAG_FUNC, table_header(0, 30, 0),                              "read_bucket_size out of range"},
        {"func count",          TAG_FUNC, table_header(0, 8, 0x10000000),                      "function_list_header.function_count out of range"},
        {"func bucket entries", TAG_FUNC, table_header(0xFFFF, 8, 0),                          "function_list_header.bucket_entries out of range"},
        {"func bucket index",   TAG_FUNC, cat({table_header(1, 8, 0), cat({u16(256), u32(0)})}), "function_hash_bucket.index out of range"},
        {"func name",           TAG_FUNC, function_table(9, 0, {}, no_variable),               "Invalid function header name index"},
        {"func parameters",     TAG_FUNC, function_table(0, 0x0AAAAAAB, {}, no_variable),      "function_header.parameter_count out of range"},
        {"func parameter name", TAG_FUNC, function_table(0, 1, u32s({7, 0, 0}), no_variable), "Invalid function parameter name index"},
        {"func locals",         TAG_FUNC, function_table(0, 1, one_parameter, table_header(0, 40, 0)), "variable_hash_header.bucket_bits out of range"},
        {"segs start",          TAG_SEGS, u32s({0, 0}),                        "segment_list.start out of range"},
        {"segs entries",        TAG_SEGS, u32s({0x10000000, 0}),               "segment_list.entries out of range"},
        {"segs size",           TAG_SEGS, u32s({1, 0, 0, 0xFFFFFFFF}), "segment_header.size out of range"},
        {"locl bits",           TAG_LOCL, table_header(0, 33, 0),                              "localized_language_header.bucket_bits out of range"},
        {"locl buckets",        TAG_LOCL, table_header(0, 31, 0),                              "read_bucket_size out of range"},
        {"locl count",          TAG_LOCL, table_header(0, 12, 0x08000000),                     "localized_language_header.index_count out of range"},
        {"locl bucket entries", TAG_LOCL, table_header(0x8000, 12, 0),                         "localized_language_header.bucket_entries out of range"},
        {"locl bucket index",   TAG_LOCL, cat({table_header(1, 4, 0), cat({u16(16), u32(0)})}), "localized_language_bucket.index out of range"},
        {"LX bits",             tag_language_index(0), cat({table_header(0, 33, 0), u32(0)}), "localized_index_header.bucket_bits out of range"},
        {"LX buckets",          tag_language_index(0), cat({table_header(0, 29, 0), u32(0)}), "read_bucket_size out of range"},
        {"LX count",            tag_language_index(0), cat({table_header(0, 12, 0x10000000), u32(0)}), "localized_index_header.index_count out of range"},
        {"LX bucket entries",   tag_language_index(0), cat({table_header(0x8000, 12, 0), u32(0)}), "localized_index_header.bucket_entries out of range"},
        {"LX count again",      tag_language_index(0), cat({table_header(0, 12, 0x0AAAAAAB), u32(0)}), "localized_index_header.index_count out of range"},
        {"LX bucket index",     tag_language_index(0), cat({table_header(1, 12, 0), cat({u32(0), u16(4096), u32(0)})}), "localized_index_bucket.index out of range"},
        {"locd entries",        TAG_LOCD, u32(0x0AAAAAAB),                      "loc_dictionary_header.entries out of range"},
        {"locd type",           TAG_LOCD, u32s({1, 2, 3, 0xFFFFFFFF}), "Invalid localized dictionary entry type"},
    };
    // clang-format on
    for (const SectionRow& row : rows) {
        std::map<int, Bytes> sections = sound_sections();
        sections[row.tag] = row.bytes;
        DumpRun run = run_dump(file_of(sections));
        EXPECT_EQ(run.status, 1) << row.what;
        EXPECT_EQ(run.err, std::string("tndump: ") + row.message + "\n") << row.what;
    }
}

// Every prefix of a sound file loses the directory at its end: each is refused, none crashes.
TEST(DumpApplication, RefusesEveryTruncation) {
    const Bytes sound = sound_file();
    for (size_t length = 0; length < sound.size(); ++length) {
        DumpRun run = run_dump(Bytes(sound.begin(), sound.begin() + static_cast<long>(length)));
        EXPECT_EQ(run.status, 1) << length;
        EXPECT_EQ(run.err, length < 32
                               ? "tndump: File is either corrupt or not a valid compiled Tarn "
                                 "Script file\n"
                               : "tndump: Unexpected end of file while reading directory\n")
            << length;
    }
}
