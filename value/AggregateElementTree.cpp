// The elements of one array or structure, kept in key order in a splay tree so that the slot
// just used is found again at the root.
#include "value/AggregateElementTree.h"

#include "foundation/Stack.h"

AggregateElementTree::AggregateElementTree()
    : SplayTree<AggregateElement, const AggregateIndex&>(1) {}

AggregateElementTree::~AggregateElementTree() {
    Dump();
}

const AggregateIndex& AggregateElementTree::Key(AggregateElement* element) {
    return element->index();
}

int AggregateElementTree::Compare(const AggregateIndex& key, AggregateElement* element) {
    return element->index().Compare(key);
}

void AggregateElementTree::Displace(int from, int delta) {
    if (delta == 0) return;
    if (Entries() < AGGREGATE_DISPLACE_STACK_ENTRIES) {
        DisplaceRecurse(root_, from, delta);
    } else {
        DisplaceStack(from, delta);
    }
}

void AggregateElementTree::DisplaceRecurse(SplayTreeNode<AggregateElement>* node, int from,
                                           int delta) {
    while (node != nullptr) {
        AggregateIndex& index = node->object->index();
        if (index.index() >= 0 && index.index() < from) {
            // Everything to the left is a smaller slot still: only the right can move.
            node = node->right;
            continue;
        }
        if (index.index() >= 0) index.Displace(delta);
        DisplaceRecurse(node->left, from, delta);
        node = node->right;
    }
}

void AggregateElementTree::DisplaceStack(int from, int delta) {
    Stack<SplayTreeNode<AggregateElement>> pending(0);
    if (root_ != nullptr) pending.Push(root_);
    while (pending.Entries() > 0) {
        SplayTreeNode<AggregateElement>* node = pending.Pop();
        AggregateIndex& index = node->object->index();
        if (index.index() < 0 || index.index() >= from) {
            if (index.index() >= 0) index.Displace(delta);
            if (node->left != nullptr) pending.Push(node->left);
        }
        if (node->right != nullptr) pending.Push(node->right);
    }
}
