// Repacking and adding without a search per text: both must place every text exactly where the
// straightforward search places it, over pools made to hit the hard cases.
#include "compiled/DictionaryPacker.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/PackerShapes.h"
#include "compiled/Dictionary.h"

namespace {

// Random pools: small alphabets so that texts fall inside earlier ones and across their
// joints, or every byte value; empty and repeated texts, pieces and joints of earlier texts,
// periodic texts, and now and then a text at the granule size or at a slab's share.
class PoolMaker {
  public:
    explicit PoolMaker(uint32_t seed) : random_(seed) {}

    std::vector<std::string> Make() {
        int letters = Pick(4) == 0 ? 256 : 2 + Pick(3);
        int count = 1 + Pick(Pick(8) == 0 ? 400 : 40);
        std::vector<std::string> texts;
        for (int i = 0; i < count; i++) texts.push_back(Next(texts, letters));
        return texts;
    }

  private:
    int Pick(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }

    std::string Random(int length, int letters) {
        std::string text;
        for (int k = 0; k < length; k++) {
            text += static_cast<char>(letters == 256 ? Pick(256) : 'a' + Pick(letters));
        }
        return text;
    }

    std::string Next(const std::vector<std::string>& texts, int letters) {
        const std::string& earlier =
            texts.empty() ? "" : texts[static_cast<size_t>(Pick(static_cast<int>(texts.size())))];
        switch (Pick(texts.empty() ? 1 : 9)) {
            case 0:
                return Random(Pick(12), letters);
            case 1:
                return earlier;
            case 2: {
                size_t from = static_cast<size_t>(Pick(static_cast<int>(earlier.size()) + 1));
                return earlier.substr(from, static_cast<size_t>(Pick(20)));
            }
            case 3: {
                const std::string& last = texts.back();
                size_t tail = static_cast<size_t>(Pick(static_cast<int>(last.size()) + 1));
                return last.substr(last.size() - tail) + Random(Pick(4), letters);
            }
            case 4: {
                std::string unit = Random(1 + Pick(3), letters);
                std::string text;
                for (int n = 1 + Pick(30); n > 0; n--) text += unit;
                return text.substr(0, text.size() - static_cast<size_t>(Pick(2)));
            }
            case 5:
                return "";
            case 6:
                // Around the granule, and around the largest text a shared slab takes.
                if (Pick(20) == 0) return Random((Pick(3) == 0 ? 131071 : 8191) + Pick(3), letters);
                return Random(20 + Pick(40), letters);
            default:
                return Random(Pick(6), letters);
        }
    }

    std::mt19937 random_;
};

std::string used_bytes(const DictionaryDataBlock* block) {
    return std::string(block->data(), static_cast<size_t>(block->used()));
}

void add_all(Dictionary* dictionary, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        dictionary->Entry_Add(text.data(), static_cast<int>(text.size()));
    }
}

// The straightforward adding: each text searched for in the current block, else a new block.
struct ReferenceBlocks {
    std::vector<std::unique_ptr<DictionaryDataBlock>> blocks;
    std::vector<int> offsets;
    std::vector<int> block_of;

    explicit ReferenceBlocks(const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            int length = static_cast<int>(text.size());
            int offset = blocks.empty() ? -1 : blocks.back()->Add(text.data(), length);
            if (offset == -1) {
                blocks.emplace_back(new DictionaryDataBlock(dictionary_block_capacity(length)));
                offset = blocks.back()->Add(text.data(), length);
            }
            offsets.push_back(offset);
            block_of.push_back(static_cast<int>(blocks.size()) - 1);
        }
    }
};

}  // namespace

TEST(DictionaryPacker, EntryAddPlacesTextsAsTheSearchDoes) {
    for (uint32_t seed = 1; seed <= 400; seed++) {
        std::vector<std::string> texts = PoolMaker(seed).Make();
        ReferenceBlocks reference(texts);
        Dictionary dictionary;
        add_all(&dictionary, texts);
        ASSERT_EQ(dictionary.blocks(), static_cast<int>(reference.blocks.size())) << seed;
        for (int b = 0; b < dictionary.blocks(); b++) {
            ASSERT_EQ(used_bytes(dictionary.block(b)),
                      used_bytes(reference.blocks[static_cast<size_t>(b)].get()))
                << seed;
            EXPECT_EQ(dictionary.block(b)->capacity(),
                      reference.blocks[static_cast<size_t>(b)]->capacity());
        }
        for (size_t i = 0; i < texts.size(); i++) {
            int index = static_cast<int>(i);
            ASSERT_EQ(dictionary.Entry_Offset(index), reference.offsets[i]) << seed << " " << i;
            EXPECT_EQ(dictionary.Entry(index),
                      dictionary.block(reference.block_of[i])->data() + reference.offsets[i]);
        }
    }
}

