// Name hashing shared with the virtual machine, case-insensitive comparisons, and the
// substring searches over counted byte ranges.
#include "foundation/Hash.h"

#include <cctype>
#include <cstdint>

namespace {

// The golden ratio: the arbitrary starting value of lookup2's first two registers.
constexpr uint32_t GOLDEN_RATIO = 0x9E3779B9u;

// Rabin-Karp rolls its window hash in radix 32 modulo a prime below 2^25.
constexpr int64_t RK_RADIX = 32;
constexpr int64_t RK_MODULUS = 33554393;

// clang-format off
inline void mix(uint32_t& a, uint32_t& b, uint32_t& c) {
    a -= b; a -= c; a ^= c >> 13;
    b -= c; b -= a; b ^= a << 8;
    c -= a; c -= b; c ^= b >> 13;
    a -= b; a -= c; a ^= c >> 12;
    b -= c; b -= a; b ^= a << 16;
    c -= a; c -= b; c ^= b >> 5;
    a -= b; a -= c; a ^= c >> 3;
    b -= c; b -= a; b ^= a << 10;
    c -= a; c -= b; c ^= b >> 15;
}
// clang-format on

struct Exact {
    static uint32_t byte(unsigned char c) { return c; }
};

// Hashing folds each byte taken unsigned; the comparisons below take it signed.
struct Folded {
    static uint32_t byte(unsigned char c) { return static_cast<uint32_t>(std::tolower(c)); }
};

template <typename Fold>
uint32_t lookup2(const unsigned char* k, uint32_t length, uint32_t initial) {
    uint32_t a = GOLDEN_RATIO;
    uint32_t b = GOLDEN_RATIO;
    uint32_t c = initial;
    if (k == nullptr) {
        length = 0;
    }
    uint32_t remaining = length;
    auto word = [k](uint32_t at) {
        return Fold::byte(k[at]) + (Fold::byte(k[at + 1]) << 8) + (Fold::byte(k[at + 2]) << 16) +
               (Fold::byte(k[at + 3]) << 24);
    };
    uint32_t at = 0;
    while (remaining >= 12) {
        a += word(at);
        b += word(at + 4);
        c += word(at + 8);
        mix(a, b, c);
        at += 12;
        remaining -= 12;
    }
    c += length;
    // The lowest byte of c already holds the length, so the tail's bytes 8-10 go above it.
    switch (remaining) {
        case 11:
            c += Fold::byte(k[at + 10]) << 24;
            [[fallthrough]];
        case 10:
            c += Fold::byte(k[at + 9]) << 16;
            [[fallthrough]];
        case 9:
            c += Fold::byte(k[at + 8]) << 8;
            [[fallthrough]];
        case 8:
            b += Fold::byte(k[at + 7]) << 24;
            [[fallthrough]];
        case 7:
            b += Fold::byte(k[at + 6]) << 16;
            [[fallthrough]];
        case 6:
            b += Fold::byte(k[at + 5]) << 8;
            [[fallthrough]];
        case 5:
            b += Fold::byte(k[at + 4]);
            [[fallthrough]];
        case 4:
            a += Fold::byte(k[at + 3]) << 24;
            [[fallthrough]];
        case 3:
            a += Fold::byte(k[at + 2]) << 16;
            [[fallthrough]];
        case 2:
            a += Fold::byte(k[at + 1]) << 8;
            [[fallthrough]];
        case 1:
            a += Fold::byte(k[at]);
            break;
        default:
            break;
    }
    mix(a, b, c);
    return c;
}

// The comparisons take each byte as a signed char index into the C library's case tables,
// which are defined from -128 to 255: at -1 (the byte 0xFF, which is EOF) they hold -1, and at
// any other negative index i they hold i + 256, so the bytes 0x80 to 0xFE sort above every byte
// below 128 and 0xFF below them all. Hashing reads the same byte unsigned (Folded above): there
// 0xFF is 255. The two readings differ only in order, never in which bytes match, so the bucket
// that hashi picks holds every name that memcmpi calls equal.
template <int (*Map)(char)>
int compare_mapped(const void* p, const void* q, int count) {
    if (count <= 0 || p == nullptr || q == nullptr) {
        return 0;
    }
    const char* a = static_cast<const char*>(p);
    const char* b = static_cast<const char*>(q);
    for (int i = 0; i < count; i++) {
        if (a[i] == b[i]) continue;
        int x = Map(a[i]);
        int y = Map(b[i]);
        if (x != y) {
            return x < y ? -1 : 1;
        }
    }
    return 0;
}

inline unsigned char lower_byte(char c) {
    return static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(c)));
}

