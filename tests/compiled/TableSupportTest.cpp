// Bucket heads of the hashed tables: kept as pairs while few, as an array beyond; either way
// every bucket answers as a plain array of heads would.
#include "compiled/TableSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

TEST(BucketArray, AnswersAsAPlainArrayOfHeads) {
    std::mt19937 random(5);
    for (int round = 0; round < 200; round++) {
        BucketArray buckets;
        buckets.Reset(round % 4 == 0 ? 64 : 0);
        std::map<int, int> heads;
        int range = 1 + static_cast<int>(random() % 300);
        int sets = static_cast<int>(random() % 40);
        for (int i = 0; i < sets; i++) {
            int bucket = static_cast<int>(random() % static_cast<unsigned>(range));
            heads[bucket] = i;
            buckets.SetHead(bucket, i);
        }
        int highest = heads.empty() ? -1 : heads.rbegin()->first;
        EXPECT_GE(buckets.held(), highest + 1);
        for (int b = 0; b < range + 2; b++) {
            int expected = heads.count(b) != 0 ? heads[b] : -1;
            ASSERT_EQ(buckets.Head(b), expected) << round << " bucket " << b;
        }
    }
}
