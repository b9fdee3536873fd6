// Hashed tables whose header asks for the most buckets the format accepts (2^28): each of the
// four readers takes the section and finds its names, and only the buckets its records name
// take memory. Found by fuzzing the readers: a section of a few dozen bytes cost a gigabyte per
// table, one per function of the "func" section.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "compiled/Dictionary.h"
#include "compiled/Function.h"
#include "compiled/FunctionManager.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/TableSupport.h"
#include "compiled/VariableHash.h"
#include "tests/compiled/TableFiles.h"
#include "tests/support/MemoryApplication.h"

namespace {

constexpr int MOST_BUCKET_BITS = 28;
// Buckets a record can name: its bucket number is 16 bits, read as signed.
constexpr int RECORD_BUCKET_LIMIT = 32768;

// A name whose bucket in a table of 2^28 buckets is one that a record can name (below 32768).
std::string name_in_low_bucket() {
    for (int i = 0;; ++i) {
        const std::string name = "n" + std::to_string(i);
        if (name_bucket(name.data(), static_cast<int>(name.size()), MOST_BUCKET_BITS) <
            RECORD_BUCKET_LIMIT) {
            return name;
        }
    }
}

// A variable table of 2^28 buckets with one variable (name entry 0) at the head of 'bucket'.
Bytes variable_table(int bucket) {
    return cat({u16(1),                              // bucket_entries
                Bytes{MOST_BUCKET_BITS},             // bucket_bits
                u32(1),                              // variable_count
                u16(static_cast<uint32_t>(bucket)),  // variable_hash_bucket.index
                u32(0),                              // its first entry
                u32(0),                              // variable 0: name
                u32(0xFFFFFFFF)});                   // variable 0: next
}

}  // namespace

TEST(ReaderLimits, TablesOf2To28BucketsReadAndFindTheirNames) {
    const std::string name = name_in_low_bucket();
    const int bucket = name_bucket(name.data(), static_cast<int>(name.size()), MOST_BUCKET_BITS);

    // A "func" section of three functions that each carry a local table of 2^28 buckets.
    Bytes functions = cat({u16(0),    // function_list_header.bucket_entries
                           Bytes{8},  // function_list_header.bucket_bits
                           u32(3),    // function_list_header.function_count
                           u32(0xFFFFFFFF), u32(0xFFFFFFFF), u32(0xFFFFFFFF)});  // chain
    for (int i = 0; i < 3; ++i) {
        functions = cat({functions,
                         u32(0),           // function_header.name
                         u32(0),           // function_header.parameter_count
                         u32(1),           // function_header.flags
                         u32(0xFFFFFFFF),  // function_header.segment
                         u32(0xFFFFFFFF),  // function_header.segment_offset
                         variable_table(bucket)});
    }
    // A language of code entry 0, and its index with one key (entry 0), both of 2^28 buckets.
    const Bytes languages = cat({u16(1),                              // bucket_entries
                                 Bytes{MOST_BUCKET_BITS},             // bucket_bits
                                 u32(1),                              // index_count
                                 u16(static_cast<uint32_t>(bucket)),  // bucket index
                                 u32(0),                              // its first language
                                 u32(0),                              // localized_language.code
                                 u32(0xFFFFFFFF)});                   // localized_language.next
    const Bytes index = cat({u16(1),                                  // bucket_entries
                             Bytes{MOST_BUCKET_BITS},                 // bucket_bits
                             u32(1),                                  // index_count
                             u32(0),                                  // reserved
                             u16(static_cast<uint32_t>(bucket)),      // bucket index
                             u32(0),                                  // its first entry
                             u32(0),                                  // localized_index_entry.key
                             u32(0xFFFFFFFF),                         // localized_index_entry.next
                             u32(42)});                               // localized_index_entry.value
    OpenContainer container(container_with({{TAG_DICT, dictionary_of({name})},
                                            {TAG_GLBL, variable_table(bucket)},
                                            {TAG_FUNC, functions},
                                            {TAG_LOCL, languages},
                                            {tag_language_index(0), index}},
                                           0x10008));
    ASSERT_TRUE(container.opened);
    Dictionary dictionary;
    ASSERT_TRUE(dictionary.Read(&container.file)) << dictionary.error().c_str();

    VariableHash globals(&dictionary, 12, 512, 0);
    ASSERT_EQ(1, globals.Read(&container.file, TAG_GLBL)) << globals.error().c_str();
    EXPECT_EQ(MOST_BUCKET_BITS, globals.bucket_bits());
    EXPECT_EQ(0, globals.Seek(-1, name.data(), static_cast<int>(name.size()), nullptr));

    FunctionManager table(&dictionary, 8);
    ASSERT_TRUE(table.Read(&container.file)) << table.error().c_str();
    ASSERT_EQ(3, table.Functions());
    for (int i = 0; i < 3; ++i) {
        VariableHash* locals = table.Function_Index(i)->variables();
        EXPECT_EQ(0, locals->Seek(-1, name.data(), static_cast<int>(name.size()), nullptr)) << i;
    }

    MemoryAssemblerApplication application({"tnasm"});
    LocalizedLanguages language_table(&application, &dictionary, &container.file, 12, 8);
    ASSERT_TRUE(language_table.Read()) << language_table.error().c_str();
    _LL_Entry* language =
        language_table.Get_Language_Entry(name.data(), static_cast<int>(name.size()));
    ASSERT_NE(nullptr, language) << language_table.error().c_str();
    const _LI_Entry* entry = language->index->Get_Entry(name.data(), static_cast<int>(name.size()));
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(42, entry->value);
}
