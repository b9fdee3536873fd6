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
    Item(int v, int* destroyed) : value(v), destroyed(destroyed) {}
    Item(const Item& other) = default;
    ~Item() {
        if (destroyed != nullptr) {
            (*destroyed)++;
        }
    }
    int value;
    int* destroyed;
};

// A named object for the hash table.
struct Named {
    Named(const char* n, int* destroyed = nullptr) : name(n), destroyed(destroyed) {}
    ~Named() {
        if (destroyed != nullptr) {
            (*destroyed)++;
        }
    }
    std::string name;
    int* destroyed;
};

class NameTable : public HashTable<Named> {
  public:
    NameTable(int owner, int case_insensitive, int bucket_bits, int capacity)
        : HashTable<Named>(owner, case_insensitive, bucket_bits, capacity) {}
    using HashTable<Named>::hash;
    unsigned hash(Named* object) override {
        return hash(object->name.c_str(), static_cast<int>(object->name.size()));
    }
    int Compare(Named* entry, Named* object) override {
        return Compare(entry, object->name.c_str(), static_cast<int>(object->name.size()));
    }
    int Compare(Named* entry, const char* name, int length) override {
        return CompareName(entry->name.c_str(), static_cast<int>(entry->name.size()), name, length);
    }
    // The names of one bucket's chain, in chain order.
    std::vector<std::string> Chain(const char* name) {
        std::vector<std::string> names;
        for (int e = buckets_[hash(name, -1)]; e != -1; e = next_[e]) {
            names.push_back(objects_[e]->name);
        }
        return names;
    }
    int UsedBuckets() const { return bucket_entries_; }
    int Capacity() const { return capacity_; }
};

// Integer keys; Purge records the order in which objects are destroyed.
class ItemTree : public SplayTree<Item, int> {
  public:
    explicit ItemTree(int owner) : SplayTree<Item, int>(owner) {}
    ItemTree(const ItemTree& other) = default;
    ~ItemTree() override { Dump(); }
    int Key(Item* item) override { return item->value; }
    int Compare(int key, Item* item) override {
        return key < item->value ? -1 : key > item->value ? 1 : 0;
    }
    void Purge(Item* item) override {
        purged.push_back(item->value);
        delete item;
    }
    int RootKey() const { return root_ != nullptr ? root_->object->value : -1; }
    std::vector<int> purged;
};

std::vector<int> in_order(ItemTree& tree) {
    List<Item> list(0);
    tree.AppendToList(list);
    std::vector<int> values;
    for (Item* item = list.First(); item != nullptr; item = list.Next()) {
        values.push_back(item->value);
    }
    return values;
}

std::vector<int> forwards(List<Item>& list) {
    std::vector<int> values;
    for (Item* item = list.First(); item != nullptr; item = list.Next()) {
        values.push_back(item->value);
    }
    return values;
}

std::vector<int> backwards(List<Item>& list) {
    std::vector<int> values;
    for (Item* item = list.Last(); item != nullptr; item = list.Previous()) {
        values.push_back(item->value);
    }
    return values;
}

}  // namespace

// ---- List ----

