// How tndump writes texts and numbers.
#include "driver/DumpText.h"

#include <cctype>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace {

// Room for the longest shortest positional double: the 309 integer digits of the largest one,
// or "0." and the 324 digits of the smallest subnormal, with a sign.
constexpr int FIXED_DOUBLE_SIZE = 400;

}  // namespace

std::string DumpText::Quote(const char* text, int length) {
    std::string quoted = "\"";
    for (int i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
            quoted += static_cast<char>(c);
        } else {
            char escape[4];
            std::snprintf(escape, sizeof escape, "\\%02x", c);
            quoted += escape;
        }
    }
    quoted += '"';
    return quoted;
}

bool DumpText::IsIdentifier(const char* text, int length) {
    if (length <= 0) return false;
    unsigned char first = static_cast<unsigned char>(text[0]);
    if (!std::isalpha(first) && first != '_') return false;
    for (int i = 1; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (!std::isalnum(c) && c != '_') return false;
    }
    return true;
}

std::string DumpText::Name(const char* text, int length) {
    if (IsIdentifier(text, length)) return std::string(text, static_cast<size_t>(length));
    return Quote(text, length);
}

std::string DumpText::Double(double value) {
    char text[64];
    std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::string DumpText::FixedDouble(double value) {
    char text[FIXED_DOUBLE_SIZE];
    std::to_chars_result result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed);
    if (result.ec != std::errc()) return std::string();
    return std::string(text, result.ptr);
}

std::string DumpText::Hex(unsigned value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, value);
    return text;
}

std::string DumpText::Count(long long count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

unsigned DumpText::Buckets(int bits) {
    return 1u << (bits & 31);
}

std::string DumpText::Version(int version) {
    unsigned word = static_cast<unsigned>(version);
    return std::to_string(word >> 16) + "." + std::to_string(word & 0xFFFF);
}

std::string DumpText::Tag(int tag) {
    unsigned word = static_cast<unsigned>(tag);
    if ((word & 0xFFFF) == 0x584C) return "LX " + std::to_string(word >> 16);
    std::string letters;
    for (int i = 0; i < 4; ++i) {
        unsigned char c = static_cast<unsigned char>(word >> (8 * i));
        if (c < 0x20 || c >= 0x7F) return Hex(word, 8);
        letters += static_cast<char>(c);
    }
    return letters;
}

void DumpText::Append(std::string* out, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length > 0) {
        std::vector<char> text(static_cast<size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        out->append(text.data(), static_cast<size_t>(length));
    }
    va_end(again);
}
