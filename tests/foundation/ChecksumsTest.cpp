// CRC-32/BZIP2, Base64 and MD5 with HMAC against their published test vectors.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "foundation/Base64.h"
#include "foundation/Crc32.h"
#include "foundation/MD5Encoder.h"

namespace {

const unsigned char* bytes(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

unsigned crc_of(const std::string& s) {
    return crc32_final(crc32_data(crc32_init(), bytes(s.data()), static_cast<int>(s.size())));
}

std::string printable(const unsigned char* digest) {
    char out[MD5_PRINTABLE_SIZE];
    MD5Encoder::Make_Printable(digest, out);
    return std::string(out, MD5_PRINTABLE_SIZE);
}

std::string md5_of(const std::string& message) {
    unsigned char digest[MD5_DIGEST_SIZE];
    MD5Encoder encoder;
    encoder.Encode(bytes(message.data()), static_cast<unsigned>(message.size()), digest);
    return printable(digest);
}

std::string hmac_of(const std::string& message, const std::string& key) {
    unsigned char digest[MD5_DIGEST_SIZE];
    MD5Encoder encoder;
    encoder.HMAC(bytes(message.data()), static_cast<unsigned>(message.size()), bytes(key.data()),
                 static_cast<unsigned>(key.size()), digest);
    return printable(digest);
}

std::string encode(const std::string& in) {
    std::string out(((in.size() + 2) / 3) * 4, '?');
    int written = tn_base64_encode(bytes(in.data()), reinterpret_cast<unsigned char*>(&out[0]),
                                   static_cast<int>(in.size()));
    out.resize(written);
    return out;
}

std::string decode(const std::string& in) {
    std::string out(in.size() + 1, '?');
    int written = tn_base64_decode(bytes(in.data()), reinterpret_cast<unsigned char*>(&out[0]),
                                   static_cast<int>(in.size()));
    out.resize(written);
    return out;
}

}  // namespace

TEST(Crc32, Bzip2CheckValues) {
    EXPECT_EQ(crc_of("123456789"), 0xFC891918u);
    EXPECT_EQ(crc_of(""), 0u);
    EXPECT_EQ(crc_of(std::string(1, '\0')), 0xB1F7404Bu);
    // Feeding in parts gives the same register as feeding at once.
    unsigned crc = crc32_data(crc32_init(), bytes("1234"), 4);
    crc = crc32_data(crc, bytes("56789"), 5);
    EXPECT_EQ(crc32_final(crc), 0xFC891918u);
    EXPECT_EQ(crc32_data(0x1234u, bytes("x"), -1), 0x1234u);
    EXPECT_EQ(crc32_data(0x1234u, nullptr, 5), 0x1234u);
}

TEST(Base64, Rfc4648Vectors) {
    const struct {
        const char* plain;
        const char* encoded;
    } rows[] = {{"", ""},
                {"f", "Zg=="},
                {"fo", "Zm8="},
                {"foo", "Zm9v"},
                {"foob", "Zm9vYg=="},
                {"fooba", "Zm9vYmE="},
                {"foobar", "Zm9vYmFy"}};
    for (const auto& row : rows) {
        EXPECT_EQ(encode(row.plain), row.encoded);
        EXPECT_EQ(decode(row.encoded), row.plain);
    }
}

TEST(Base64, EveryByteValueRoundTrips) {
    std::string all;
    for (int b = 0; b < 256; b++) {
        all.push_back(static_cast<char>(b));
    }
    for (size_t length = 0; length <= all.size(); length += 37) {
        std::string piece = all.substr(all.size() - length);
        EXPECT_EQ(decode(encode(piece)), piece) << "length " << length;
    }
    EXPECT_EQ(encode("\xFB\xFF"), "+/8=");
}

TEST(Base64, DecoderIsLenient) {
    EXPECT_EQ(decode("Zm9v"), decode("Zm9v=="));
    EXPECT_EQ(decode("Zm9vYg"), "foob");   // padding is optional
    EXPECT_EQ(decode("Zm9vY"), "foo");     // a lone last character is dropped
    EXPECT_EQ(decode("Zm!v").size(), 3u);  // outside the alphabet: decoded, not refused
    EXPECT_EQ(tn_base64_decode(nullptr, nullptr, 4), 0);
    EXPECT_EQ(tn_base64_encode(bytes("abc"), nullptr, 3), 0);
    unsigned char out[4];
    EXPECT_EQ(tn_base64_encode(bytes("abc"), out, -1), 0);
}

TEST(MD5, Rfc1321Suite) {
    const struct {
        const char* message;
        const char* digest;
    } rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(md5_of(row.message), row.digest) << '"' << row.message << '"';
    }
}

TEST(MD5, PaddingBoundariesAndIncrementalFeeding) {
    // 55 bytes leave room for the length in the same block, 56 do not, 64 fill one exactly.
    EXPECT_EQ(md5_of(std::string(55, 'x')), "04364420e25c512fd958a70738aa8f72");
    EXPECT_EQ(md5_of(std::string(56, 'x')), "668a72d5ba17f08e62dabcafad6db14b");
    EXPECT_EQ(md5_of(std::string(64, 'x')), "c1bb4f81d892b2d57947682aeb252456");
    std::string message(1000, 'a');
    MD5Encoder encoder;
    unsigned char digest[MD5_DIGEST_SIZE];
    for (size_t at = 0; at < 990; at += 33) {
        encoder.Encode_Block(bytes(message.data() + at), 33);
    }
    encoder.Encode_Final(bytes(message.data() + 990), 10, digest);
    EXPECT_EQ(printable(digest), "cabe45dcc9ae5b66ba86600cca6b8ba8");
    encoder.Encode(nullptr, 0, digest);
    EXPECT_EQ(printable(digest), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(MD5, Rfc2202HmacCases) {
    std::string counting;
    for (char b = 1; b <= 25; b++) {
        counting.push_back(b);
    }
    const struct {
        std::string key;
        std::string message;
        const char* digest;
    } rows[] = {
        {std::string(16, '\x0b'), "Hi There", "9294727a3638bb1c13f48ef8158bfc9d"},
        {"Jefe", "what do ya want for nothing?", "750c783e6ab0b503eaa86e310a5db738"},
        {counting, std::string(50, '\xcd'), "697eaf0aca3a3aea3a75164746ffaa79"},
        {std::string(80, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First",
         "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
        {std::string(80, '\xaa'),
         "Test Using Larger Than Block-Size Key and Larger Than One Block-Size Data",
         "6f630fad67cda0ee1fb1f562db3aa53e"},
        // A key of exactly one block is used as it is; one byte more is replaced by its digest.
        {std::string(64, 'k'), "msg", "7350d7e9ec9d1235174e9ded54edfa8c"},
        {std::string(65, 'k'), "msg", "646873b97bb31948a476260501827daa"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(hmac_of(row.message, row.key), row.digest) << row.message;
    }
}
