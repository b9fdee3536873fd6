// The element tree: key order, renumbering on either side of the explicit-stack threshold,
// and the release of every element variable.
#include "value/AggregateElementTree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "value/Variable.h"

namespace {

std::vector<int> Slots(AggregateElementTree& tree) {
    List<AggregateElement> in_order(0);
    tree.AppendToList(in_order);
    std::vector<int> slots;
    for (AggregateElement* e = in_order.First(); e != nullptr; e = in_order.Next()) {
        slots.push_back(e->index().index());
    }
    in_order.RemoveAll();
    return slots;
}

}  // namespace

TEST(AggregateElementTree, KeepsNumbersInOrderThenNamesIgnoringCase) {
    AggregateElementTree tree;
    const AggregateIndex keys[] = {AggregateIndex("b"),   30, AggregateIndex("AB"), 2,
                                   AggregateIndex("abc"), 0,  AggregateIndex("a")};
    for (const AggregateIndex& key : keys) {
        ASSERT_NE(tree.Insert(new AggregateElement(key, new Variable())), nullptr);
    }
    List<AggregateElement> in_order(0);
    tree.AppendToList(in_order);
    std::string order;
    for (AggregateElement* e = in_order.First(); e != nullptr; e = in_order.Next()) {
        const String& text = e->index().serialized();
        order += std::string(text.c_str(), text.length()) + " ";
    }
    in_order.RemoveAll();
    EXPECT_EQ(order, "\"0\" \"2\" \"30\" \"a\" \"AB\" \"abc\" \"b\" ");
    EXPECT_NE(tree.Find(AggregateIndex("Ab")), nullptr);
    EXPECT_EQ(tree.Find(AggregateIndex("abcd")), nullptr);
    // A second element with an equal key is turned away and stays the caller's.
    AggregateElement duplicate(AggregateIndex("B"), new Variable());
    EXPECT_EQ(tree.Insert(&duplicate), nullptr);
}

TEST(AggregateElementTree, DisplacesOnBothSidesOfTheStackThreshold) {
    // 99 entries are renumbered by recursion, 100 and more through the explicit stack; built
    // in order, the tree starts as a chain as deep as it has entries.
    for (int count : {1, 99, 100, 101, 5000}) {
        AggregateElementTree tree;
        for (int slot = 1; slot <= count; ++slot) {
            tree.Insert(new AggregateElement(slot, new Variable("", 0, slot)));
        }
        int from = count / 2 + 1;
        tree.Displace(from, 3);
        std::vector<int> slots = Slots(tree);
        ASSERT_EQ(static_cast<int>(slots.size()), count);
        for (int i = 0; i < count; ++i) {
            int original = i + 1;
            EXPECT_EQ(slots[i], original >= from ? original + 3 : original) << count << " " << i;
        }
        // The tree still finds every slot by its new number and holds the same variable.
        for (int original = 1; original <= count; ++original) {
            int slot = original >= from ? original + 3 : original;
            AggregateElement* found = tree.Find(slot);
            ASSERT_NE(found, nullptr) << count << " " << slot;
            EXPECT_EQ(found->variable()->value_integer(), original);
        }
        tree.Displace(from + 3, -3);
        EXPECT_EQ(Slots(tree).back(), count);
    }
}
