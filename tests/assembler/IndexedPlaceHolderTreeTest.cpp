// The indexed identifier tree must find exactly what the plain tree finds, through inserts,
// removals, repeated names and dumps.
#include "assembler/IndexedPlaceHolderTree.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

TEST(IndexedPlaceHolderTree, FindsWhatThePlainTreeFinds) {
    std::mt19937 random(11);
    for (int round = 0; round < 50; round++) {
        IndexedPlaceHolderTree indexed(1);
        PlaceHolderTree plain(1);
        for (int step = 0; step < 300; step++) {
            std::string name = "n" + std::to_string(random() % 60);
            if (round % 10 == 0 && random() % 3 == 0) name = "N" + name.substr(1);
            switch (random() % 6) {
                case 0:
                case 1:
                case 2:
                    // Repeated names only now and then, as a duplicate check would allow.
                    if (plain.Find(name.c_str()) == nullptr || random() % 40 == 0) {
                        int length = static_cast<int>(name.size());
                        indexed.Insert(new ResolvablePlaceHolder(name.c_str(), length, step));
                        plain.Insert(new ResolvablePlaceHolder(name.c_str(), length, step));
                    }
                    break;
                case 3: {
                    ResolvablePlaceHolder* a = indexed.Remove(name.c_str());
                    ResolvablePlaceHolder* b = plain.Remove(name.c_str());
                    ASSERT_EQ(a == nullptr, b == nullptr) << name;
                    if (a != nullptr) {
                        EXPECT_EQ(a->value(), b->value()) << name;
                    }
                    delete a;
                    delete b;
                    break;
                }
                case 4:
                    if (random() % 50 == 0) {
                        indexed.Dump();
                        plain.Dump();
                    }
                    break;
                default:
                    break;
            }
            ResolvablePlaceHolder* a = indexed.Find(name.c_str());
            ResolvablePlaceHolder* b = plain.Find(name.c_str());
            ASSERT_EQ(a == nullptr, b == nullptr) << round << " " << step << " " << name;
            if (a != nullptr) {
                EXPECT_EQ(a->value(), b->value()) << round << " " << step;
            }
            EXPECT_EQ(indexed.Entries(), plain.Entries());
        }
    }
}
