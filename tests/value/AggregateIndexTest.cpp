// Keys of aggregate elements: their kind, their order and their quoted form.
#include "value/AggregateIndex.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Text(const String& s) {
    return std::string(s.c_str(), s.length());
}

}  // namespace

TEST(AggregateIndex, CompareHasTheSignOfOtherMinusThis) {
    struct Row {
        AggregateIndex self;
        AggregateIndex other;
        int expected;
    } rows[] = {
        {1, 2, 1},
        {0, -3, 0},
        {AggregateIndex("abc"), AggregateIndex("ABD"), 1},
        {AggregateIndex("Name"), AggregateIndex("nAME"), 0},
        {AggregateIndex("ab"), AggregateIndex("abc"), 1},  // the shorter name is the smaller
        {AggregateIndex("b"), AggregateIndex("abc"), -1},  // the common part decides first
        {5, AggregateIndex("a"), 1},                       // every number before every name
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.self.Compare(row.other), row.expected)
            << Text(row.self.serialized()) << " vs " << Text(row.other.serialized());
        EXPECT_EQ(row.other.Compare(row.self), -row.expected);
    }
}
