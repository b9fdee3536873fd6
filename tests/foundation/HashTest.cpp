// The lookup2 name hash (part of the compiled file's format), the case-insensitive
// comparisons and the search family.
#include "foundation/Hash.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

constexpr char ALPHABET[] = "abcdefghijklmnopqrstuvwxyz";
constexpr char ALPHABET_UPPER[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// lookup2 of the first n letters of ALPHABET with initial value 0, from a separate
// implementation of the algorithm; lengths 0 to 25 reach every tail case and two rounds.
constexpr uint32_t ALPHABET_PREFIX_HASHES[26] = {
    0xBD49D10D, 0x29EEC818, 0x9879AC41, 0x251E4793, 0x5AE61FA5, 0x03A96866, 0xDE922732,
    0xB9E6762C, 0x053F775E, 0x3A7B0A5F, 0xC9CAC242, 0xE52B8E4C, 0x0B1B3EA5, 0x3122B031,
    0xFEC330E0, 0x11DCCF31, 0xFA1ECF51, 0x25DFECF2, 0x6731DF7E, 0x4B65A544, 0xF2A2E1CF,
    0x30A943F8, 0xBF6C0B42, 0x68E5FF21, 0xD6638B78, 0x720B6730};

}  // namespace

TEST(Hash, Lookup2OverEveryTailLength) {
    for (uint32_t n = 0; n < 26; n++) {
        EXPECT_EQ(hash(ALPHABET, n, 0), ALPHABET_PREFIX_HASHES[n]) << "length " << n;
        EXPECT_EQ(hashi(ALPHABET_UPPER, n, 0), ALPHABET_PREFIX_HASHES[n]) << "length " << n;
    }
}

TEST(Hash, InitialValueHighBytesAndTheBucketMask) {
    EXPECT_EQ(hash("pushl", 5, 254), 0x26172880u);
    const unsigned char high[] = {0xC4, 0x80, 0xFF};
    EXPECT_EQ(hash(high, 3, 0), 0xB44FB8E5u);
    EXPECT_EQ(hashi(high, 3, 0), 0xB44FB8E5u);
    // Bucket bits are taken modulo 32.
    uint32_t h = hashi("counter", 7, 0);
    EXPECT_EQ(hash_bucket(h, 8), h & 0xFF);
    EXPECT_EQ(hash_bucket(h, 0), 0u);
    EXPECT_EQ(hash_bucket(h, 32), 0u);
    EXPECT_EQ(hash_bucket(h, 31), h & 0x7FFFFFFF);
}

