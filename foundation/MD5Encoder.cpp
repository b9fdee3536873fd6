// MD5 message digest, whole or incremental, with HMAC-MD5 and a printable form.
#include "foundation/MD5Encoder.h"

#include <cstring>

namespace {

constexpr unsigned MD5_BLOCK_SIZE = 64;
// HMAC pads: the key, zero-padded to one block, is XORed with these.
constexpr unsigned char HMAC_INNER_PAD = 0x36;
constexpr unsigned char HMAC_OUTER_PAD = 0x5C;

// Per-step additive constants, floor(abs(sin(i + 1)) * 2^32), and the rotations of each round.
// clang-format off
constexpr uint32_t MD5_SINES[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};
constexpr int MD5_SHIFTS[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
// clang-format on

inline uint32_t rotate_left(uint32_t x, int n) {
    return (x << n) | (x >> (32 - n));
}

inline uint32_t get_le32(const unsigned char* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

inline void put_le32(unsigned char* p, uint32_t v) {
    for (int i = 0; i < 4; i++) {
        p[i] = static_cast<unsigned char>(v >> (8 * i));
    }
}

}  // namespace

MD5Encoder::MD5Encoder() {
    Reset();
}

void MD5Encoder::Reset() {
    state_[0] = 0x67452301;
    state_[1] = 0xefcdab89;
    state_[2] = 0x98badcfe;
    state_[3] = 0x10325476;
    byte_count_ = 0;
    pending_length_ = 0;
}

void MD5Encoder::Encode(const unsigned char* data, unsigned length, unsigned char* digest) {
    Reset();
    Encode_Final(data, length, digest);
}

void MD5Encoder::Encode_Block(const unsigned char* data, unsigned length) {
    if (data == nullptr) {
        return;
    }
    byte_count_ += length;
    while (length > 0) {
        unsigned take = MD5_BLOCK_SIZE - pending_length_;
        if (take > length) {
            take = length;
        }
        std::memcpy(pending_ + pending_length_, data, take);
        pending_length_ += take;
        data += take;
        length -= take;
        if (pending_length_ == MD5_BLOCK_SIZE) {
            Transform(pending_);
            pending_length_ = 0;
        }
    }
}

void MD5Encoder::Encode_Final(const unsigned char* data, unsigned length, unsigned char* digest) {
    Encode_Block(data, length);
    // Padding: a 1 bit, zeros up to 56 bytes into a block, then the bit count little-endian.
    uint64_t bit_count = byte_count_ * 8;
    static const unsigned char padding[MD5_BLOCK_SIZE] = {0x80};
    unsigned pad_length = pending_length_ < 56 ? 56 - pending_length_ : 120 - pending_length_;
    Encode_Block(padding, pad_length);
    unsigned char count_bytes[8];
    put_le32(count_bytes, static_cast<uint32_t>(bit_count));
    put_le32(count_bytes + 4, static_cast<uint32_t>(bit_count >> 32));
    Encode_Block(count_bytes, 8);
    if (digest != nullptr) {
        for (int i = 0; i < 4; i++) {
            put_le32(digest + 4 * i, state_[i]);
        }
    }
}

void MD5Encoder::HMAC(const unsigned char* message, unsigned message_length,
                      const unsigned char* key, unsigned key_length, unsigned char* digest) {
    unsigned char key_digest[MD5_DIGEST_SIZE];
    if (key == nullptr) {
        key_length = 0;
    }
    if (key_length > MD5_BLOCK_SIZE) {
        Encode(key, key_length, key_digest);
        key = key_digest;
        key_length = MD5_DIGEST_SIZE;
    }
    unsigned char inner_pad[MD5_BLOCK_SIZE] = {};
    unsigned char outer_pad[MD5_BLOCK_SIZE] = {};
    if (key_length > 0) {
        std::memcpy(inner_pad, key, key_length);
        std::memcpy(outer_pad, key, key_length);
    }
    for (unsigned i = 0; i < MD5_BLOCK_SIZE; i++) {
        inner_pad[i] ^= HMAC_INNER_PAD;
        outer_pad[i] ^= HMAC_OUTER_PAD;
    }
    unsigned char inner_digest[MD5_DIGEST_SIZE];
    Reset();
    Encode_Block(inner_pad, MD5_BLOCK_SIZE);
    Encode_Final(message, message_length, inner_digest);
    Reset();
    Encode_Block(outer_pad, MD5_BLOCK_SIZE);
    Encode_Final(inner_digest, MD5_DIGEST_SIZE, digest);
}

void MD5Encoder::Make_Printable(const unsigned char* digest, char* out) {
    static const char hex_digits[] = "0123456789abcdef";
    if (digest == nullptr || out == nullptr) {
        return;
    }
    for (int i = 0; i < MD5_DIGEST_SIZE; i++) {
        out[2 * i] = hex_digits[digest[i] >> 4];
        out[2 * i + 1] = hex_digits[digest[i] & 0x0F];
    }
}

void MD5Encoder::Transform(const unsigned char* block) {
    uint32_t words[16];
    for (int i = 0; i < 16; i++) {
        words[i] = get_le32(block + 4 * i);
    }
    uint32_t a = state_[0], b = state_[1], c = state_[2], d = state_[3];
    for (int step = 0; step < 64; step++) {
        int round = step / 16;
        uint32_t f;
        int word;
        switch (round) {
            case 0:
                f = (b & c) | (~b & d);
                word = step;
                break;
            case 1:
                f = (d & b) | (~d & c);
                word = (5 * step + 1) % 16;
                break;
            case 2:
                f = b ^ c ^ d;
                word = (3 * step + 5) % 16;
                break;
            default:
                f = c ^ (b | ~d);
                word = (7 * step) % 16;
                break;
        }
        uint32_t rotated =
            rotate_left(a + f + MD5_SINES[step] + words[word], MD5_SHIFTS[round][step % 4]);
        a = d;
        d = c;
        c = b;
        b += rotated;
    }
    state_[0] += a;
    state_[1] += b;
    state_[2] += c;
    state_[3] += d;
}
