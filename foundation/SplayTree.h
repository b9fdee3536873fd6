// Ordered tree of object pointers, self-adjusting by top-down splaying; the base of the
// aggregate element tree. Optionally owns its objects.
#ifndef TARN_FOUNDATION_SPLAYTREE_H
#define TARN_FOUNDATION_SPLAYTREE_H

#include "foundation/List.h"
#include "foundation/Stack.h"

// Trees of this many entries or more are walked with an explicit Stack instead of recursion,
// so that a degenerate tree (a splay tree can be a chain) cannot exhaust the call stack.
constexpr int SPLAYTREE_STACK_WALK_ENTRIES = 100;

template <class T>
struct SplayTreeNode {
    SplayTreeNode* left;
    SplayTreeNode* right;
    T* object;
};

// An instantiation supplies Key (the key of an object) and Compare (negative when 'key'
// orders before the key of 'object', 0 when equal, positive after). The destructor runs Dump
// with this class's own Purge: an instantiation that overrides Purge calls Dump itself.
template <class T, class K>
class SplayTree {
  public:
    explicit SplayTree(int owner = 0) : owner_(owner), entries_(0), root_(nullptr) {}

    // Copies the shape of 'other'. An owning tree gets its own copies of the objects (through
    // T's copy constructor); a borrowing one points at the same objects.
    SplayTree(const SplayTree& other)
        : owner_(other.owner_), entries_(other.entries_), root_(nullptr) {
        if (other.root_ == nullptr) {
            return;
        }
        if (entries_ < SPLAYTREE_STACK_WALK_ENTRIES) {
            root_ = CopyRecurse(other.root_);
        } else {
            root_ = CopyStack(other.root_);
        }
    }
    SplayTree& operator=(const SplayTree&) = delete;

    virtual ~SplayTree() { Dump(); }

    // Adds 'object' as the new root and returns it; null when an object of an equal key is
    // present already (the tree is then only splayed, and 'object' stays the caller's).
    virtual T* Insert(T* object) {
        if (object == nullptr) {
            return nullptr;
        }
        SplayTreeNode<T>* node = new SplayTreeNode<T>{nullptr, nullptr, object};
        if (root_ != nullptr) {
            K key = Key(object);
            Splay(key);
            int order = Compare(key, root_->object);
            if (order == 0) {
                delete node;
                return nullptr;
            }
            if (order < 0) {
                node->left = root_->left;
                node->right = root_;
                root_->left = nullptr;
            } else {
                node->right = root_->right;
                node->left = root_;
                root_->right = nullptr;
            }
        }
        root_ = node;
        entries_++;
        return object;
    }

    // Unlinks the object of 'key' and returns it without destroying it; null when absent.
    virtual T* Remove(K key) {
        if (root_ == nullptr) {
            return nullptr;
        }
        Splay(key);
        if (Compare(key, root_->object) != 0) {
            return nullptr;
        }
        SplayTreeNode<T>* removed = root_;
        if (removed->left == nullptr) {
            root_ = removed->right;
        } else {
            // Splaying the left subtree for the removed key brings its largest node up, which
            // has no right child to lose.
            root_ = removed->left;
            Splay(key);
            root_->right = removed->right;
        }
        T* object = removed->object;
        delete removed;
        entries_--;
        return object;
    }

    virtual T* Find(K key) {
        if (root_ == nullptr) {
            return nullptr;
        }
        Splay(key);
        return Compare(key, root_->object) == 0 ? root_->object : nullptr;
    }

    // The object with the smallest key after 'key' (which need not be present), or null.
    virtual T* Next(K key) {
        if (root_ == nullptr) {
            return nullptr;
        }
        Splay(key);
        if (Compare(key, root_->object) < 0) {
            return root_->object;
        }
        SplayTreeNode<T>* node = root_->right;
        if (node == nullptr) {
            return nullptr;
        }
        while (node->left != nullptr) {
            node = node->left;
        }
        return node->object;
    }

    // The object with the largest key before 'key' (which need not be present), or null.
    virtual T* Previous(K key) {
        if (root_ == nullptr) {
            return nullptr;
        }
        Splay(key);
        if (Compare(key, root_->object) > 0) {
            return root_->object;
        }
        SplayTreeNode<T>* node = root_->left;
        if (node == nullptr) {
            return nullptr;
        }
        while (node->right != nullptr) {
            node = node->right;
        }
        return node->object;
    }

    virtual T* First() {
        SplayTreeNode<T>* node = root_;
        if (node == nullptr) {
            return nullptr;
        }
        while (node->left != nullptr) {
            node = node->left;
        }
        return node->object;
    }

    virtual T* Last() {
        SplayTreeNode<T>* node = root_;
        if (node == nullptr) {
            return nullptr;
        }
        while (node->right != nullptr) {
            node = node->right;
        }
        return node->object;
    }

    // Empties the tree; an owning tree purges every object.
    virtual void Dump() {
        if (root_ != nullptr) {
            if (entries_ < SPLAYTREE_STACK_WALK_ENTRIES) {
                DumpRecurse(root_);
            } else {
                DumpStack(root_);
            }
        }
        root_ = nullptr;
        entries_ = 0;
    }

