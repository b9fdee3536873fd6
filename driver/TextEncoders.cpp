// The runtime's text encoders: HTML entities and attributes, NUL stripping, and JavaScript
// string literals.
#include "driver/TarnApplication.h"

#include <cstring>

#include "foundation/Conversions.h"
#include "foundation/LinkBuffer.h"

namespace {

// Blocks of the encoders' link buffers after the first, which is sized from the input.
constexpr int ENCODER_UNIT = 512;

int measured(const char* text, int length) {
    if (text == nullptr) return 0;
    return length == -1 ? static_cast<int>(std::strlen(text)) : (length < 0 ? 0 : length);
}

char* release_terminated(LinkBuffer* buffer, int* result_length, int* result_size) {
    int length = 0;
    int size = 0;
    char* result = buffer->release(&length, &size, 1);
    result[length] = '\0';
    if (result_length != nullptr) *result_length = length;
    if (result_size != nullptr) *result_size = size;
    return result;
}

// The entity for 'byte' in HTML text, or null when the byte stands for itself.
const char* text_entity(unsigned char byte) {
    switch (byte) {
        case '"':
            return "&quot;";
        case '&':
            return "&amp;";
        case '(':
            return "&#40;";
        case ')':
            return "&#41;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return nullptr;
    }
}

// Encodes 'text' replacing each byte for which 'entity' gives a text; runs of other bytes are
// appended in one piece.
template <typename EntityOf>
char* encode(const char* text, int length, int* result_length, int* result_size, EntityOf entity) {
    length = measured(text, length);
    LinkBuffer buffer(length + ENCODER_UNIT, ENCODER_UNIT);
    int run_start = 0;
    char numeric[8];
    for (int i = 0; i < length; ++i) {
        const char* replacement = entity(static_cast<unsigned char>(text[i]), numeric);
        if (replacement == nullptr) continue;
        if (i > run_start) buffer.cat(text + run_start, i - run_start);
        buffer.cat(replacement, -1);
        run_start = i + 1;
    }
    if (length > run_start) buffer.cat(text + run_start, length - run_start);
    return release_terminated(&buffer, result_length, result_size);
}

void cat_utf8(LinkBuffer* buffer, unsigned long code_point) {
    char bytes[4];
    int n;
    if (code_point < 0x80) {
        bytes[0] = static_cast<char>(code_point);
        n = 1;
    } else if (code_point < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | (code_point >> 6));
        bytes[1] = static_cast<char>(0x80 | (code_point & 63));
        n = 2;
    } else if (code_point < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | (code_point >> 12));
        bytes[1] = static_cast<char>(0x80 | ((code_point >> 6) & 63));
        bytes[2] = static_cast<char>(0x80 | (code_point & 63));
        n = 3;
    } else {
        bytes[0] = static_cast<char>(0xF0 | (code_point >> 18));
        bytes[1] = static_cast<char>(0x80 | ((code_point >> 12) & 63));
        bytes[2] = static_cast<char>(0x80 | ((code_point >> 6) & 63));
        bytes[3] = static_cast<char>(0x80 | (code_point & 63));
        n = 4;
    }
    buffer->cat(bytes, n);
}

// Length of the entity at 'text' (which starts with '&') when it is one that decodes, with its
// bytes appended to 'buffer'; 0 when it is not.
int decode_entity(const char* text, int length, LinkBuffer* buffer) {
    static const struct {
        const char* name;
        char byte;
    } NAMED[] = {{"&quot;", '"'}, {"&amp;", '&'}, {"&apos;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}};
    for (const auto& entity : NAMED) {
        int n = static_cast<int>(std::strlen(entity.name));
        if (n <= length && std::memcmp(text, entity.name, static_cast<size_t>(n)) == 0) {
            buffer->cat(&entity.byte, 1);
            return n;
        }
    }
    if (length < 4 || text[1] != '#') return 0;
    bool hexadecimal = text[2] == 'x' || text[2] == 'X';
    int i = hexadecimal ? 3 : 2;
    unsigned long code_point = 0;
    int digits = 0;
    for (; i < length && digits <= 6; ++i, ++digits) {
        int digit = digit_value(static_cast<unsigned char>(text[i]));
        if (digit < 0 || digit >= (hexadecimal ? 16 : 10)) break;
        code_point = code_point * (hexadecimal ? 16 : 10) + static_cast<unsigned long>(digit);
    }
    if (digits == 0 || digits > 6 || i >= length || text[i] != ';' || code_point > 0x10FFFF) {
        return 0;
    }
    cat_utf8(buffer, code_point);
    return i + 1;
}

char* decode(const char* text, int length, int* result_length, int* result_size) {
    length = measured(text, length);
    LinkBuffer buffer(length + ENCODER_UNIT, ENCODER_UNIT);
    int run_start = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i] != '&') continue;
        if (i > run_start) buffer.cat(text + run_start, i - run_start);
        int used = decode_entity(text + i, length - i, &buffer);
        run_start = used > 0 ? i + used : i;
        if (used > 0) i += used - 1;
    }
    if (length > run_start) buffer.cat(text + run_start, length - run_start);
    return release_terminated(&buffer, result_length, result_size);
}

