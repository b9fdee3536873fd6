// Doubly linked list of object pointers with a cursor; optionally owns its objects.
#ifndef TARN_FOUNDATION_LIST_H
#define TARN_FOUNDATION_LIST_H

// Where Insert and Remove act. The values are fixed: callers pass them as numbers too.
enum ListPosition { LIST_HEAD = 0, LIST_CURSOR = 1, LIST_TAIL = 2 };

template <class T>
struct ListNode {
    ListNode* previous;
    ListNode* next;
    T* object;
};

// Stores pointers, never copies. With the owner flag set, Dump destroys the objects through
// Purge. The destructor runs Dump with this class's own Purge: an instantiation that overrides
// Purge calls Dump in its own destructor.
template <class T>
class List {
  public:
    explicit List(int owner = 0)
        : owner_(owner), entries_(0), head_(nullptr), cursor_(nullptr), tail_(nullptr) {}
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    virtual ~List() { Dump(); }

    // Adds a node for 'object' at the head, before the cursor or at the tail; the cursor moves
    // to the new node. A cursor that has run off the list inserts at the tail.
    virtual ListNode<T>* Insert(T* object, ListPosition position) {
        ListNode<T>* node = new ListNode<T>{nullptr, nullptr, object};
        entries_++;
        if (head_ == nullptr) {
            head_ = cursor_ = tail_ = node;
            return node;
        }
        ListNode<T>* before = nullptr;
        if (position == LIST_HEAD) {
            before = head_;
        } else if (position == LIST_CURSOR) {
            before = cursor_;
        }
        if (before == nullptr) {
            node->previous = tail_;
            tail_->next = node;
            tail_ = node;
        } else {
            node->next = before;
            node->previous = before->previous;
            if (before->previous != nullptr) {
                before->previous->next = node;
            } else {
                head_ = node;
            }
            before->previous = node;
        }
        cursor_ = node;
        return node;
    }

    // Unlinks the head, the cursor's node (the cursor moves to the next node) or the tail (a
    // cursor on it moves back) and returns its object without destroying it. The count is
    // lowered before the list is looked at, so an empty list answers null and its count goes
    // below zero; callers know this and it is kept.
    virtual T* Remove(ListPosition position) {
        entries_--;
        if (head_ == nullptr) {
            return nullptr;
        }
        ListNode<T>* node = position == LIST_HEAD ? head_ : position == LIST_TAIL ? tail_ : cursor_;
        if (node == nullptr) {
            entries_++;
            return nullptr;
        }
        if (cursor_ == node) {
            cursor_ = position == LIST_TAIL ? node->previous : node->next;
        }
        Unlink(node);
        T* object = node->object;
        delete node;
        return object;
    }

    virtual int Entries() const { return entries_; }

    // Moves the cursor to the node holding 'object'; null (and no cursor) when absent.
    virtual T* Seek(T* object) {
        for (cursor_ = head_; cursor_ != nullptr; cursor_ = cursor_->next) {
            if (cursor_->object == object) {
                return object;
            }
        }
        return nullptr;
    }

    virtual T* First() {
        cursor_ = head_;
        return Current();
    }
    virtual T* Last() {
        cursor_ = tail_;
        return Current();
    }
    virtual T* Current() { return cursor_ != nullptr ? cursor_->object : nullptr; }
    virtual T* Next() {
        if (cursor_ != nullptr) {
            cursor_ = cursor_->next;
        }
        return Current();
    }
    virtual T* Previous() {
        if (cursor_ != nullptr) {
            cursor_ = cursor_->previous;
        }
        return Current();
    }

    // Empties the list; an owning list purges every object, head first.
    virtual void Dump() {
        while (head_ != nullptr) {
            ListNode<T>* node = head_;
            head_ = node->next;
            T* object = node->object;
            delete node;
            if (owner_) {
                Purge(object);
            }
        }
        tail_ = cursor_ = nullptr;
        entries_ = 0;
    }

    virtual void Purge(T* object) { delete object; }

    // Empties the list without touching the objects, owning or not.
    virtual void RemoveAll() {
        while (head_ != nullptr) {
            ListNode<T>* node = head_;
            head_ = node->next;
            delete node;
        }
        tail_ = cursor_ = nullptr;
        entries_ = 0;
    }

  protected:
    void Unlink(ListNode<T>* node) {
        if (node->previous != nullptr) {
            node->previous->next = node->next;
        } else {
            head_ = node->next;
        }
        if (node->next != nullptr) {
            node->next->previous = node->previous;
        } else {
            tail_ = node->previous;
        }
    }

    int owner_;
    int entries_;
    ListNode<T>* head_;
    ListNode<T>* cursor_;
    ListNode<T>* tail_;
};

#endif