// Compress against the reference repacking, block bytes, capacity and offsets; and the packer
// itself with the suffix automaton from the start and from a random point on.
TEST(DictionaryPacker, RepacksExactlyAsTheReference) {
    for (uint32_t seed = 1; seed <= 400; seed++) {
        std::vector<std::string> texts = PoolMaker(seed * 7919).Make();
        Dictionary filled;
        add_all(&filled, texts);
        Dictionary reference(filled);
        reference.Compress_Reference();
        // Filled afresh, so that it repacks the texts where they wait, never laid out.
        Dictionary fast;
        add_all(&fast, texts);
        fast.Compress();
        ASSERT_EQ(fast.blocks(), 1);
        const std::string expected = used_bytes(reference.block(0));
        const int expected_capacity = reference.block(0)->capacity();
        ASSERT_EQ(used_bytes(fast.block(0)), expected) << seed;
        EXPECT_EQ(fast.block(0)->capacity(), expected_capacity) << seed;
        for (int i = 0; i < filled.entries(); i++) {
            ASSERT_EQ(fast.Entry_Offset(i), reference.Entry_Offset(i)) << seed << " " << i;
        }

        std::vector<DictionaryPacker::Text> views;
        for (const std::string& text : texts) {
            views.push_back({text.data(), static_cast<int>(text.size())});
        }
        int total = 0;
        for (int b = 0; b < filled.blocks(); b++) total += filled.block(b)->used();
        for (int64_t limit : {int64_t{0}, int64_t{1} + seed % 300}) {
            DictionaryDataBlock block(total);
            std::vector<int> offsets(texts.size());
            DictionaryPacker packer(limit);
            packer.Pack(views.data(), static_cast<int>(views.size()), &block, offsets.data());
            EXPECT_TRUE(packer.counters().fell_back || limit > 0);
            ASSERT_EQ(used_bytes(&block), expected) << seed << " limit " << limit;
            EXPECT_EQ(block.capacity(), expected_capacity);
            for (size_t i = 0; i < texts.size(); i++) {
                ASSERT_EQ(offsets[i], reference.Entry_Offset(static_cast<int>(i))) << seed;
            }
        }
    }
}

TEST(DictionaryPacker, KeepsTheHardCases) {
    struct Case {
        std::vector<std::string> texts;
        std::vector<int> offsets;
    } cases[] = {
        {{"a", "aa", "aa"}, {0, 1, 0}},            // a repeat finds the earlier joint
        {{"ab", "cd", "bc"}, {0, 2, 1}},           // across the joint of two texts
        {{"", "x", "", "x"}, {0, 0, 0, 0}},        // the empty text at offset 0
        {{"abcab", "cabd", "bca"}, {0, 5, 1}},     //
        {{"xyzzy", "zzyx", "yx"}, {0, 5, 7}},      // found only in bytes appended later
        {{"aaaa", "aaaaa", "aaaaaa"}, {0, 4, 0}},  // periodic: the longer one fits at 0 now
    };
    for (const Case& c : cases) {
        std::vector<DictionaryPacker::Text> views;
        for (const std::string& text : c.texts) {
            views.push_back({text.data(), static_cast<int>(text.size())});
        }
        for (int64_t limit : {int64_t{-1}, int64_t{0}}) {
            DictionaryDataBlock block(0);
            std::vector<int> offsets(c.texts.size());
            DictionaryPacker(limit).Pack(views.data(), static_cast<int>(views.size()), &block,
                                         offsets.data());
            EXPECT_EQ(offsets, c.offsets) << c.texts[0] << " limit " << limit;
            EXPECT_EQ(block.capacity(), 8192);
        }
    }
}

// The shapes that are hardest for the repacking (long runs, periodic texts, shared rare bytes,
// near-duplicates, 64 KB texts): the same offsets as adding every text with the search, with
// the fast path alone, with the automaton alone and with the automaton taking over midway.
TEST(DictionaryPacker, HardShapesAsTheSearchPlacesThem) {
    for (const PackerShape& shape : packer_shapes()) {
        std::vector<std::string> texts = shape.make(shape.test_size, 40);
        std::vector<DictionaryPacker::Text> views;
        int total = 0;
        for (const std::string& text : texts) {
            views.push_back({text.data(), static_cast<int>(text.size())});
            total += static_cast<int>(text.size());
        }
        DictionaryDataBlock reference(total);
        std::vector<int> expected;
        for (const std::string& text : texts) {
            expected.push_back(reference.Add(text.data(), static_cast<int>(text.size())));
        }
        // The fast path with its preparation on a second thread, also for these few texts.
        for (int64_t limit : {int64_t{-1}, int64_t{0}, int64_t{total / 8}, int64_t{-2}}) {
            DictionaryDataBlock block(total);
            std::vector<int> offsets(texts.size());
            DictionaryPacker packer(limit == -2 ? -1 : limit, limit == -2 ? 0 : INT_MAX);
            packer.Pack(views.data(), static_cast<int>(views.size()), &block, offsets.data());
            EXPECT_EQ(offsets, expected) << shape.name << " limit " << limit;
            EXPECT_EQ(used_bytes(&block), used_bytes(&reference)) << shape.name;
        }
    }
}

// Past a megabyte of pool the scan tells short keys apart by their last two bytes: short names
// (one byte among them) between longer texts, the fast path against the automaton alone.
TEST(DictionaryPacker, ShortNamesInALargePool) {
    std::mt19937 random(17);
    std::vector<std::string> texts;
    for (int64_t total = 0; total < (int64_t{3} << 19);) {
        bool name = random() % 2 == 0;
        size_t length = name ? 1 + random() % 7 : 20 + random() % 20;
        std::string text;
        for (size_t k = 0; k < length; k++)
            text += static_cast<char>('a' + random() % (name ? 3 : 26));
        total += static_cast<int64_t>(text.size());
        texts.push_back(text);
    }
    std::vector<DictionaryPacker::Text> views;
    for (const std::string& text : texts)
        views.push_back({text.data(), static_cast<int>(text.size())});
    std::vector<int> fast(texts.size()), exact(texts.size());
    DictionaryDataBlock fast_block(0), exact_block(0);
    DictionaryPacker().Pack(views.data(), static_cast<int>(views.size()), &fast_block, fast.data());
    DictionaryPacker(0).Pack(views.data(), static_cast<int>(views.size()), &exact_block,
                             exact.data());
    EXPECT_EQ(fast, exact);
    EXPECT_EQ(used_bytes(&fast_block), used_bytes(&exact_block));
}
