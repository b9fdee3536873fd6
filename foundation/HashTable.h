// Name-keyed table of object pointers: 2^B chained buckets kept in index arrays, chains sorted
// so that a failed probe stops early, growth in fixed steps. The same chain rules as the
// variable tables of the compiled file.
#ifndef TARN_FOUNDATION_HASHTABLE_H
#define TARN_FOUNDATION_HASHTABLE_H

#include <cstring>

#include "foundation/Hash.h"

// Entries are added in steps of this many, never by doubling, as the variable tables grow.
constexpr int HASHTABLE_GROWTH_STEP = 512;
// No table of the system comes near this; it keeps a bad argument from asking for gigabytes.
constexpr int HASHTABLE_MAX_BUCKET_BITS = 24;

// An instantiation supplies the hooks: hash(T*) gives an object's bucket (usually through
// hash(name, length)), and the two Compare forms order an entry against another object or a
// name, negative when the entry sorts first (CompareName does this for names). Objects are
// destroyed with delete when the table owns them; the destructor runs Dump.
template <class T>
class HashTable {
  public:
    HashTable(int owner, int case_insensitive, int bucket_bits, int capacity)
        : owner_(owner),
          case_insensitive_(case_insensitive),
          buckets_(nullptr),
          bucket_bits_(bucket_bits),
          bucket_count_(0),
          bucket_entries_(0),
          next_(nullptr),
          objects_(nullptr),
          capacity_(capacity > 0 ? capacity : 0),
          count_(0),
          cursor_(-1) {
        if (bucket_bits_ < 0) {
            bucket_bits_ = 0;
        } else if (bucket_bits_ > HASHTABLE_MAX_BUCKET_BITS) {
            bucket_bits_ = HASHTABLE_MAX_BUCKET_BITS;
        }
        bucket_count_ = 1 << bucket_bits_;
        buckets_ = new int[bucket_count_];
        for (int b = 0; b < bucket_count_; b++) {
            buckets_[b] = -1;
        }
        next_ = new int[capacity_];
        objects_ = new T*[capacity_];
    }
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    virtual ~HashTable() {
        Dump();
        delete[] buckets_;
        delete[] next_;
        delete[] objects_;
    }

    // Empties the table; an owning table destroys every object.
    virtual void Dump() {
        if (owner_) {
            for (int i = 0; i < count_; i++) {
                delete objects_[i];
            }
        }
        for (int b = 0; b < bucket_count_; b++) {
            buckets_[b] = -1;
        }
        bucket_entries_ = 0;
        count_ = 0;
        cursor_ = -1;
    }

    virtual unsigned hash(T* object) = 0;
    virtual int Compare(T* entry, T* object) = 0;
    virtual int Compare(T* entry, const char* name, int length) = 0;

    // Adds 'object' and returns its entry index. It is linked before the first entry of its
    // chain that sorts after it, so an equal one goes after the existing equals.
    int Insert(T* object) {
        if (count_ >= capacity_) {
            Grow();
        }
        int entry = count_++;
        objects_[entry] = object;
        next_[entry] = -1;
        unsigned bucket = Mask(hash(object));
        int* link = &buckets_[bucket];
        if (*link == -1) {
            bucket_entries_++;
        }
        while (*link != -1 && Compare(objects_[*link], object) <= 0) {
            link = &next_[*link];
        }
        next_[entry] = *link;
        *link = entry;
        return entry;
    }

    // The entry that compares equal to 'object', or null.
    T* Find(T* object) {
        for (int e = buckets_[Mask(hash(object))]; e != -1; e = next_[e]) {
            int order = Compare(objects_[e], object);
            if (order == 0) {
                return objects_[e];
            }
            if (order > 0) {
                return nullptr;
            }
        }
        return nullptr;
    }

    // The entry of that name; 'length' of -1 means 'name' is NUL-terminated.
    T* Find(const char* name, int length) {
        int entry = Seek(name, length);
        return entry == -1 ? nullptr : objects_[entry];
    }

    // Removes 'object' itself (not an equal one) and returns it, or null when absent. The
    // entries after it move down one index, so iteration keeps the order of insertion.
    T* Remove(T* object) {
        unsigned bucket = Mask(hash(object));
        for (int* link = &buckets_[bucket]; *link != -1; link = &next_[*link]) {
            if (objects_[*link] == object) {
                return RemoveEntry(bucket, link);
            }
        }
        return nullptr;
    }