TEST(Hash, CaseInsensitiveCompare) {
    const struct {
        const char* p;
        const char* q;
        int count;
        int lower;
        int upper;
    } rows[] = {
        {"ABC", "abd", 3, -1, -1},
        {"abc", "ABC", 3, 0, 0},
        {"abd", "ABC", 3, 1, 1},
        {"abc", "abd", 2, 0, 0},
        {"x", "y", 0, 0, 0},
        {"x", "y", -4, 0, 0},
        // '_' lies between the upper and lower case letters, so the two tables disagree.
        {"_", "a", 1, -1, 1},
        // Bytes above 127 sort above every byte below it, 0xFF (EOF in the tables) below all.
        {"\x80", "a", 1, 1, 1},
        {"\xFF", "\x01", 1, -1, -1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(memcmpi(row.p, row.q, row.count), row.lower) << row.p << " " << row.q;
        EXPECT_EQ(memcmpi_upper(row.p, row.q, row.count), row.upper) << row.p << " " << row.q;
    }
    EXPECT_EQ(memcmpi(nullptr, nullptr, 0), 0);
}

// Not-found cases, case folding and the quirks; found positions are checked against the
// brute-force search below.
TEST(Hash, SearchFamily) {
    using Search = int (*)(const char*, int, const char*, int);
    const struct {
        const char* name;
        Search search;
        const char* pattern;
        const char* text;
        int expected;
    } rows[] = {
        {"bm", bm_search, "aa", "baaa", 1},
        {"bm_reverse", bm_search_reverse, "aa", "baaa", 2},
        {"rk", rk_search, "ab", "abab", 2},
        {"bf", bf_search, "aab", "aaab", 1},
        {"bf", bf_search, "", "", -1},
        {"bfi", bf_searchi, "AaB", "xaaAB", 2},
        {"bfi", bf_searchi, "", "", 0},
        {"bf_reverse", bf_search_reverse, "abb", "abbabab", 0},
        {"bf_reverse", bf_search_reverse, "baa", "baaa", 0},
        {"bfi_reverse", bf_searchi_reverse, "AB", "abAbx", 2},
        {"bm", bm_search, "", "abc", 0},
        {"bm", bm_search, "abcd", "abcabcabd", -1},
        {"bmi", bm_searchi, "NeEdLe", "a needle, another NEEDLE", 2},
        {"bm_reverse", bm_search_reverse, "", "abc", -1},
        {"bm_reverse", bm_search_reverse, "xyz", "abcabc", -1},
        {"bmi_reverse", bm_searchi_reverse, "NEEDLE", "needle, needle, hay", 8},
        {"rk", rk_search, "ab", "ab", -1},
        {"rk", rk_search, "\xF0\x90", "ab\xF0\x90", 2},
        {"rki", rk_searchi, "NEEDLE", "haystack with a needle", 16},
        {"rk", rk_search, "", "abc", -1},
    };
    for (const auto& row : rows) {
        int m = static_cast<int>(std::strlen(row.pattern));
        int n = static_cast<int>(std::strlen(row.text));
        EXPECT_EQ(row.search(row.pattern, m, row.text, n), row.expected)
            << row.name << " \"" << row.pattern << "\" in \"" << row.text << '"';
    }
    // The last roll takes in the terminator behind the text, so a match may end on it.
    EXPECT_EQ(rk_search("b\0", 2, "ab", 2), 1);
    EXPECT_EQ(rk_searchi("a\0a\0", 4, "a\0a\0AAa\0a", 9), 6);
}

TEST(Hash, SearchesAgreeWithBruteForceOnEveryWindow) {
    // Every pattern cut from a text with repeats must be found at the same first and last
    // position by the brute-force, Boyer-Moore and (after position 0) Rabin-Karp forms.
    const char text[] = "abracadabra abracadabra";
    const int n = static_cast<int>(sizeof text) - 1;
    for (int start = 0; start < n; start++) {
        for (int m = 1; start + m <= n && m < 8; m++) {
            const char* pattern = text + start;
            int first = bf_search(pattern, m, text, n);
            int last = bf_search_reverse(pattern, m, text, n);
            EXPECT_EQ(bm_search(pattern, m, text, n), first) << start << "+" << m;
            EXPECT_EQ(bm_search_reverse(pattern, m, text, n), last) << start << "+" << m;
            EXPECT_EQ(bf_searchi(pattern, m, text, n), first) << start << "+" << m;
            EXPECT_EQ(bm_searchi_reverse(pattern, m, text, n), last) << start << "+" << m;
            if (first > 0) {
                EXPECT_EQ(rk_search(pattern, m, text, n), first) << start << "+" << m;
            }
        }
    }
}

TEST(Hash, SearchesRejectBadArguments) {
    using Search = int (*)(const char*, int, const char*, int);
    const Search all[] = {bf_search, bf_searchi, bf_search_reverse, bf_searchi_reverse,
                          bm_search, bm_searchi, bm_search_reverse, bm_searchi_reverse,
                          rk_search, rk_searchi};
    for (Search search : all) {
        EXPECT_EQ(search(nullptr, 1, "abc", 3), -1);
        EXPECT_EQ(search("a", 1, nullptr, 3), -1);
        EXPECT_EQ(search("a", -1, "abc", 3), -1);
        EXPECT_EQ(search("a", 1, "abc", -1), -1);
        EXPECT_EQ(search("abcd", 4, "abc", 3), -1);
    }
}
