// Tables at scale. A segment grows in fixed steps of 8192 bytes and keeps that capacity, while
// the memory behind it at least doubles: its contents move O(log n) times, not once per step.
// Found by feeding the program long sources: 60 MB of code in one function took six minutes.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "compiled/Dictionary.h"
#include "compiled/LocalizedIndex.h"
#include "compiled/Segment.h"
#include "compiled/TableSupport.h"
#include "compiled/VariableHash.h"
#include "tests/compiled/TableFiles.h"

namespace {

// Moves of an array of n elements that doubles from a single element: at most this many,
// whatever size it starts from.
int doublings(long n) {
    int moves = 1;
    for (long size = 1; size < n; size *= 2) ++moves;
    return moves;
}

}  // namespace

TEST(Growth, SegmentKeepsItsStepsAndMovesItsBytesLogarithmically) {
    Segment segment(1);
    std::set<const char*> places;
    const int bytes = 8 * 1024 * 1024;
    for (int position = 0; position < bytes; position += 4) {
        segment.Write_Dword(position, static_cast<unsigned>(position));
        places.insert(segment.data());
        // A write that ends at or past the capacity grows it to the end rounded up to a step.
        const int end = position + 4;
        const int steps = (end + SEGMENT_GROWTH_STEP - 1) / SEGMENT_GROWTH_STEP;
        ASSERT_EQ(std::max(1, steps) * SEGMENT_GROWTH_STEP, segment.capacity()) << position;
    }
    EXPECT_LE(static_cast<int>(places.size()), doublings(bytes));
    unsigned value = 0;
    segment.Read_Dword(bytes - 4, &value);
    EXPECT_EQ(static_cast<unsigned>(bytes - 4), value);
    // Bytes past the length read as zero, also those of memory taken ahead of the capacity.
    EXPECT_EQ(-1, segment.Read_Dword(bytes, &value));
    segment.Write_Byte(bytes + 100, 1);
    segment.Read_Dword(bytes, &value);
    EXPECT_EQ(0u, value);
}

// Chains are walked a run of twins at a time (one name many times: empty variable names,
// parameters of one name, a localized key given again); a table of 20 000 twins took seconds
// per thousand. The order must stay that of the rule: by length, then memcmpi, twins in the
// order they came.
TEST(Growth, TwinsAreLinkedInTheirChainInTheOrderTheyCame) {
    const char* const names[] = {"", "x", "X", "xy", "y", "Y", "yx", "xyz"};
    std::mt19937 random(11);
    Dictionary dictionary;
    // Two buckets, so that every chain is long and holds several runs.
    VariableHash table(&dictionary, 1, 512, 0);
    LocalizedIndex index(&dictionary, 1, 128, 0);
    std::vector<int> keys;
    for (int i = 0; i < 3000; ++i) {
        const char* name = names[random() % 8];
        const int key = dictionary.Entry_Add(name, -1);
        keys.push_back(key);
        ASSERT_EQ(i, table.Insert(key));
        ASSERT_EQ(i, index.Add_Entry(key, i));
    }
    // The written chains against a stable sort of each bucket's entries.
    const Bytes written = write_container([&](TaggedFile& file) {
        return table.Write(&file, TAG_GLBL) != 0 && index.Write(&file, tag_language_index(0));
    });
    const std::vector<Section> sections = sections_of(written);
    ASSERT_EQ(2u, sections.size());
    for (const Section& section : sections) {
        const bool is_index = section.tag != TAG_GLBL;
        const unsigned char* body = section.bytes.data();
        const int records = get_s16(body);
        const int first_record = is_index ? 11 : 7;
        const int entry_size = is_index ? 12 : 8;
        const unsigned char* entries = body + first_record + 6 * records;
        std::map<int, std::vector<int>> expected;
        for (int i = 0; i < 3000; ++i) {
            int size = 0;
            const char* text = dictionary.Entry(keys[i], &size);
            expected[name_bucket(text, size, 1)].push_back(i);
        }
        for (auto& bucket : expected) {
            std::stable_sort(bucket.second.begin(), bucket.second.end(), [&](int a, int b) {
                int a_size = 0;
                int b_size = 0;
                const char* a_text = dictionary.Entry(keys[a], &a_size);
                const char* b_text = dictionary.Entry(keys[b], &b_size);
                return name_order(a_text, a_size, b_text, b_size) < 0;
            });
        }
        for (int r = 0; r < records; ++r) {
            const int bucket = get_s16(body + first_record + 6 * r);
            std::vector<int> chain;
            for (int e = get_s32(body + first_record + 6 * r + 2); e != -1 && chain.size() <= 3000;
                 e = get_s32(entries + entry_size * e + 4)) {
                chain.push_back(e);
            }
            EXPECT_TRUE(chain == expected[bucket])
                << (is_index ? "index" : "variables") << " bucket " << bucket;
        }
    }
}