// Characters a JavaScript string takes as they are (whatever the locale says is a letter).
bool javascript_plain(unsigned char byte) {
    if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= 'a' && byte <= 'z')) {
        return true;
    }
    return byte != 0 && std::strchr(" $+,-.:@_", byte) != nullptr;
}

void cat_unicode_escape(LinkBuffer* buffer, unsigned high, unsigned low) {
    buffer->cat("\\u", 2);
    buffer->cat_hex(static_cast<unsigned char>(high & 255));
    buffer->cat_hex(static_cast<unsigned char>(low & 255));
}

}  // namespace

char* TarnApplication::EncodeEntities(const char* text, int length, int* result_length,
                                      int* result_size) {
    return encode(text, length, result_length, result_size,
                  [](unsigned char byte, char*) { return text_entity(byte); });
}

String TarnApplication::EncodeEntities(const String& text) {
    int length = 0;
    int size = 0;
    char* encoded = EncodeEntities(text.c_str(), text.length(), &length, &size);
    return String(encoded, length, size);
}

char* TarnApplication::DecodeEntities(const char* text, int length, int* result_length,
                                      int* result_size) {
    return decode(text, length, result_length, result_size);
}

char* TarnApplication::EncodeAttribute(const char* text, int length, int* result_length,
                                       int* result_size) {
    return encode(text, length, result_length, result_size,
                  [](unsigned char byte, char* numeric) -> const char* {
                      if (byte == '\'') return "&#39;";
                      if (byte < 32) {
                          numeric[0] = '&';
                          numeric[1] = '#';
                          int n = 2;
                          if (byte >= 10) numeric[n++] = static_cast<char>('0' + byte / 10);
                          numeric[n++] = static_cast<char>('0' + byte % 10);
                          numeric[n++] = ';';
                          numeric[n] = '\0';
                          return numeric;
                      }
                      return text_entity(byte);
                  });
}

char* TarnApplication::DecodeAttribute(const char* text, int length, int* result_length,
                                       int* result_size) {
    return decode(text, length, result_length, result_size);
}

char* TarnApplication::StripNULLs(const char* text, int length, int* result_length,
                                  int* result_size) {
    return encode(text, length, result_length, result_size,
                  [](unsigned char byte, char*) { return byte == 0 ? "" : nullptr; });
}

// UTF-8 sequences become \u escapes of their UTF-16 units. Four-byte sequences are split into a
// surrogate pair without taking 0x10000 off first; the runtime's scripts are built against these
// exact escapes, so the formula stays.
LinkBuffer* TarnApplication::EncodeJavaScriptString(const char* text, int length,
                                                    LinkBuffer* buffer) {
    length = measured(text, length);
    if (buffer == nullptr) buffer = new LinkBuffer(length + ENCODER_UNIT, ENCODER_UNIT);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    for (int i = 0; i < length; ++i) {
        unsigned byte = bytes[i];
        int after = length - i - 1;  // bytes that follow this one
        if (javascript_plain(static_cast<unsigned char>(byte))) {
            buffer->cat(text + i, 1);
            continue;
        }
        switch (byte) {
            case '\b':
                buffer->cat("\\b", 2);
                continue;
            case '\t':
                buffer->cat("\\t", 2);
                continue;
            case '\n':
                buffer->cat("\\n", 2);
                continue;
            case '\f':
                buffer->cat("\\f", 2);
                continue;
            case '\r':
                buffer->cat("\\r", 2);
                continue;
            case '"':
                buffer->cat("\\\"", 2);
                continue;
            case '/':
                buffer->cat("\\/", 2);
                continue;
            case '\\':
                buffer->cat("\\\\", 2);
                continue;
            default:
                break;
        }
        if (utf8_ != 0) {
            if (byte >= 0xC2 && byte <= 0xDF && after >= 1) {
                unsigned next = bytes[i + 1];
                cat_unicode_escape(buffer, (byte >> 2) & 7, (byte << 6) | (next & 63));
                i += 1;
                continue;
            }
            if (byte >= 0xE0 && byte <= 0xEF && after >= 2) {
                unsigned b1 = bytes[i + 1];
                unsigned b2 = bytes[i + 2];
                cat_unicode_escape(buffer, ((b1 >> 2) & 15) | (byte << 4), (b1 << 6) | (b2 & 63));
                i += 2;
                continue;
            }
            if (byte >= 0xF0 && byte <= 0xF7 && after >= 3) {
                unsigned b1 = bytes[i + 1];
                unsigned b2 = bytes[i + 2];
                unsigned b3 = bytes[i + 3];
                cat_unicode_escape(buffer, 0xD8 | (byte & 3), ((b1 << 2) & 60) | ((b2 >> 4) & 3));
                cat_unicode_escape(buffer, 0xDC | ((b2 >> 2) & 3), (b2 << 6) | (b3 & 63));
                i += 3;
                continue;
            }
        }
        cat_unicode_escape(buffer, 0, byte);
    }
    return buffer;
}