    virtual void Purge(T* object) { delete object; }
    virtual K Key(T* object) = 0;
    virtual int Compare(K key, T* object) = 0;

    int Entries() const { return entries_; }

    // Appends every object in key order at the tail of 'list'.
    void AppendToList(List<T>& list) {
        if (root_ == nullptr) {
            return;
        }
        if (entries_ < SPLAYTREE_STACK_WALK_ENTRIES) {
            AppendRecurse(root_, list);
            return;
        }
        Stack<SplayTreeNode<T>> pending(0);
        SplayTreeNode<T>* node = root_;
        while (node != nullptr || pending.Entries() > 0) {
            while (node != nullptr) {
                pending.Push(node);
                node = node->left;
            }
            node = pending.Pop();
            list.Insert(node->object, LIST_TAIL);
            node = node->right;
        }
    }

    // Top-down splay: brings the node of 'key', or the last node on its search path, to the
    // root. Nodes passed on the way are hung on a left and a right assembly tree, which become
    // the new root's children at the end.
    void Splay(K key) {
        if (root_ == nullptr) {
            return;
        }
        SplayTreeNode<T> assembly{nullptr, nullptr, nullptr};
        SplayTreeNode<T>* left_tail = &assembly;
        SplayTreeNode<T>* right_tail = &assembly;
        SplayTreeNode<T>* node = root_;
        for (;;) {
            int order = Compare(key, node->object);
            if (order < 0) {
                if (node->left == nullptr) {
                    break;
                }
                if (Compare(key, node->left->object) < 0) {
                    SplayTreeNode<T>* child = node->left;  // zig-zig: rotate right first
                    node->left = child->right;
                    child->right = node;
                    node = child;
                    if (node->left == nullptr) {
                        break;
                    }
                }
                right_tail->left = node;
                right_tail = node;
                node = node->left;
            } else if (order > 0) {
                if (node->right == nullptr) {
                    break;
                }
                if (Compare(key, node->right->object) > 0) {
                    SplayTreeNode<T>* child = node->right;  // zig-zig: rotate left first
                    node->right = child->left;
                    child->left = node;
                    node = child;
                    if (node->right == nullptr) {
                        break;
                    }
                }
                left_tail->right = node;
                left_tail = node;
                node = node->right;
            } else {
                break;
            }
        }
        left_tail->right = node->left;
        right_tail->left = node->right;
        node->left = assembly.right;
        node->right = assembly.left;
        root_ = node;
    }

  protected:
    SplayTreeNode<T>* CopyNode(const SplayTreeNode<T>* source) const {
        T* object = owner_ && source->object != nullptr ? new T(*source->object) : source->object;
        return new SplayTreeNode<T>{nullptr, nullptr, object};
    }

    SplayTreeNode<T>* CopyRecurse(const SplayTreeNode<T>* source) const {
        SplayTreeNode<T>* copy = CopyNode(source);
        if (source->left != nullptr) {
            copy->left = CopyRecurse(source->left);
        }
        if (source->right != nullptr) {
            copy->right = CopyRecurse(source->right);
        }
        return copy;
    }

    // Source nodes and their copies travel on two stacks in step.
    SplayTreeNode<T>* CopyStack(SplayTreeNode<T>* source) const {
        Stack<SplayTreeNode<T>> sources(0);
        Stack<SplayTreeNode<T>> copies(0);
        SplayTreeNode<T>* root = CopyNode(source);
        sources.Push(source);
        copies.Push(root);
        while (sources.Entries() > 0) {
            SplayTreeNode<T>* from = sources.Pop();
            SplayTreeNode<T>* to = copies.Pop();
            if (from->left != nullptr) {
                to->left = CopyNode(from->left);
                sources.Push(from->left);
                copies.Push(to->left);
            }
            if (from->right != nullptr) {
                to->right = CopyNode(from->right);
                sources.Push(from->right);
                copies.Push(to->right);
            }
        }
        return root;
    }

    void DumpRecurse(SplayTreeNode<T>* node) {
        if (node->left != nullptr) {
            DumpRecurse(node->left);
        }
        if (node->right != nullptr) {
            DumpRecurse(node->right);
        }
        if (owner_) {
            Purge(node->object);
        }
        delete node;
    }

    void DumpStack(SplayTreeNode<T>* root) {
        Stack<SplayTreeNode<T>> pending(0);
        pending.Push(root);
        while (pending.Entries() > 0) {
            SplayTreeNode<T>* node = pending.Pop();
            if (node->left != nullptr) {
                pending.Push(node->left);
            }
            if (node->right != nullptr) {
                pending.Push(node->right);
            }
            if (owner_) {
                Purge(node->object);
            }
            delete node;
        }
    }

    void AppendRecurse(SplayTreeNode<T>* node, List<T>& list) {
        if (node->left != nullptr) {
            AppendRecurse(node->left, list);
        }
        list.Insert(node->object, LIST_TAIL);
        if (node->right != nullptr) {
            AppendRecurse(node->right, list);
        }
    }

    int owner_;
    int entries_;
    SplayTreeNode<T>* root_;
};

#endif
