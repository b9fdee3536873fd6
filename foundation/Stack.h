// Singly linked stack of object pointers with a cursor for looking down it; optionally owns
// its objects.
#ifndef TARN_FOUNDATION_STACK_H
#define TARN_FOUNDATION_STACK_H

template <class T>
struct StackNode {
    StackNode* next;
    T* object;
};

template <class T>
class Stack {
  public:
    explicit Stack(int owner = 0) : owner_(owner), entries_(0), top_(nullptr), cursor_(nullptr) {}
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    virtual ~Stack() { Dump(); }

    virtual int Entries() const { return entries_; }

    // New top node; the cursor moves to it.
    virtual void Push(T* object) {
        top_ = new StackNode<T>{top_, object};
        cursor_ = top_;
        entries_++;
    }

    // Removes the nodes from the top down to and including the cursor's node and returns the
    // cursor node's object; the objects above it are destroyed when owning. With the cursor at
    // the top (the usual case) this pops the top. A cursor that has run off the bottom counts
    // as being at the top. Afterwards the cursor is at the new top.
    virtual T* Pop() {
        if (top_ == nullptr) {
            return nullptr;
        }
        StackNode<T>* target = cursor_ != nullptr ? cursor_ : top_;
        for (;;) {
            StackNode<T>* node = top_;
            top_ = node->next;
            entries_--;
            T* object = node->object;
            bool reached = node == target;
            delete node;
            if (reached) {
                cursor_ = top_;
                return object;
            }
            if (owner_) {
                delete object;
            }
        }
    }

    // Moves the cursor to the top and returns its object.
    virtual T* Top() {
        cursor_ = top_;
        return cursor_ != nullptr ? cursor_->object : nullptr;
    }

    // Moves the cursor one node down and returns the object there; null below the bottom.
    virtual T* Peek() {
        if (cursor_ != nullptr) {
            cursor_ = cursor_->next;
        }
        return cursor_ != nullptr ? cursor_->object : nullptr;
    }

    // Empties the stack, destroying the objects when owning.
    virtual void Dump() {
        while (top_ != nullptr) {
            StackNode<T>* node = top_;
            top_ = node->next;
            if (owner_) {
                delete node->object;
            }
            delete node;
        }
        cursor_ = nullptr;
        entries_ = 0;
    }

  protected:
    int owner_;
    int entries_;
    StackNode<T>* top_;
    StackNode<T>* cursor_;
};

#endif