struct ExactChar {
    static unsigned char map(char c) { return static_cast<unsigned char>(c); }
};

struct LowerChar {
    static unsigned char map(char c) { return lower_byte(c); }
};

bool bad_arguments(const char* pattern, int m, const char* text, int n) {
    return pattern == nullptr || text == nullptr || m < 0 || n < 0 || m > n;
}

// Forward brute force: on a mismatch after k matched bytes, step back k and move one on.
template <typename Map>
int brute_force(const char* pattern, int m, const char* text, int n) {
    if (bad_arguments(pattern, m, text, n)) {
        return -1;
    }
    int i = 0;
    int k = 0;
    while (i < n && k < m) {
        if (Map::map(text[i]) == Map::map(pattern[k])) {
            i++;
            k++;
        } else {
            i = i - k + 1;
            k = 0;
        }
    }
    return k == m ? i - m : -1;
}

// Reverse brute force: from the text's last byte, pattern bytes from the last one backwards.
template <typename Map>
int brute_force_reverse(const char* pattern, int m, const char* text, int n) {
    if (bad_arguments(pattern, m, text, n) || m == 0) {
        return -1;
    }
    int i = n - 1;
    int k = m - 1;
    while (i >= 0) {
        if (Map::map(text[i]) == Map::map(pattern[k])) {
            if (k == 0) {
                return i;
            }
            i--;
            k--;
        } else {
            i = i + (m - 1 - k) - 1;
            k = m - 1;
        }
    }
    return -1;
}

// Boyer-Moore with the bad-character table only; the rightmost occurrence sets the skip.
template <typename Map>
int boyer_moore(const char* pattern, int m, const char* text, int n) {
    if (bad_arguments(pattern, m, text, n)) {
        return -1;
    }
    if (m == 0) {
        return 0;
    }
    int32_t skip[256];
    for (int32_t& entry : skip) {
        entry = m;
    }
    for (int i = 0; i < m; i++) {
        skip[Map::map(pattern[i])] = m - 1 - i;
    }
    int i = m - 1;
    int j = m - 1;
    for (;;) {
        while (j >= 0 && Map::map(text[i]) == Map::map(pattern[j])) {
            i--;
            j--;
        }
        if (j < 0) {
            return i + 1;
        }
        int by_table = skip[Map::map(text[i])];
        i += m - j > by_table ? m - j : by_table;
        if (i >= n) {
            return -1;
        }
        j = m - 1;
    }
}

// Mirrored Boyer-Moore: windows move leftwards from the end, the leftmost occurrence sets the
// skip, and the pattern is compared forwards.
template <typename Map>
int boyer_moore_reverse(const char* pattern, int m, const char* text, int n) {
    if (bad_arguments(pattern, m, text, n) || m == 0) {
        return -1;
    }
    int32_t skip[256];
    for (int32_t& entry : skip) {
        entry = m;
    }
    for (int i = m - 1; i >= 0; i--) {
        skip[Map::map(pattern[i])] = i;
    }
    int i = n - m;
    int j = 0;
    for (;;) {
        while (j < m && Map::map(text[i]) == Map::map(pattern[j])) {
            i++;
            j++;
        }
        if (j == m) {
            return i - m;
        }
        int by_table = skip[Map::map(text[i])];
        i -= by_table > j ? by_table : j + 1;
        if (i < 0) {
            return -1;
        }
        j = 0;
    }
}

