// How tndump writes the texts and numbers of a compiled file: quoted texts with the assembly
// language's own escapes, names, and doubles that read back bit for bit.
#ifndef TARN_DRIVER_DUMPTEXT_H
#define TARN_DRIVER_DUMPTEXT_H

#include <string>

class DumpText {
  public:
    // 'text' between double quotes; the quote, the backslash and every byte outside the
    // printable ASCII range become "\hh" with two lower-case hexadecimal digits, the only
    // escape the tokenizer reads, so the result is also a valid quoted string of the source.
    static std::string Quote(const char* text, int length);
    // Whether 'text' reads as one identifier token: a letter or '_', then letters, digits and
    // '_'.
    static bool IsIdentifier(const char* text, int length);
    // An identifier as it is, any other name quoted.
    static std::string Name(const char* text, int length);
    // The shortest text that reads back as the same double, for people ("1.5", "1e+300",
    // "inf", "-nan").
    static std::string Double(double value);
    // The shortest positional text (digits, one '.', an optional leading '-') that reads back
    // as the same finite double; the tokenizer knows no exponent.
    static std::string FixedDouble(double value);
    // "0x" and 'digits' upper-case hexadecimal digits of 'value'.
    static std::string Hex(unsigned value, int digits);
    // 'count' and the noun, with an "s" unless the count is 1 ("1 entry", "2 entries" are
    // given as 'one' and 'many').
    static std::string Count(long long count, const char* one, const char* many);
    // The buckets of a hashed table of 'bits' bucket bits: 2^'bits', and one for 32 bits, as
    // the readers take it.
    static unsigned Buckets(int bits);
    // The version word as major.minor.
    static std::string Version(int version);
    // A section tag for people: its four letters when they are printable, "LX n" for the
    // localization index of language n, else the word in hexadecimal.
    static std::string Tag(int tag);
    // printf-style text appended to 'out'.
    static void Append(std::string* out, const char* format, ...)
        __attribute__((format(printf, 2, 3)));
};

#endif
