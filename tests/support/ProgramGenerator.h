// Seeded generator of valid assembly sources: the same seed and shape always give the same
// text. Used by the round trip of generated programs in AssemblerParserTest.
#ifndef TARN_TESTS_SUPPORT_PROGRAMGENERATOR_H
#define TARN_TESTS_SUPPORT_PROGRAMGENERATOR_H

#include <cstdint>
#include <string>

struct ProgramShape {
    int functions = 8;           // internal functions with a body
    int external_functions = 2;  // external declarations
    int instructions_per_function = 40;
    int top_level_instructions = 10;
    int strings = 30;  // .string constants
    int globals = 6;
    int systems = 3;
    int max_parameters = 3;
    int max_locals = 4;
    int labels_per_function = 3;
    int localized = 4;  // .localized lines
    int languages = 2;  // languages used by .localized (above 1 raises .version)
    int idents = 2;
    int min_string_length = 0;
    int max_string_length = 40;
    bool disable_logging = false;
};

// Small shapes for unit tests, picked from the seed so that many runs cover many forms.
ProgramShape random_small_shape(uint32_t seed);

// The source text of one valid program of the given shape.
std::string generate_program(uint32_t seed, const ProgramShape& shape);

#endif
