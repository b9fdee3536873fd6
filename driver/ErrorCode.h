// Numbers of the assembly errors. A report prints the number itself ("AE_315"), so the values
// are fixed: users and scripts recognise errors by them.
#ifndef TARN_DRIVER_ERRORCODE_H
#define TARN_DRIVER_ERRORCODE_H

enum ErrorCode {
    // ---- directive processing and resolution ----
    AE_OPCODE_IN_EXTERNAL_DECLARATION = 301,
    AE_STRING_IDENTIFIER_NOT_FOUND = 302,
    AE_SYSTEM_IDENTIFIER_NOT_FOUND = 303,
    AE_GLOBAL_IDENTIFIER_NOT_FOUND = 304,
    // Both the grammar and directive processing use it for states no source can reach.
    AE_INTERNAL_ERROR = 305,
    AE_FUNCTION_IN_EXTERNAL_DECLARATION = 306,
    AE_NESTED_FUNCTION = 307,
    AE_DUPLICATE_FUNCTION = 308,
    AE_UNMATCHED_ENDFUNCTION = 309,
    AE_PARAMETER_OUTSIDE_FUNCTION = 310,
    AE_DUPLICATE_STRING_IDENTIFIER = 311,
    // An open function at the end of the file, or a function reference that names no function.
    AE_UNRESOLVED_AT_END = 313,

    // ---- statement grammar ----
    AE_UNRECOGNIZED_DIRECTIVE = 314,
    AE_UNRECOGNIZED_OPCODE = 315,
    AE_DUPLICATE_LABEL = 316,
    AE_UNEXPECTED_COLON = 317,
    AE_UNEXPECTED_COMMA = 318,
    AE_UNEXPECTED_NUMBER = 319,
    AE_UNEXPECTED_STRING = 320,
    AE_EXPECTED_IDENTIFIER = 321,
    AE_EXPECTED_QUOTED_STRING = 322,
    AE_EXPECTED_PARAMETER_TYPE = 323,
    AE_LOCALIZATION_STRING = 324,
    AE_LOCALIZED_LANGUAGES = 325,
    AE_EXPECTED_COMMA = 326,
    AE_UNKNOWN_PARAMETER_TYPE = 327,
    AE_UNKNOWN_FUNCTION_QUALIFIER = 328,

    // ---- function context ----
    AE_DUPLICATE_PARAMETER_IDENTIFIER = 329,
    AE_DUPLICATE_VARIABLE = 330,
    AE_DUPLICATE_VARIABLE_IDENTIFIER = 331,
    AE_UNRESOLVED_LOCAL = 332,
    AE_UNDEFINED_LABEL = 333,
    // Code that would pass the 2 GiB a segment's 32-bit positions can address.
    AE_SEGMENT_TOO_LARGE = 334,
};

#endif
