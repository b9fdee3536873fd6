// Fuzz target: any bytes as a list of dictionary texts (split at each NUL byte), repacked by
// DictionaryPacker with its fast path (with and without a second thread for its preparation),
// with the automaton taking over midway and with the automaton alone. Each must place every
// text where adding them in turn to one block with DictionaryDataBlock::Add (the search of the
// whole block) does, and leave the same bytes.
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/DictionaryPacker.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    std::vector<DictionaryPacker::Text> texts;
    for (size_t start = 0; start <= size;) {
        const void* nul = std::memchr(bytes + start, 0, size - start);
        size_t end =
            nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - bytes) : size;
        texts.push_back({bytes + start, static_cast<int>(end - start)});
        start = end + 1;
    }
    int total = static_cast<int>(size) + 1;
    DictionaryDataBlock reference(total);
    std::vector<int> expected;
    for (const DictionaryPacker::Text& text : texts) {
        expected.push_back(reference.Add(text.bytes, text.length));
    }
    // The fast path alone, then with its preparation on a second thread, then the automaton
    // taking over midway, then the automaton alone.
    const int64_t limits[] = {-1, -1, static_cast<int64_t>(size / 8), 0};
    for (int run = 0; run < 4; run++) {
        DictionaryDataBlock block(0);
        std::vector<int> offsets(texts.size());
        DictionaryPacker(limits[run], run == 1 ? 0 : INT_MAX)
            .Pack(texts.data(), static_cast<int>(texts.size()), &block, offsets.data());
        if (offsets != expected || block.used() != reference.used() ||
            std::memcmp(block.data(), reference.data(), static_cast<size_t>(block.used())) != 0) {
            std::abort();
        }
    }
    return 0;
}
