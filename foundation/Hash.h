// Name hashing shared with the virtual machine, case-insensitive comparisons, and the
// substring searches over counted byte ranges.
#ifndef TARN_FOUNDATION_HASH_H
#define TARN_FOUNDATION_HASH_H

#include <ctype.h>

#include <cstdint>

// The lookup2 hash. The compiled file stores buckets that the virtual machine probes with this
// same function, so it is part of the file format and must not change by a single bit.
uint32_t hash(const unsigned char* key, uint32_t length, uint32_t initial);
// As hash, with every byte first mapped through tolower: the hash of every table that matches
// names regardless of case.
uint32_t hashi(const unsigned char* key, uint32_t length, uint32_t initial);

inline uint32_t hash(const char* key, uint32_t length, uint32_t initial) {
    return hash(reinterpret_cast<const unsigned char*>(key), length, initial);
}
inline uint32_t hashi(const char* key, uint32_t length, uint32_t initial) {
    return hashi(reinterpret_cast<const unsigned char*>(key), length, initial);
}

// Bucket of a hash in a table of 2^'bucket_bits' buckets; the bit count is taken modulo 32,
// so 0 and 32 both give the single bucket 0.
inline uint32_t hash_bucket(uint32_t h, int bucket_bits) {
    return h & ~(0xFFFFFFFFu << (static_cast<unsigned>(bucket_bits) & 31));
}

// Compare 'count' bytes through tolower (memcmpi) or toupper (memcmpi_upper), each byte taken as
// a signed char index into the C library's case tables: -1, 0 or 1. So 0xFF (EOF, -1) sorts
// below every other byte and 0x80-0xFE above every byte below 128. A count of 0 or less is
// equal whatever the pointers.
int memcmpi(const void* p, const void* q, int count);
int memcmpi_upper(const void* p, const void* q, int count);

// One byte as memcmpi maps it: -1 for 0xFF, 128 to 254 for 0x80 to 0xFE, the lower case of the
// others. The C library's table is read directly: called with a negative argument, tolower is
// outside what the language promises, and the compiler may fold comparisons of its result by
// the range it assumes rather than by the table.
inline int fold_lower(char c) {
    return (*__ctype_tolower_loc())[static_cast<signed char>(c)];
}
inline int fold_upper(char c) {
    return (*__ctype_toupper_loc())[static_cast<signed char>(c)];
}

// ---- searches ----
// Each takes (pattern, pattern_length, text, text_length) and returns the index in the text of
// the first byte of the match found, or -1. The 'i' forms compare through tolower.

int bf_search(const char* pattern, int m, const char* text, int n);
int bf_searchi(const char* pattern, int m, const char* text, int n);
int bf_search_reverse(const char* pattern, int m, const char* text, int n);
int bf_searchi_reverse(const char* pattern, int m, const char* text, int n);
int bm_search(const char* pattern, int m, const char* text, int n);
int bm_searchi(const char* pattern, int m, const char* text, int n);
int bm_search_reverse(const char* pattern, int m, const char* text, int n);
int bm_searchi_reverse(const char* pattern, int m, const char* text, int n);
// Rabin-Karp never reports a match at position 0: the window is rolled before it is compared.
int rk_search(const char* pattern, int m, const char* text, int n);
int rk_searchi(const char* pattern, int m, const char* text, int n);

#endif
