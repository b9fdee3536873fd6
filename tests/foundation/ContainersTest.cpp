// The container templates: the list cursor, and the splay tree with its explicit-stack walks
// for large trees.
#include <vector>

#include <gtest/gtest.h>

#include "foundation/List.h"
#include "foundation/SplayTree.h"

namespace {

// An object that counts its destructions, so ownership rules can be checked.
struct Item {
    Item(int v, int* destroyed = nullptr) : value(v), destroyed(destroyed) {}
    Item(const Item& other) = default;
    ~Item() {
        if (destroyed != nullptr) ++*destroyed;
    }
    int value;
    int* destroyed;
};

// Integer keys; Purge records the order in which objects are destroyed.
class ItemTree : public SplayTree<Item, int> {
  public:
    explicit ItemTree(int owner) : SplayTree<Item, int>(owner) {}
    ItemTree(const ItemTree& other) = default;
    ~ItemTree() override { Dump(); }
    int Key(Item* item) override { return item->value; }
    int Compare(int key, Item* item) override { return key < item->value ? -1 : key > item->value; }
    void Purge(Item* item) override {
        purged.push_back(item->value);
        delete item;
    }
    int RootKey() const { return root_ != nullptr ? root_->object->value : -1; }
    std::vector<int> purged;
};

// The values of a list walked forwards, or backwards from its tail.
std::vector<int> values(List<Item>& list, bool backwards = false) {
    std::vector<int> out;
    for (Item* i = backwards ? list.Last() : list.First(); i != nullptr;
         i = backwards ? list.Previous() : list.Next()) {
        out.push_back(i->value);
    }
    return out;
}

std::vector<int> in_order(ItemTree& tree) {
    List<Item> list(0);
    tree.AppendToList(list);
    return values(list);
}

}  // namespace

TEST(List, InsertRemoveAndTheCursor) {
    Item a(1), b(2), c(3), d(4), e(5);
    List<Item> list(0);
    list.Insert(&b, LIST_CURSOR);  // into an empty list: head, cursor and tail
    EXPECT_EQ(list.Last(), &b);
    list.Insert(&d, LIST_TAIL);
    list.Insert(&c, LIST_CURSOR);  // before d, the cursor
    EXPECT_EQ(list.Current(), &c);
    list.Insert(&a, LIST_HEAD);
    list.Insert(&e, LIST_TAIL);
    EXPECT_EQ(values(list), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(values(list, true), (std::vector<int>{5, 4, 3, 2, 1}));
    EXPECT_EQ(list.Seek(&c), &c);
    EXPECT_EQ(list.Remove(LIST_CURSOR), &c);
    EXPECT_EQ(list.Current(), &d);  // the cursor moves on to the next
    EXPECT_EQ(list.Seek(&e), &e);
    EXPECT_EQ(list.Remove(LIST_TAIL), &e);
    EXPECT_EQ(list.Current(), &d);  // removing the tail under the cursor moves it back
    EXPECT_EQ(list.Remove(LIST_HEAD), &a);
    EXPECT_EQ(list.Remove(LIST_HEAD), &b);
    EXPECT_EQ(list.Remove(LIST_TAIL), &d);  // the only node: head and tail go together
    EXPECT_EQ(list.Last(), nullptr);
}

TEST(SplayTree, LargeTreesAreWalkedWithAStack) {
    // The recursive walk purges a node after its children, the stack walk before them; the
    // last insert is the root, so it is purged last or first.
    for (int entries : {99, 100}) {
        ItemTree tree(1);
        for (int key = 0; key < entries; key++) tree.Insert(new Item((key * 37) % entries));
        int root = tree.RootKey();
        tree.Dump();
        ASSERT_EQ(static_cast<int>(tree.purged.size()), entries);
        EXPECT_EQ(entries < 100 ? tree.purged.back() : tree.purged.front(), root);
    }
    // Ascending inserts build a chain as deep as the tree is large: copy, list and dump it.
    const int entries = 20000;
    int destroyed = 0;
    {
        ItemTree tree(1);
        for (int key = 0; key < entries; key++) tree.Insert(new Item(key, &destroyed));
        ItemTree copy(tree);
        std::vector<int> walked = in_order(copy);
        ASSERT_EQ(static_cast<int>(walked.size()), entries);
        for (int key = 0; key < entries; key++) ASSERT_EQ(walked[key], key);
        EXPECT_NE(copy.Find(7), tree.Find(7));  // an owning copy has objects of its own
    }
    EXPECT_EQ(destroyed, 2 * entries);
}
