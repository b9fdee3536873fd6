// Ordered name index of the assembler: a red-black tree of objects keyed by name, used for
// every name-to-number binding (variables, string constants, functions, labels).
#ifndef TARN_ASSEMBLER_RBTREE_H
#define TARN_ASSEMBLER_RBTREE_H

#include "foundation/List.h"

// Byte order (bytes unsigned, as strcmp compares them), case-sensitive: "Main" and "main" are
// different keys. Written out because the keys are mostly a few bytes long, shorter than the
// library call's own set-up.
inline int rbtree_compare(const char* a, const char* b) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    while (*p != 0 && *p == *q) {
        ++p;
        ++q;
    }
    return *p < *q ? -1 : (*p > *q ? 1 : 0);
}

// The balancing is the left-leaning form of the red-black tree (a red link always leans
// left), so insertion and removal are short recursive walks; the depth stays below twice the
// binary logarithm of the entry count. Objects are never copied: the tree holds pointers and,
// when 'owner' is set, deletes them in Dump and on destruction. Callers Find before they
// Insert, so a tree never holds two objects of one key.
template <class T, class K>
class RBTree {
  public:
    explicit RBTree(int owner) : owner_(owner), entries_(0), root_(nullptr) {}
    virtual ~RBTree() { Dump(); }

    RBTree(const RBTree&) = delete;
    RBTree& operator=(const RBTree&) = delete;

    virtual int Entries() const { return entries_; }

    // Returns 'object'.
    virtual T* Insert(T* object) {
        root_ = InsertNode(root_, object, Key(object));
        root_->red = false;
        ++entries_;
        return object;
    }

    // Takes the object of 'key' out of the tree and returns it without deleting it, or
    // returns none when the key is absent.
    virtual T* Remove(K key) {
        if (Find(key) == nullptr) return nullptr;
        if (!IsRed(root_->left) && !IsRed(root_->right)) root_->red = true;
        T* removed = nullptr;
        root_ = RemoveNode(root_, key, &removed);
        if (root_ != nullptr) root_->red = false;
        --entries_;
        return removed;
    }

    virtual T* Find(K key) {
        Node* node = root_;
        while (node != nullptr) {
            int order = Compare(key, node->object);
            if (order == 0) return node->object;
            node = order < 0 ? node->left : node->right;
        }
        return nullptr;
    }

    // Discards every node, and every object when the tree owns them; the tree is then empty.
    virtual void Dump() {
        DumpNode(root_);
        root_ = nullptr;
        entries_ = 0;
    }

    virtual K Key(T* object) { return object->name(); }
    virtual int Compare(K key, T* object) { return rbtree_compare(key, Key(object)); }

    // Appends the objects in key order at the tail of 'list'.
    virtual void AppendToList(List<T>& list) { AppendNode(root_, list); }

    // True when every path from the root down holds the same number of black links and no red
    // link follows another: the balance that bounds the depth.
    bool CheckBalance() const {
        int black_height = 0;
        return !IsRed(root_) && CheckNode(root_, 0, &black_height);
    }

  protected:
    int owner() const { return owner_; }

  private:
    struct Node {
        explicit Node(T* p) : left(nullptr), right(nullptr), red(true), object(p) {}
        Node* left;
        Node* right;
        bool red;
        T* object;
    };

    static bool IsRed(const Node* node) { return node != nullptr && node->red; }

    static Node* RotateLeft(Node* h) {
        Node* x = h->right;
        h->right = x->left;
        x->left = h;
        x->red = h->red;
        h->red = true;
        return x;
    }

    static Node* RotateRight(Node* h) {
        Node* x = h->left;
        h->left = x->right;
        x->right = h;
        x->red = h->red;
        h->red = true;
        return x;
    }

    static void FlipColours(Node* h) {
        h->red = !h->red;
        h->left->red = !h->left->red;
        h->right->red = !h->right->red;
    }

    static Node* Balance(Node* h) {
        if (IsRed(h->right) && !IsRed(h->left)) h = RotateLeft(h);
        if (IsRed(h->left) && IsRed(h->left->left)) h = RotateRight(h);
        if (IsRed(h->left) && IsRed(h->right)) FlipColours(h);
        return h;
    }

    static Node* MoveRedLeft(Node* h) {
        FlipColours(h);
        if (IsRed(h->right->left)) {
            h->right = RotateRight(h->right);
            h = RotateLeft(h);
            FlipColours(h);
        }
        return h;
    }

    static Node* MoveRedRight(Node* h) {
        FlipColours(h);
        if (IsRed(h->left->left)) {
            h = RotateRight(h);
            FlipColours(h);
        }
        return h;
    }

    Node* InsertNode(Node* h, T* object, K key) {
        if (h == nullptr) return new Node(object);
        if (Compare(key, h->object) < 0) {
            h->left = InsertNode(h->left, object, key);
        } else {
            h->right = InsertNode(h->right, object, key);
        }
        return Balance(h);
    }

    // Removes the leftmost node below 'h'; its object has already been moved elsewhere.
    static Node* RemoveMinimum(Node* h) {
        if (h->left == nullptr) {
            delete h;
            return nullptr;
        }
        if (!IsRed(h->left) && !IsRed(h->left->left)) h = MoveRedLeft(h);
        h->left = RemoveMinimum(h->left);
        return Balance(h);
    }

    // 'key' is known to be in the subtree.
    Node* RemoveNode(Node* h, K key, T** removed) {
        if (Compare(key, h->object) < 0) {
            if (!IsRed(h->left) && !IsRed(h->left->left)) h = MoveRedLeft(h);
            h->left = RemoveNode(h->left, key, removed);
        } else {
            if (IsRed(h->left)) h = RotateRight(h);
            if (Compare(key, h->object) == 0 && h->right == nullptr) {
                *removed = h->object;
                delete h;
                return nullptr;
            }
            if (!IsRed(h->right) && !IsRed(h->right->left)) h = MoveRedRight(h);
            if (Compare(key, h->object) == 0) {
                Node* minimum = h->right;
                while (minimum->left != nullptr) minimum = minimum->left;
                *removed = h->object;
                h->object = minimum->object;
                h->right = RemoveMinimum(h->right);
            } else {
                h->right = RemoveNode(h->right, key, removed);
            }
        }
        return Balance(h);
    }

    void DumpNode(Node* node) {
        if (node == nullptr) return;
        DumpNode(node->left);
        DumpNode(node->right);
        if (owner_) delete node->object;
        delete node;
    }

    static void AppendNode(Node* node, List<T>& list) {
        if (node == nullptr) return;
        AppendNode(node->left, list);
        list.Insert(node->object, LIST_TAIL);
        AppendNode(node->right, list);
    }

    static bool CheckNode(const Node* node, int blacks, int* black_height) {
        if (node == nullptr) {
            if (*black_height == 0) *black_height = blacks;
            return *black_height == blacks;
        }
        if (IsRed(node->right)) return false;
        if (IsRed(node) && IsRed(node->left)) return false;
        int below = blacks + (node->red ? 0 : 1);
        return CheckNode(node->left, below, black_height) &&
               CheckNode(node->right, below, black_height);
    }

    int owner_;
    int entries_;
    Node* root_;
};

#endif
