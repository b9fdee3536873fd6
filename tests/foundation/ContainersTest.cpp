// The container templates: list and stack cursors, the ordered chains of the hash table, and
// the splay tree with its explicit-stack walks for large trees.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/List.h"
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

TEST(List, InsertIntoEmptyListMakesHeadCursorAndTail) {
    for (ListPosition position : {LIST_HEAD, LIST_CURSOR, LIST_TAIL}) {
        Item a(1, nullptr);
        List<Item> list(0);
        list.Insert(&a, position);
        EXPECT_EQ(list.Current(), &a);
        EXPECT_EQ(list.First(), &a);
        EXPECT_EQ(list.Last(), &a);
        EXPECT_EQ(list.Entries(), 1);
    }
}

TEST(List, InsertPositionsAndCursor) {
    Item a(1, nullptr), b(2, nullptr), c(3, nullptr), d(4, nullptr), e(5, nullptr);
    List<Item> list(0);
    list.Insert(&b, LIST_TAIL);
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
