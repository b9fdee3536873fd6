// MD5 message digest, whole or incremental, with HMAC-MD5 and a printable form.
#ifndef TARN_FOUNDATION_MD5ENCODER_H
#define TARN_FOUNDATION_MD5ENCODER_H

#include <cstdint>

// Bytes of a digest, and characters of its printable form (no NUL is written).
constexpr int MD5_DIGEST_SIZE = 16;
constexpr int MD5_PRINTABLE_SIZE = 32;

class MD5Encoder {
  public:
    MD5Encoder();

    // A fresh state, ready for a new message.
    void Reset();
    // Reset, then the whole message; writes the 16-byte digest.
    void Encode(const unsigned char* data, unsigned length, unsigned char* digest);
    // Incremental form: feed any number of parts, then the last part with Encode_Final.
    void Encode_Block(const unsigned char* data, unsigned length);
    void Encode_Final(const unsigned char* data, unsigned length, unsigned char* digest);
    // HMAC-MD5 with a 64-byte block: a longer key is replaced by its digest first.
    void HMAC(const unsigned char* message, unsigned message_length, const unsigned char* key,
              unsigned key_length, unsigned char* digest);

    // The 16 digest bytes as 32 lower-case hexadecimal characters, without a NUL.
    static void Make_Printable(const unsigned char* digest, char* out);

  private:
    void Transform(const unsigned char* block);

    uint32_t state_[4];
    uint64_t byte_count_;
    unsigned char pending_[64];
    unsigned pending_length_;
};

#endif