inline int exact_signed(char c) {
    return static_cast<signed char>(c);
}

inline int64_t rk_mod(int64_t v) {
    v %= RK_MODULUS;
    return v < 0 ? v + RK_MODULUS : v;
}

// Rabin-Karp over signed bytes. The window is rolled before it is compared, so the window at 0
// is never reported, and the last roll takes in the byte just past the text: callers pass
// terminated texts, and a match may end on the terminator. Both are kept as callers know them.
template <int (*Map)(char)>
int rabin_karp(const char* pattern, int m, const char* text, int n) {
    if (bad_arguments(pattern, m, text, n) || m == 0) {
        return -1;
    }
    int64_t weight = 1;
    for (int i = 1; i < m; i++) {
        weight = rk_mod(weight * RK_RADIX);
    }
    int64_t pattern_hash = 0;
    int64_t window_hash = 0;
    for (int i = 0; i < m; i++) {
        pattern_hash = rk_mod(pattern_hash * RK_RADIX + Map(pattern[i]));
        window_hash = rk_mod(window_hash * RK_RADIX + Map(text[i]));
    }
    for (int i = 0; i <= n - m; i++) {
        window_hash =
            rk_mod(rk_mod(window_hash + RK_RADIX * RK_MODULUS - Map(text[i]) * weight) * RK_RADIX +
                   Map(text[i + m]));
        if (window_hash != pattern_hash) {
            continue;
        }
        int k = 0;
        while (k < m && Map(text[i + 1 + k]) == Map(pattern[k])) {
            k++;
        }
        if (k == m) {
            return i + 1;
        }
    }
    return -1;
}

}  // namespace

uint32_t hash(const unsigned char* key, uint32_t length, uint32_t initial) {
    return lookup2<Exact>(key, length, initial);
}

uint32_t hashi(const unsigned char* key, uint32_t length, uint32_t initial) {
    return lookup2<Folded>(key, length, initial);
}

int memcmpi(const void* p, const void* q, int count) {
    return compare_mapped<fold_lower>(p, q, count);
}

int memcmpi_upper(const void* p, const void* q, int count) {
    return compare_mapped<fold_upper>(p, q, count);
}

// ---- searches ----

int bf_search(const char* pattern, int m, const char* text, int n) {
    if (n < 1) {
        return -1;
    }
    return brute_force<ExactChar>(pattern, m, text, n);
}

int bf_searchi(const char* pattern, int m, const char* text, int n) {
    return brute_force<LowerChar>(pattern, m, text, n);
}

int bf_search_reverse(const char* pattern, int m, const char* text, int n) {
    if (n < 1) {
        return -1;
    }
    return brute_force_reverse<ExactChar>(pattern, m, text, n);
}

int bf_searchi_reverse(const char* pattern, int m, const char* text, int n) {
    return brute_force_reverse<LowerChar>(pattern, m, text, n);
}

int bm_search(const char* pattern, int m, const char* text, int n) {
    return boyer_moore<ExactChar>(pattern, m, text, n);
}

int bm_searchi(const char* pattern, int m, const char* text, int n) {
    return boyer_moore<LowerChar>(pattern, m, text, n);
}

int bm_search_reverse(const char* pattern, int m, const char* text, int n) {
    return boyer_moore_reverse<ExactChar>(pattern, m, text, n);
}

int bm_searchi_reverse(const char* pattern, int m, const char* text, int n) {
    return boyer_moore_reverse<LowerChar>(pattern, m, text, n);
}

int rk_search(const char* pattern, int m, const char* text, int n) {
    return rabin_karp<exact_signed>(pattern, m, text, n);
}

int rk_searchi(const char* pattern, int m, const char* text, int n) {
    return rabin_karp<fold_lower>(pattern, m, text, n);
}
