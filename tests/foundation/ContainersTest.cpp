// The container templates: list and stack cursors, the ordered chains of the hash table, and
// the splay tree with its explicit-stack walks for large trees.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Hash.h"
#include "foundation/HashTable.h"
#include "foundation/List.h"
#include "foundation/SplayTree.h"
#include "foundation/Stack.h"

namespace {

// An object that counts its destructions, so ownership rules can be checked.
struct Item {
    Item(int v, int* destroyed = nullptr)
        : value(v), name("v" + std::to_string(v)), destroyed(destroyed) {}
    Item(const char* n) : value(0), name(n), destroyed(nullptr) {}
    Item(const Item& other) = default;
    ~Item() {
        if (destroyed != nullptr) ++*destroyed;
    }
    int value;
    std::string name;
    int* destroyed;
};

class NameTable : public HashTable<Item> {
  public:
    NameTable(int owner, int case_insensitive, int bucket_bits, int capacity)
        : HashTable<Item>(owner, case_insensitive, bucket_bits, capacity) {}
    using HashTable<Item>::hash;
    unsigned hash(Item* object) override {
        return hash(object->name.c_str(), static_cast<int>(object->name.size()));
    }
    int Compare(Item* entry, Item* object) override {
        return Compare(entry, object->name.c_str(), static_cast<int>(object->name.size()));
    }
    int Compare(Item* entry, const char* name, int length) override {
        return CompareName(entry->name.c_str(), static_cast<int>(entry->name.size()), name, length);
    }
    // The names of one bucket's chain, in chain order.
    std::vector<std::string> Chain(const char* name) {
        std::vector<std::string> names;
        for (int e = buckets_[hash(name, -1)]; e != -1; e = next_[e])
            names.push_back(objects_[e]->name);
        return names;
    }
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

TEST(Stack, PopAtAPeekedNodeRemovesTheNodesAbove) {
    for (int owner : {0, 1}) {
        int destroyed = 0;
        Item* a = new Item(1, &destroyed);
        Item* b = new Item(2, &destroyed);
        {
            Stack<Item> stack(owner);
            stack.Push(a);
            stack.Push(b);
            EXPECT_EQ(stack.Peek(), a);
            EXPECT_EQ(stack.Peek(), nullptr);
            EXPECT_EQ(stack.Top(), b);
            EXPECT_EQ(stack.Pop(), b);  // a cursor off the bottom pops the top
            stack.Push(b);
            EXPECT_EQ(stack.Peek(), a);
            EXPECT_EQ(stack.Pop(), a);
            EXPECT_EQ(stack.Entries(), 0);
            EXPECT_EQ(destroyed, owner) << "owner " << owner;
            if (owner) stack.Push(new Item(3, &destroyed));  // left for the destructor
        }
        EXPECT_EQ(destroyed, 2 * owner) << "owner " << owner;
        delete a;
        if (!owner) delete b;
    }
}

TEST(HashTable, ChainsSortByLengthThenNameAndCaseDecidesTheMatch) {
    Item bb("bb"), a("a"), ab("ab"), a2("A");
    NameTable table(0, 1, 0, 4);  // one bucket: every name shares a chain
    table.Insert(&bb);
    table.Insert(&a);
    table.Insert(&ab);
    EXPECT_EQ(table.Insert(&a2), 3);
    EXPECT_EQ(table.Chain("a"), (std::vector<std::string>{"a", "A", "ab", "bb"}));
    EXPECT_EQ(table.Find("AB", -1), &ab);
    EXPECT_EQ(table.Find("b", -1), nullptr);

    Item main_name("Main"), probe("mAiN");
    NameTable folded(0, 1, 8, 0), exact(0, 0, 8, 0);
    folded.Insert(&main_name);
    exact.Insert(&main_name);
    EXPECT_EQ(folded.hash("MAIN", -1), hashi("main", 4, 0) & 0xFF);
    EXPECT_EQ(folded.Find(&probe), &main_name);
    EXPECT_EQ(exact.hash("Main", -1), hash("Main", 4, 0) & 0xFF);
    EXPECT_EQ(exact.Find("Main", -1), &main_name);
    EXPECT_EQ(exact.Find("MAIN", -1), nullptr);
}

TEST(SplayTree, FindNextPreviousAndRemove) {
    ItemTree tree(1);
    for (int key : {50, 20, 80, 10, 30, 70, 90, 60}) ASSERT_NE(tree.Insert(new Item(key)), nullptr);
    Item duplicate(30);
    EXPECT_EQ(tree.Insert(&duplicate), nullptr);
    EXPECT_EQ(tree.Find(70)->value, 70);
    EXPECT_EQ(tree.RootKey(), 70);  // a lookup splays its key to the root
    EXPECT_EQ(tree.Find(65), nullptr);
    EXPECT_EQ(tree.Next(31)->value, 50);
    EXPECT_EQ(tree.Next(90), nullptr);
    EXPECT_EQ(tree.Previous(50)->value, 30);
    delete tree.Remove(50);
    EXPECT_EQ(in_order(tree), (std::vector<int>{10, 20, 30, 60, 70, 80, 90}));
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
