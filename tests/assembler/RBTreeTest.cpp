// The assembler's name index: ordered, case-sensitive, balanced, and owning when asked.
#include "assembler/RBTree.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "assembler/ResolvablePlaceHolder.h"
#include "foundation/List.h"

namespace {

typedef RBTree<ResolvablePlaceHolder, const char*> Tree;

// Counts destructions, so that ownership can be checked.
int destroyed = 0;
class CountedPlaceHolder : public ResolvablePlaceHolder {
  public:
    CountedPlaceHolder(const std::string& name, int value)
        : ResolvablePlaceHolder(name.c_str(), static_cast<int>(name.size()), value) {}
    ~CountedPlaceHolder() override { ++destroyed; }
};

// A fixed pseudo-random order of distinct names.
std::vector<std::string> shuffled_names(int count, unsigned seed) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) names.push_back("n" + std::to_string(i));
    for (int i = count - 1; i > 0; --i) {
        seed = seed * 1103515245u + 12345u;
        std::swap(names[i], names[(seed >> 8) % static_cast<unsigned>(i + 1)]);
    }
    return names;
}

std::vector<std::string> in_order(Tree& tree) {
    List<ResolvablePlaceHolder> list(0);
    tree.AppendToList(list);
    std::vector<std::string> names;
    for (ResolvablePlaceHolder* p = list.First(); p != nullptr; p = list.Next()) {
        names.push_back(p->name());
    }
    return names;
}

}  // namespace

TEST(RBTree, FindsByExactCaseSensitiveName) {
    Tree tree(1);
    tree.Insert(new ResolvablePlaceHolder("main", 4, 1));
    tree.Insert(new ResolvablePlaceHolder("Main", 4, 2));
    tree.Insert(new ResolvablePlaceHolder("mai", 3, 3));
    ASSERT_NE(tree.Find("main"), nullptr);
    EXPECT_EQ(tree.Find("main")->value(), 1);
    EXPECT_EQ(tree.Find("Main")->value(), 2);
    EXPECT_EQ(tree.Find("mai")->value(), 3);
    EXPECT_EQ(tree.Find("MAIN"), nullptr);
    EXPECT_EQ(tree.Find("mainx"), nullptr);
    EXPECT_EQ(tree.Find(""), nullptr);
    EXPECT_EQ(tree.Entries(), 3);
}

TEST(RBTree, StaysBalancedAndOrderedThroughInsertsAndRemovals) {
    for (int count : {1, 2, 3, 7, 64, 500}) {
        SCOPED_TRACE(count);
        Tree tree(1);
        std::vector<std::string> names = shuffled_names(count, static_cast<unsigned>(count));
        std::set<std::string> present;
        for (size_t i = 0; i < names.size(); ++i) {
            tree.Insert(new ResolvablePlaceHolder(
                names[i].c_str(), static_cast<int>(names[i].size()), static_cast<int>(i)));
            present.insert(names[i]);
            ASSERT_TRUE(tree.CheckBalance());
        }
        EXPECT_EQ(in_order(tree), std::vector<std::string>(present.begin(), present.end()));

        // Remove every other name, in another order, checking the balance after each.
        std::vector<std::string> removal = shuffled_names(count, 7u);
        for (size_t i = 0; i < removal.size(); i += 2) {
            ResolvablePlaceHolder* removed = tree.Remove(removal[i].c_str());
            ASSERT_NE(removed, nullptr);
            EXPECT_STREQ(removed->name(), removal[i].c_str());
            delete removed;
            present.erase(removal[i]);
            ASSERT_TRUE(tree.CheckBalance());
        }
        EXPECT_EQ(tree.Entries(), static_cast<int>(present.size()));
        EXPECT_EQ(in_order(tree), std::vector<std::string>(present.begin(), present.end()));
        for (const std::string& name : names) {
            EXPECT_EQ(tree.Find(name.c_str()) != nullptr, present.count(name) == 1) << name;
        }
        EXPECT_EQ(tree.Remove("absent"), nullptr);
        EXPECT_EQ(tree.Entries(), static_cast<int>(present.size()));
    }
}
