// The elements of one array or structure, kept in key order in a splay tree so that the slot
// just used is found again at the root.
#ifndef TARN_VALUE_AGGREGATEELEMENTTREE_H
#define TARN_VALUE_AGGREGATEELEMENTTREE_H

#include "foundation/SplayTree.h"
#include "value/AggregateElement.h"
#include "value/AggregateIndex.h"

// From this many entries on, renumbering walks the tree with an explicit stack instead of
// recursion: a tree built in key order can be as deep as it has entries.
constexpr int AGGREGATE_DISPLACE_STACK_ENTRIES = 100;

class AggregateElementTree : public SplayTree<AggregateElement, const AggregateIndex&> {
  public:
    // The tree owns its elements; each element holds one reference to its variable.
    AggregateElementTree();
    ~AggregateElementTree() override;

    AggregateElementTree(const AggregateElementTree&) = delete;
    AggregateElementTree& operator=(const AggregateElementTree&) = delete;

    const AggregateIndex& Key(AggregateElement* element) override;
    int Compare(const AggregateIndex& key, AggregateElement* element) override;

    // Adds 'delta' to every array slot at or above 'from'. The caller guarantees that no slot
    // crosses another (the slots between 'from' + 'delta' and 'from' are empty), so the tree
    // keeps its shape and order.
    void Displace(int from, int delta);

  private:
    void DisplaceRecurse(SplayTreeNode<AggregateElement>* node, int from, int delta);
    void DisplaceStack(int from, int delta);
};

#endif
