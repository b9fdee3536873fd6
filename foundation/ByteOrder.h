// Little-endian put/get helpers: the one way any multi-byte value enters or leaves a compiled
// file. Values are split and assembled byte by byte, never copied as native words.
#ifndef TARN_FOUNDATION_BYTEORDER_H
#define TARN_FOUNDATION_BYTEORDER_H

#include <cstdint>
#include <cstring>

inline void put_u8(unsigned char* p, uint32_t v) { p[0] = static_cast<unsigned char>(v); }

inline void put_u16(unsigned char* p, uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

inline void put_u32(unsigned char* p, uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}

inline void put_u64(unsigned char* p, uint64_t v) {
    put_u32(p, static_cast<uint32_t>(v));
    put_u32(p + 4, static_cast<uint32_t>(v >> 32));
}

inline void put_double(unsigned char* p, double d) {
    uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    put_u64(p, bits);
}

inline uint32_t get_u8(const unsigned char* p) { return p[0]; }

inline uint32_t get_u16(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8);
}

inline int16_t get_s16(const unsigned char* p) { return static_cast<int16_t>(get_u16(p)); }

inline uint32_t get_u32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

inline int32_t get_s32(const unsigned char* p) { return static_cast<int32_t>(get_u32(p)); }

inline uint64_t get_u64(const unsigned char* p) {
    return static_cast<uint64_t>(get_u32(p)) | (static_cast<uint64_t>(get_u32(p + 4)) << 32);
}

inline double get_double(const unsigned char* p) {
    uint64_t bits = get_u64(p);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

#endif
