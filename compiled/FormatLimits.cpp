// Limits of the compiled format, as the readers check them. Each bound below must stay in step
// with the check of the reader named beside it.
#include "compiled/FormatLimits.h"

#include <climits>

namespace {

// Dictionary::Read: dictionary_header.entries, and ( data_size / 8192 ) + 1 blocks.
constexpr int64_t MOST_DICTIONARY_ENTRIES = 0x07FFFFFF;
constexpr int64_t MOST_DICTIONARY_BYTES = 0x3FFFFLL * 8192 - 1;
// VariableHash::Read: variable_hash_header.variable_count.
constexpr int64_t MOST_VARIABLES = 0x7FFFFFF;
// FunctionManager::Read: function_list_header.function_count, function_header.parameter_count.
constexpr int64_t MOST_FUNCTIONS = 0x0FFFFFFF;
constexpr int64_t MOST_PARAMETERS = 0x0AAAAAAA;
// SegmentManager::Read: segment_list.entries.
constexpr int64_t MOST_SEGMENTS = 0x0FFFFFFF;
// LocalizedLanguages::Read: localized_language_header.index_count.
constexpr int64_t MOST_LANGUAGES = 0x07FFFFFF;
// The index section of language n is tagged 'L' 'X' and n in 16 bits (tag_language_index), so
// beyond 65536 languages two of them would share a tag and the loader would find the wrong one.
constexpr int64_t MOST_INDEXED_LANGUAGES = 65536;
// LocalizedIndex::Read: localized_index_header.index_count, the tighter of its bounds.
constexpr int64_t MOST_INDEX_ENTRIES = 0x0AAAAAAA;
// LocalizedDictionary::Read: loc_dictionary_header.entries.
constexpr int64_t MOST_PIECES = 0x0AAAAAAA;
// Offsets and sizes of the container are signed 32-bit.
constexpr int64_t MOST_FILE_BYTES = INT_MAX;

}  // namespace

const char* format_limit_exceeded(const FormatCounts& counts) {
    if (counts.dictionary_entries > MOST_DICTIONARY_ENTRIES) {
        return "More than 134217727 dictionary entries";
    }
    if (counts.dictionary_bytes > MOST_DICTIONARY_BYTES) {
        return "More than 2147475455 bytes of dictionary texts";
    }
    if (counts.globals > MOST_VARIABLES) return "More than 134217727 global variables";
    if (counts.systems > MOST_VARIABLES) return "More than 134217727 system variables";
    if (counts.functions > MOST_FUNCTIONS) return "More than 268435455 functions";
    if (counts.most_parameters > MOST_PARAMETERS) {
        return "More than 178956970 parameters in one function";
    }
    if (counts.most_locals > MOST_VARIABLES) {
        return "More than 134217727 local variables in one function";
    }
    if (counts.segments > MOST_SEGMENTS) return "More than 268435455 code segments";
    if (counts.languages > MOST_LANGUAGES) return "More than 134217727 languages";
    if (counts.index_per_language && counts.languages > MOST_INDEXED_LANGUAGES) {
        return "More than 65536 languages with an index each";
    }
    if (counts.most_index_entries > MOST_INDEX_ENTRIES) {
        return "More than 178956970 localized entries in one language";
    }
    if (counts.pieces > MOST_PIECES) return "More than 178956970 localized text pieces";
    if (counts.file_bytes > MOST_FILE_BYTES) return "File too large";
    return nullptr;
}
