// The growable array that columns are made of.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace CQXDB {

/// An array of numbers. Unlike a vector's, new elements of Resize are uninitialised, a full array
/// grows by half, and the system may extend a large one where it stands instead of copying it.
/// Throws std::bad_alloc.
template <class T>
class QXBuffer {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    QXBuffer() noexcept = default;
    QXBuffer(const QXBuffer& other) { Append(other.data_, other.size_); }
    QXBuffer(QXBuffer&& other) noexcept { Swap(other); }
    QXBuffer& operator=(const QXBuffer& other) {
        if (this != &other) {
            QXBuffer copy(other);
            Swap(copy);
        }
        return *this;
    }
    QXBuffer& operator=(QXBuffer&& other) noexcept {
        Swap(other);
        return *this;
    }
    ~QXBuffer() { std::free(data_); }

    T* data() noexcept { return data_; }
    const T* data() const noexcept { return data_; }
    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    T& operator[](std::size_t index) noexcept { return data_[index]; }
    const T& operator[](std::size_t index) const noexcept { return data_[index]; }
    const T* begin() const noexcept { return data_; }
    const T* end() const noexcept { return data_ + size_; }
    T& Back() noexcept { return data_[size_ - 1]; }
    const T& Back() const noexcept { return data_[size_ - 1]; }

    /// Makes sure that the next `count` elements fit without an allocation.
    void Room(std::size_t count) {
        if (capacity_ - size_ < count) {
            Reallocate(size_ + count > size_ + size_ / 2 ? size_ + count : size_ + size_ / 2 + 8);
        }
    }
    void Push(T value) {
        Room(1);
        data_[size_++] = value;
    }
    void Append(const T* values, std::size_t count) {
        if (count != 0) {
            Room(count);
            std::memcpy(data_ + size_, values, count * sizeof(T));
            size_ += count;
        }
    }
    void Append(std::size_t count, T value) {
        Room(count);
        std::fill_n(data_ + size_, count, value);
        size_ += count;
    }
    /// Adds `count` uninitialised elements and returns the first of them.
    T* Extend(std::size_t count) {
        Room(count);
        size_ += count;
        return data_ + size_ - count;
    }
    void Reserve(std::size_t capacity) {
        if (capacity > capacity_) {
            Reallocate(capacity);
        }
    }
    /// Never gives memory back; new elements are uninitialised.
    void Resize(std::size_t size) {
        Reserve(size);
        size_ = size;
    }
    void Clear() noexcept { size_ = 0; }
    void ShrinkToFit() {
        if (size_ == 0) {
            QXBuffer().Swap(*this);
        } else if (size_ != capacity_) {
            Reallocate(size_);
        }
    }
    std::size_t MemoryBytes() const noexcept { return capacity_ * sizeof(T); }

    void Swap(QXBuffer& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

  private:
    void Reallocate(std::size_t capacity) {
        if (capacity > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_alloc();
        }
        void* moved = std::realloc(data_, capacity * sizeof(T));
        if (moved == nullptr) {
            throw std::bad_alloc();
        }
        data_ = static_cast<T*>(moved);
        capacity_ = capacity;
    }

    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace CQXDB