TEST(List, InsertPositionsAndCursor) {
    Item a(1, nullptr), b(2, nullptr), c(3, nullptr), d(4, nullptr), e(5, nullptr);
    List<Item> list(0);
    list.Insert(&b, LIST_CURSOR);  // into an empty list: head, cursor and tail
    EXPECT_EQ(list.Current(), &b);
    EXPECT_EQ(list.Last(), &b);
    list.Insert(&d, LIST_TAIL);
    EXPECT_EQ(list.Current(), &d);
    list.Insert(&c, LIST_CURSOR);  // before d
    EXPECT_EQ(list.Current(), &c);
    list.Insert(&a, LIST_HEAD);
    EXPECT_EQ(list.Current(), &a);
    list.Insert(&e, LIST_TAIL);
    EXPECT_EQ(forwards(list), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(backwards(list), (std::vector<int>{5, 4, 3, 2, 1}));
    EXPECT_EQ(list.Next(), nullptr);  // the cursor ran off the head
    list.Insert(&a, LIST_CURSOR);     // with no cursor: at the tail
    EXPECT_EQ(list.Last(), &a);
    EXPECT_EQ(list.Entries(), 6);
}

TEST(List, RemoveMovesTheCursorAway) {
    Item a(1, nullptr), b(2, nullptr), c(3, nullptr);
    List<Item> list(0);
    list.Insert(&a, LIST_TAIL);
    list.Insert(&b, LIST_TAIL);
    list.Insert(&c, LIST_TAIL);
    EXPECT_EQ(list.Seek(&b), &b);
    EXPECT_EQ(list.Remove(LIST_CURSOR), &b);
    EXPECT_EQ(list.Current(), &c);
    EXPECT_EQ(list.Remove(LIST_TAIL), &c);
    EXPECT_EQ(list.Current(), &a);
    EXPECT_EQ(list.Remove(LIST_HEAD), &a);
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(list.Entries(), 0);
    EXPECT_EQ(list.Seek(&a), nullptr);
}

TEST(List, RemoveFromOneAndFromNone) {
    Item a(1, nullptr);
    List<Item> list(0);
    list.Insert(&a, LIST_CURSOR);
    EXPECT_EQ(list.Remove(LIST_TAIL), &a);
    EXPECT_EQ(list.First(), nullptr);
    EXPECT_EQ(list.Last(), nullptr);
    EXPECT_EQ(list.Entries(), 0);
    EXPECT_EQ(list.Remove(LIST_HEAD), nullptr);
    EXPECT_EQ(list.Entries(), -1);  // kept: the count drops before the list is looked at
}

TEST(List, OwnershipDecidesWhatDumpDestroys) {
    int destroyed = 0;
    {
        List<Item> owning(1);
        for (int i = 0; i < 3; i++) {
            owning.Insert(new Item(i, &destroyed), LIST_TAIL);
        }
        Item* kept = owning.Remove(LIST_HEAD);
        owning.Dump();
        EXPECT_EQ(destroyed, 2);
        EXPECT_EQ(owning.Entries(), 0);
        delete kept;
        owning.Insert(new Item(9, &destroyed), LIST_TAIL);
    }
    EXPECT_EQ(destroyed, 4);  // the destructor dumps what is left
    Item local(1, &destroyed);
    {
        List<Item> borrowing(0);
        borrowing.Insert(&local, LIST_TAIL);
        List<Item> owning(1);
        owning.Insert(&local, LIST_TAIL);
        owning.RemoveAll();
    }
    EXPECT_EQ(destroyed, 4);
}

// ---- Stack ----

TEST(Stack, PopAtPeekedNodeRemovesTheNodesAbove) {
    for (int owner : {0, 1}) {
        int destroyed = 0;
        Item* a = new Item(1, &destroyed);
        Item* b = new Item(2, &destroyed);
        Stack<Item> stack(owner);
        stack.Push(a);
        stack.Push(b);
        EXPECT_EQ(stack.Peek(), a);
        EXPECT_EQ(stack.Pop(), a);
        EXPECT_EQ(stack.Entries(), 0);
        EXPECT_EQ(destroyed, owner ? 1 : 0) << "owner " << owner;
        delete a;
        if (!owner) {
            delete b;
        }
    }
}

TEST(Stack, PushPopTopAndPeekWalk) {
    Item a(1, nullptr), b(2, nullptr), c(3, nullptr);
    Stack<Item> stack(0);
    EXPECT_EQ(stack.Pop(), nullptr);
    EXPECT_EQ(stack.Top(), nullptr);
    EXPECT_EQ(stack.Peek(), nullptr);
    stack.Push(&a);
    stack.Push(&b);
    stack.Push(&c);
    EXPECT_EQ(stack.Top(), &c);
    EXPECT_EQ(stack.Peek(), &b);
    EXPECT_EQ(stack.Peek(), &a);
    EXPECT_EQ(stack.Peek(), nullptr);
    EXPECT_EQ(stack.Pop(), &c);  // a cursor off the bottom pops the top
    EXPECT_EQ(stack.Pop(), &b);
    EXPECT_EQ(stack.Top(), &a);
    EXPECT_EQ(stack.Entries(), 1);
}

TEST(Stack, OwningDumpDestroysEveryObject) {
    int destroyed = 0;
    {
        Stack<Item> stack(1);
        for (int i = 0; i < 5; i++) {
            stack.Push(new Item(i, &destroyed));
        }
        stack.Dump();
        EXPECT_EQ(destroyed, 5);
        stack.Push(new Item(5, &destroyed));
    }
    EXPECT_EQ(destroyed, 6);
}

// ---- HashTable ----

TEST(HashTable, ChainsSortByLengthThenName) {
    Named bb("bb"), a("a"), ab("ab"), a2("A");
    NameTable table(0, 1, 0, 4);  // one bucket: every name shares a chain
    table.Insert(&bb);
    table.Insert(&a);
    table.Insert(&ab);
    EXPECT_EQ(table.Chain("a"), (std::vector<std::string>{"a", "ab", "bb"}));
    EXPECT_EQ(table.Insert(&a2), 3);
    EXPECT_EQ(table.Chain("a"), (std::vector<std::string>{"a", "A", "ab", "bb"}));
    EXPECT_EQ(table.Find("AB", -1), &ab);
    EXPECT_EQ(table.Find("a", 1), &a);  // the first of two equals
    EXPECT_EQ(table.Find("b", -1), nullptr);
    EXPECT_EQ(table.Find("abc", -1), nullptr);
    EXPECT_EQ(table.UsedBuckets(), 1);
}

TEST(HashTable, CaseDecidesHashAndMatch) {
    Named main_name("Main");
    NameTable folded(0, 1, 8, 0);
    folded.Insert(&main_name);
    EXPECT_EQ(folded.hash("MAIN", -1), hashi("main", 4, 0) & 0xFF);
    EXPECT_EQ(folded.Find("MAIN", 4), &main_name);
    Named probe("mAiN");
    EXPECT_EQ(folded.Find(&probe), &main_name);
    NameTable exact(0, 0, 8, 0);
    exact.Insert(&main_name);
    EXPECT_EQ(exact.hash("Main", -1), hash("Main", 4, 0) & 0xFF);
    EXPECT_EQ(exact.Find("Main", -1), &main_name);
    EXPECT_EQ(exact.Find("MAIN", -1), nullptr);
    EXPECT_EQ(exact.Find(nullptr, 3), nullptr);
}

TEST(HashTable, GrowsBy512AndKeepsIndexes) {
    int destroyed = 0;
    {
        NameTable table(1, 1, 4, 512);
        for (int i = 0; i < 513; i++) {
            EXPECT_EQ(table.Insert(new Named(("v" + std::to_string(i)).c_str(), &destroyed)), i);
        }
        EXPECT_EQ(table.Capacity(), 1024);
        EXPECT_EQ(table.Entries(), 513);
        for (int i = 0; i < 513; i++) {
            std::string name = "V" + std::to_string(i);
            ASSERT_EQ(table.Find(name.c_str(), -1), table.Index(i)) << name;
        }
        EXPECT_EQ(table.Index(513), nullptr);
        EXPECT_EQ(table.Index(-1), nullptr);
    }
    EXPECT_EQ(destroyed, 513);
}

TEST(HashTable, RemoveKeepsOrderAndChains) {
    const char* names[] = {"alpha", "beta", "gamma", "delta", "epsilon", "zeta"};
    std::vector<Named> objects(std::begin(names), std::end(names));
    NameTable table(0, 1, 1, 2);
    for (Named& object : objects) {
        table.Insert(&object);
    }
    EXPECT_EQ(table.Remove("GAMMA", -1), &objects[2]);
    EXPECT_EQ(table.Remove(&objects[0]), &objects[0]);
    EXPECT_EQ(table.Remove("gamma", -1), nullptr);
    std::vector<std::string> left;
    for (Named* n = table.First(); n != nullptr; n = table.Next()) {
        left.push_back(n->name);
        EXPECT_EQ(table.Find(n->name.c_str(), -1), n);
    }
    EXPECT_EQ(left, (std::vector<std::string>{"beta", "delta", "epsilon", "zeta"}));
    EXPECT_EQ(table.Last(), &objects[5]);
    EXPECT_EQ(table.Previous(), &objects[4]);
}

// ---- SplayTree ----

TEST(SplayTree, FindNextPreviousAndRemove) {
    ItemTree tree(1);
    for (int key : {50, 20, 80, 10, 30, 70, 90, 60}) {
        ASSERT_NE(tree.Insert(new Item(key, nullptr)), nullptr);
    }
    Item duplicate(30, nullptr);
    EXPECT_EQ(tree.Insert(&duplicate), nullptr);
    EXPECT_EQ(tree.Entries(), 8);
    EXPECT_EQ(tree.Find(70)->value, 70);
    EXPECT_EQ(tree.RootKey(), 70);  // a lookup splays its key to the root
    EXPECT_EQ(tree.Find(65), nullptr);
    EXPECT_EQ(tree.Next(30)->value, 50);
    EXPECT_EQ(tree.Next(31)->value, 50);
    EXPECT_EQ(tree.Next(90), nullptr);
    EXPECT_EQ(tree.Previous(50)->value, 30);
    EXPECT_EQ(tree.Previous(11)->value, 10);
    EXPECT_EQ(tree.Previous(10), nullptr);
    EXPECT_EQ(tree.First()->value, 10);
    EXPECT_EQ(tree.Last()->value, 90);
    Item* removed = tree.Remove(50);
    ASSERT_NE(removed, nullptr);
    delete removed;
    EXPECT_EQ(tree.Remove(50), nullptr);
    EXPECT_EQ(in_order(tree), (std::vector<int>{10, 20, 30, 60, 70, 80, 90}));
    EXPECT_EQ(tree.Entries(), 7);
    ItemTree empty(0);
    EXPECT_EQ(empty.Find(1), nullptr);
    EXPECT_EQ(empty.Remove(1), nullptr);
    EXPECT_EQ(empty.Next(1), nullptr);
}

TEST(SplayTree, LargeTreesAreWalkedWithAStack) {
    // The recursive walk purges a node after its children, the stack walk before them; the
    // last insert is the root, so it is purged last or first.
    for (int entries : {99, 100}) {
        int destroyed = 0;
        std::vector<int> purged;
        {
            ItemTree tree(1);
            for (int key = 0; key < entries; key++) {
                tree.Insert(new Item((key * 37) % entries, &destroyed));
            }
            int root = tree.RootKey();
            tree.Dump();
            purged = tree.purged;
            ASSERT_EQ(static_cast<int>(purged.size()), entries);
            if (entries < 100) {
                EXPECT_EQ(purged.back(), root);
            } else {
                EXPECT_EQ(purged.front(), root);
            }
        }
        EXPECT_EQ(destroyed, entries);
    }
}

TEST(SplayTree, DeepChainCopiesListsAndDumps) {
    // Ascending inserts build a chain as deep as the tree is large.
    const int entries = 20000;
    int destroyed = 0;
    {
        ItemTree tree(1);
        for (int key = 0; key < entries; key++) {
            tree.Insert(new Item(key, &destroyed));
        }
        ItemTree copy(tree);
        EXPECT_EQ(copy.Entries(), entries);
        std::vector<int> values = in_order(copy);
        ASSERT_EQ(static_cast<int>(values.size()), entries);
        for (int key = 0; key < entries; key++) {
            ASSERT_EQ(values[key], key);
        }
        EXPECT_EQ(copy.Find(0)->value, 0);
        EXPECT_EQ(tree.Find(0)->value, 0);
        EXPECT_NE(copy.Find(7), tree.Find(7));  // an owning copy has objects of its own
    }
    EXPECT_EQ(destroyed, 2 * entries);
}
