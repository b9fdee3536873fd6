// The indexed identifier table against a plain model: a list of (name, value) in insertion
// order, where Find and Remove take the earliest entry of a name.
#include "assembler/IndexedPlaceHolderTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Model = std::vector<std::pair<std::string, int>>;

Model::iterator earliest(Model& model, const std::string& name) {
    return std::find_if(model.begin(), model.end(), [&](const auto& e) { return e.first == name; });
}

}  // namespace

TEST(IndexedPlaceHolderTree, BehavesAsAnInsertionOrderedMultiset) {
    std::mt19937 random(11);
    for (int round = 0; round < 60; round++) {
        IndexedPlaceHolderTree indexed(1);
        Model model;
        // Few names in some rounds, so that runs fill, wrap and repeat; many in others, so
        // that the table grows several times with repeated names inside.
        const unsigned names = round % 3 == 0 ? 7 : 400;
        for (int step = 0; step < 1200; step++) {
            std::string name = "n" + std::to_string(random() % names);
            switch (random() % 7) {
                case 0:
                case 1:
                case 2:
                    // Repeated names only now and then, as a duplicate check would allow.
                    if (earliest(model, name) == model.end() || random() % 8 == 0) {
                        indexed.Insert(new ResolvablePlaceHolder(
                            name.c_str(), static_cast<int>(name.size()), step));
                        model.emplace_back(name, step);
                    }
                    break;
                case 3: {
                    ResolvablePlaceHolder* removed = indexed.Remove(name.c_str());
                    auto expected = earliest(model, name);
                    ASSERT_EQ(removed == nullptr, expected == model.end()) << name;
                    if (removed != nullptr) {
                        EXPECT_EQ(removed->value(), expected->second) << name;
                        model.erase(expected);
                    }
                    delete removed;
                    break;
                }
                case 4:
                    if (random() % 200 == 0) {
                        indexed.Dump();
                        model.clear();
                    }
                    break;
                default:
                    break;
            }
            ResolvablePlaceHolder* found = indexed.Find(name.c_str());
            auto expected = earliest(model, name);
            ASSERT_EQ(found == nullptr, expected == model.end()) << round << " " << step;
            if (found != nullptr) {
                EXPECT_EQ(found->value(), expected->second) << round << " " << step;
            }
            ASSERT_EQ(indexed.Entries(), static_cast<int>(model.size()));
        }
        // Listing: key order, repeated keys in insertion order.
        List<ResolvablePlaceHolder> listed(0);
        indexed.AppendToList(listed);
        Model sorted = model;
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        size_t at = 0;
        for (ResolvablePlaceHolder* p = listed.First(); p != nullptr; p = listed.Next(), at++) {
            ASSERT_LT(at, sorted.size());
            EXPECT_EQ(p->name(), sorted[at].first);
            EXPECT_EQ(p->value(), sorted[at].second);
        }
        EXPECT_EQ(at, sorted.size());
    }
}
