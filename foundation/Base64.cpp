// Base64 of the standard alphabet with '=' padding, as one unbroken line.
#include "foundation/Base64.h"

#include <array>

namespace {

constexpr char BASE64_ALPHABET[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Reverse table over all 256 byte values; bytes outside the alphabet map to 0 so that a
// damaged text still decodes to something of the expected length.
constexpr std::array<unsigned char, 256> make_reverse_table() {
    std::array<unsigned char, 256> table{};
    for (int i = 0; i < 64; i++) {
        table[static_cast<unsigned char>(BASE64_ALPHABET[i])] = static_cast<unsigned char>(i);
    }
    return table;
}

constexpr std::array<unsigned char, 256> BASE64_REVERSE = make_reverse_table();

unsigned char encode_digit(unsigned value) {
    return static_cast<unsigned char>(BASE64_ALPHABET[value & 0x3F]);
}

unsigned decode_digit(unsigned char c) {
    return BASE64_REVERSE[c];
}

}  // namespace

int tn_base64_encode(const unsigned char* in, unsigned char* out, int length) {
    if (in == nullptr || out == nullptr || length < 1) {
        return 0;
    }
    int written = 0;
    int i = 0;
    for (; length - i >= 3; i += 3) {
        unsigned group = (unsigned(in[i]) << 16) | (unsigned(in[i + 1]) << 8) | in[i + 2];
        out[written++] = encode_digit(group >> 18);
        out[written++] = encode_digit(group >> 12);
        out[written++] = encode_digit(group >> 6);
        out[written++] = encode_digit(group);
    }
    int remaining = length - i;
    if (remaining == 1) {
        unsigned group = unsigned(in[i]) << 16;
        out[written++] = encode_digit(group >> 18);
        out[written++] = encode_digit(group >> 12);
        out[written++] = '=';
        out[written++] = '=';
    } else if (remaining == 2) {
        unsigned group = (unsigned(in[i]) << 16) | (unsigned(in[i + 1]) << 8);
        out[written++] = encode_digit(group >> 18);
        out[written++] = encode_digit(group >> 12);
        out[written++] = encode_digit(group >> 6);
        out[written++] = '=';
    }
    return written;
}

int tn_base64_decode(const unsigned char* in, unsigned char* out, int length) {
    if (in == nullptr || out == nullptr || length < 1) {
        return 0;
    }
    // At most two '=' of padding are dropped; anything else goes through the table.
    for (int dropped = 0; dropped < 2 && length > 0 && in[length - 1] == '='; dropped++) {
        length--;
    }
    int written = 0;
    int i = 0;
    for (; length - i >= 4; i += 4) {
        unsigned group = (decode_digit(in[i]) << 18) | (decode_digit(in[i + 1]) << 12) |
                         (decode_digit(in[i + 2]) << 6) | decode_digit(in[i + 3]);
        out[written++] = static_cast<unsigned char>(group >> 16);
        out[written++] = static_cast<unsigned char>(group >> 8);
        out[written++] = static_cast<unsigned char>(group);
    }
    int remaining = length - i;
    if (remaining >= 2) {
        unsigned group = (decode_digit(in[i]) << 18) | (decode_digit(in[i + 1]) << 12);
        if (remaining == 3) {
            group |= decode_digit(in[i + 2]) << 6;
        }
        out[written++] = static_cast<unsigned char>(group >> 16);
        if (remaining == 3) {
            out[written++] = static_cast<unsigned char>(group >> 8);
        }
    }
    return written;
}
