// Arrays that grow in fixed steps (a segment by 8192 bytes, a variable table by 512 entries,
// the localized pieces by 128) keep those capacities, while the memory behind them at least
// doubles: their contents move O(log n) times, not once per step. Found by feeding the program
// long sources: 60 MB of code in one function took six minutes, 10 MB of localized pieces more
// than five.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "compiled/Dictionary.h"
#include "compiled/LocalizedDictionary.h"
#include "compiled/Segment.h"
#include "compiled/VariableHash.h"

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

TEST(Growth, VariableTableKeepsItsStepsAndMovesItsEntriesLogarithmically) {
    Dictionary dictionary;
    VariableHash table(&dictionary, 12, 512, 0);
    std::set<const _VH_Entry*> places;
    const int count = 20000;
    for (int i = 0; i < count; ++i) {
        const std::string name = "v" + std::to_string(i);
        ASSERT_EQ(i, table.Insert(name.c_str(), static_cast<int>(name.size())));
        places.insert(table.entry(0));
        ASSERT_EQ((i / 512 + 1) * 512, table.Size()) << i;
    }
    EXPECT_LE(static_cast<int>(places.size()), doublings(count));
    for (int i = 0; i < count; i += 997) {
        const std::string name = "v" + std::to_string(i);
        EXPECT_EQ(i, table.Seek(-1, name.c_str(), static_cast<int>(name.size()), nullptr));
    }
}

TEST(Growth, LocalizedPiecesMoveLogarithmically) {
    LocalizedDictionary pieces;
    std::set<const _LD_Entry*> places;
    const int count = 100000;
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(i, pieces.Entry_Add(i % 2, i, i - 1));
        places.insert(pieces.Entry(0));
    }
    EXPECT_LE(static_cast<int>(places.size()), doublings(count));
    EXPECT_EQ(count - 2, pieces.Entry(count - 1)->next);
}
