// Input shapes that are hard for the dictionary repacking: tiny alphabets, periodic texts,
// texts that share their rarest bytes, near-duplicates, very long texts. Each family makes
// texts until their bytes reach a given pool size, so that doubling the size doubles the input.
// The worst-case benchmark times them at large sizes; the tests compare the repacking with the
// straightforward one on them at small sizes.
#ifndef TARN_BENCH_PACKERSHAPES_H
#define TARN_BENCH_PACKERSHAPES_H

#include <cstdint>
#include <string>
#include <vector>

struct PackerShape {
    const char* name;
    int64_t base_size;  // pool bytes of the smallest benchmark size
    int64_t test_size;  // pool bytes, with a short cycle, for the straightforward repacking
    int cycle;          // the benchmarks' cycle
    // Texts of 'pool' bytes in all; 'cycle' is how many texts go by before the shape repeats
    // with a change (the benchmarks use the lengths of real programs, 1000 to 4000; the tests
    // a few dozen, which show the same structure in a pool that the search can still place).
    std::vector<std::string> (*make)(int64_t pool, int cycle);
};

namespace packer_shapes_detail {

// Appends texts from 'next(i)' for i = 0, 1, ... until their bytes reach 'pool'.
template <typename Next>
std::vector<std::string> until(int64_t pool, Next next) {
    std::vector<std::string> texts;
    int64_t total = 0;
    for (int64_t i = 0; total < pool; i++) {
        texts.push_back(next(i));
        total += static_cast<int64_t>(texts.back().size());
    }
    return texts;
}

// A fixed pseudo-random byte stream over 'letters' letters, so that every run sees one input.
inline std::string noise(uint32_t seed, size_t length, int letters) {
    std::string text(length, 'a');
    uint32_t state = seed * 2654435761u + 1;
    for (char& c : text) {
        state = state * 1664525u + 1013904223u;
        c = static_cast<char>('a' + (state >> 24) % static_cast<uint32_t>(letters));
    }
    return text;
}

inline std::string periodic(size_t length, const std::string& unit, size_t phase) {
    std::string text(length, ' ');
    for (size_t k = 0; k < length; k++) text[k] = unit[(k + phase) % unit.size()];
    return text;
}

}  // namespace packer_shapes_detail

inline const std::vector<PackerShape>& packer_shapes() {
    using namespace packer_shapes_detail;
    static const std::vector<PackerShape> shapes = {
        // One byte repeated, at every length in turn.
        {"runs", 4 << 20, 1 << 17, 0,
         [](int64_t pool, int) {
             return until(pool, [](int64_t i) { return std::string(static_cast<size_t>(i + 1), '='); });
         }},
        // A run of one byte at lengths cycling to 2000, then a growing run of another.
        {"run-then-run", 8 << 20, 1 << 16, 2000,
         [](int64_t pool, int cycle) {
             return until(pool, [cycle](int64_t i) {
                 return std::string(static_cast<size_t>(i % cycle + 1), 'a') +
                        std::string(static_cast<size_t>(i / cycle), 'b');
             });
         }},
        // Periods of 1 to 7 bytes over two letters, at many lengths and phases.
        {"periodic", 8 << 20, 1 << 16, 3000,
         [](int64_t pool, int cycle) {
             static const char* const units[] = {"a", "ab", "aab", "abab", "aabab", "abaabb", "aaabbab"};
             return until(pool, [cycle](int64_t i) {
                 return periodic(static_cast<size_t>(1 + i * 37 % cycle), units[i % 7],
                                 static_cast<size_t>(i / 7 % 5));
             });
         }},
        // Every prefix of one long text over four letters, shortest first.
        {"prefixes", 4 << 20, 1 << 16, 0,
         [](int64_t pool, int) {
             std::string whole = noise(7, 1 << 16, 4);
             return until(pool, [&whole](int64_t i) {
                 return whole.substr(0, static_cast<size_t>(i % (1 << 16) + 1));
             });
         }},
        // The only bytes that are not a common run are one gram that every text holds.
        {"shared-gram", 8 << 20, 1 << 16, 1500,
         [](int64_t pool, int cycle) {
             return until(pool, [cycle](int64_t i) {
                 return std::string(static_cast<size_t>(i % cycle + 1), 'a') + "#QZ@XJ!K%VW&Y*P^" +
                        std::string(static_cast<size_t>(i / cycle % 40), 'a');
             });
         }},
        // Runs that differ in their last byte only.
        {"last-byte", 8 << 20, 1 << 15, 4000,
         [](int64_t pool, int cycle) {
             return until(pool, [cycle](int64_t i) {
                 return std::string(static_cast<size_t>(1 + i / 200 % cycle), 'x') +
                        static_cast<char>(32 + i % 200);
             });
         }},
        // Texts of 64 KB of one period, each with one byte changed somewhere.
        {"64k-texts", 4 << 20, 3 << 16, 0,
         [](int64_t pool, int) {
             return until(pool, [](int64_t i) {
                 std::string text = periodic(65536, "abcd", 0);
                 text[static_cast<size_t>(i * 7919 % 65536)] = 'e';
                 return text;
             });
         }},
    };
    return shapes;
}

#endif
