// An array of plain values that grows in place: its storage is resized with realloc, which for
// a large array moves the mapping instead of copying it, so that growing an array of millions
// of entries never holds the old and the new copy at once.
#ifndef TARN_FOUNDATION_GROWINGARRAY_H
#define TARN_FOUNDATION_GROWINGARRAY_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "foundation/OutOfMemory.h"

template <typename T>
class GrowingArray {
    static_assert(std::is_trivially_copyable<T>::value, "values are moved as bytes");

  public:
    GrowingArray() = default;
    explicit GrowingArray(size_t size) { resize(size); }
    GrowingArray(const GrowingArray& other) {
        Reserve(other.size_);
        if (other.size_ > 0) std::memcpy(data_, other.data_, other.size_ * sizeof(T));
        size_ = other.size_;
    }
    GrowingArray& operator=(const GrowingArray&) = delete;
    ~GrowingArray() { std::free(data_); }

    size_t size() const { return size_; }
    size_t capacity() const { return capacity_; }
    bool empty() const { return size_ == 0; }
    T* data() { return data_; }
    const T* data() const { return data_; }
    T& operator[](size_t i) { return data_[i]; }
    const T& operator[](size_t i) const { return data_[i]; }
    T& back() { return data_[size_ - 1]; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + size_; }

    void push_back(const T& value) {
        if (size_ == capacity_) Reserve(capacity_ < 16 ? 16 : capacity_ * 2);
        data_[size_++] = value;
    }
    // Appends 'count' values; the storage doubles, so appending is linear overall.
    void append(const T* values, size_t count) {
        if (size_ + count > capacity_) {
            Reserve(size_ + count > capacity_ * 2 ? size_ + count : capacity_ * 2);
        }
        if (count > 0) std::memcpy(static_cast<void*>(data_ + size_), values, count * sizeof(T));
        size_ += count;
    }
    // New values are zero bytes.
    void resize(size_t size) {
        if (size > capacity_) Reserve(size);
        if (size > size_)
            std::memset(static_cast<void*>(data_ + size_), 0, (size - size_) * sizeof(T));
        size_ = size;
    }
    void swap(GrowingArray& other) {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

  private:
    // Ends the program with the out-of-memory report when memory runs out, as operator new does.
    void Reserve(size_t capacity) {
        if (capacity <= capacity_) return;
        void* grown = std::realloc(data_, capacity * sizeof(T));
        if (grown == nullptr) tarn_out_of_memory();
        data_ = static_cast<T*>(grown);
        capacity_ = capacity;
    }

    T* data_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

#endif