    // Removes the first entry of that name and returns it, or null when absent.
    T* Remove(const char* name, int length) {
        if (name == nullptr) {
            return nullptr;
        }
        if (length == -1) {
            length = static_cast<int>(std::strlen(name));
        }
        unsigned bucket = hash(name, length);
        for (int* link = &buckets_[bucket]; *link != -1; link = &next_[*link]) {
            int order = Compare(objects_[*link], name, length);
            if (order == 0) {
                return RemoveEntry(bucket, link);
            }
            if (order > 0) {
                break;
            }
        }
        return nullptr;
    }

    // The object of entry 'i', or null out of range.
    T* Index(int i) const { return i >= 0 && i < count_ ? objects_[i] : nullptr; }

    // Iteration in entry-index order, that is, in order of insertion.
    T* First() {
        cursor_ = 0;
        return Current();
    }
    T* Last() {
        cursor_ = count_ - 1;
        return Current();
    }
    T* Current() const { return Index(cursor_); }
    T* Next() {
        if (cursor_ < count_) {
            cursor_++;
        }
        return Current();
    }
    T* Previous() {
        if (cursor_ >= 0) {
            cursor_--;
        }
        return Current();
    }

    int Entries() const { return count_; }

    // The bucket of a name: hashi when the table ignores case, else hash; 'length' of -1 means
    // 'name' is NUL-terminated.
    unsigned hash(const char* name, int length) const {
        if (name == nullptr) {
            name = "";
            length = 0;
        }
        if (length < 0) {
            length = static_cast<int>(std::strlen(name));
        }
        uint32_t h = case_insensitive_ ? ::hashi(name, static_cast<uint32_t>(length), 0)
                                       : ::hash(name, static_cast<uint32_t>(length), 0);
        return Mask(h);
    }

  protected:
    // The order of names within a chain: by length first, then byte by byte, through tolower
    // when the table ignores case.
    int CompareName(const char* entry_name, int entry_length, const char* name, int length) const {
        if (entry_length != length) {
            return entry_length > length ? 1 : -1;
        }
        if (case_insensitive_) {
            return memcmpi(entry_name, name, length);
        }
        int order = length > 0 ? std::memcmp(entry_name, name, length) : 0;
        return order > 0 ? 1 : order < 0 ? -1 : 0;
    }

    int Seek(const char* name, int length) {
        if (name == nullptr) {
            return -1;
        }
        if (length == -1) {
            length = static_cast<int>(std::strlen(name));
        }
        for (int e = buckets_[hash(name, length)]; e != -1; e = next_[e]) {
            int order = Compare(objects_[e], name, length);
            if (order == 0) {
                return e;
            }
            if (order > 0) {
                return -1;
            }
        }
        return -1;
    }

    unsigned Mask(uint32_t h) const { return hash_bucket(h, bucket_bits_); }

    void Grow() {
        int capacity = capacity_ + HASHTABLE_GROWTH_STEP;
        int* next = new int[capacity];
        T** objects = new T*[capacity];
        for (int i = 0; i < count_; i++) {
            next[i] = next_[i];
            objects[i] = objects_[i];
        }
        delete[] next_;
        delete[] objects_;
        next_ = next;
        objects_ = objects;
        capacity_ = capacity;
    }

    // Unlinks the entry that '*link' names in 'bucket' and closes the gap in the arrays.
    T* RemoveEntry(unsigned bucket, int* link) {
        int removed = *link;
        T* object = objects_[removed];
        *link = next_[removed];
        if (buckets_[bucket] == -1) {
            bucket_entries_--;
        }
        for (int i = removed; i + 1 < count_; i++) {
            objects_[i] = objects_[i + 1];
            next_[i] = next_[i + 1];
        }
        count_--;
        for (int i = 0; i < count_; i++) {
            if (next_[i] > removed) {
                next_[i]--;
            }
        }
        for (int b = 0; b < bucket_count_; b++) {
            if (buckets_[b] > removed) {
                buckets_[b]--;
            }
        }
        if (cursor_ > removed) {
            cursor_--;
        }
        return object;
    }

    int owner_;
    int case_insensitive_;
    int* buckets_;
    int bucket_bits_;
    int bucket_count_;
    int bucket_entries_;
    int* next_;
    T** objects_;
    int capacity_;
    int count_;
    int cursor_;
};

#endif
