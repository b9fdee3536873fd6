// What a compiled file can hold: the counts and sizes that its readers accept, checked before a
// file is written, so that the assembler never writes one that the loader refuses or whose
// 32-bit counts and offsets would wrap.
#ifndef TARN_COMPILED_FORMATLIMITS_H
#define TARN_COMPILED_FORMATLIMITS_H

#include <cstdint>

// The counts of a file about to be written. Sizes are in bytes.
struct FormatCounts {
    int64_t dictionary_entries = 0;
    int64_t dictionary_bytes = 0;  // the texts' bytes after compression
    int64_t globals = 0;
    int64_t systems = 0;
    int64_t functions = 0;
    int64_t most_parameters = 0;  // of any one function
    int64_t most_locals = 0;      // variables of any one function's table
    int64_t segments = 0;
    int64_t languages = 0;
    // Whether each language has an index section of its own (version 1.8 and later), which is
    // tagged with the language's number in 16 bits.
    bool index_per_language = false;
    int64_t most_index_entries = 0;  // of any one language
    int64_t pieces = 0;              // of the localized dictionary
    int64_t file_bytes = 0;          // the whole file, at most
};

// Why a file of these counts cannot be written, as a short text for the "Unable to create"
// report, or null when it can.
const char* format_limit_exceeded(const FormatCounts& counts);

#endif
