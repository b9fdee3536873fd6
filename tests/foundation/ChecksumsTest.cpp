// CRC-32/BZIP2, Base64 and MD5 with HMAC: one published vector each, and the boundaries where
// they go wrong.
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

TEST(Crc32, Bzip2CheckValueAtOnceAndInParts) {
    EXPECT_EQ(crc_of("123456789"), 0xFC891918u);
    unsigned crc = crc32_data(crc32_init(), bytes("1234"), 4);
    EXPECT_EQ(crc32_final(crc32_data(crc, bytes("56789"), 5)), 0xFC891918u);
}

TEST(Base64, EncodesWithPaddingAndDecodesLeniently) {
    const char* const plain[] = {"", "f", "fo", "foo", "foob", "fooba", "foobar"};
    const char* const encoded[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    for (int i = 0; i < 7; i++) {
        EXPECT_EQ(encode(plain[i]), encoded[i]);
        EXPECT_EQ(decode(encoded[i]), plain[i]);
    }
    std::string all;
    for (int b = 0; b < 256; b++) all.push_back(static_cast<char>(b));
    EXPECT_EQ(decode(encode(all)), all);
    EXPECT_EQ(encode("\xFB\xFF"), "+/8=");
    EXPECT_EQ(decode("Zm9vYg"), "foob");  // padding is optional
    EXPECT_EQ(decode("Zm9vY"), "foo");    // a lone last character is dropped
}

TEST(MD5, DigestAcrossThePaddingBoundaryAndInBlocks) {
    EXPECT_EQ(md5_of("abc"), "900150983cd24fb0d6963f7d28e17f72");
    // 55 bytes leave room for the length in the same block, 56 do not.
    EXPECT_EQ(md5_of(std::string(55, 'x')), "04364420e25c512fd958a70738aa8f72");
    EXPECT_EQ(md5_of(std::string(56, 'x')), "668a72d5ba17f08e62dabcafad6db14b");
    // In pieces that straddle the 64-byte blocks.
    std::string message(1000, 'a');
    MD5Encoder encoder;
    unsigned char digest[MD5_DIGEST_SIZE];
    for (size_t at = 0; at < 990; at += 33) encoder.Encode_Block(bytes(message.data() + at), 33);
    encoder.Encode_Final(bytes(message.data() + 990), 10, digest);
    EXPECT_EQ(printable(digest), "cabe45dcc9ae5b66ba86600cca6b8ba8");
}

TEST(MD5, HmacWithShortAndOverlongKeys) {
    EXPECT_EQ(hmac_of("what do ya want for nothing?", "Jefe"), "750c783e6ab0b503eaa86e310a5db738");
    // A key of one block is used as it is; one byte more is replaced by its digest.
    EXPECT_EQ(hmac_of("msg", std::string(64, 'k')), "7350d7e9ec9d1235174e9ded54edfa8c");
    EXPECT_EQ(hmac_of("msg", std::string(65, 'k')), "646873b97bb31948a476260501827daa");
}
