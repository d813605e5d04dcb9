#pragma once

// The array of plain values that allocates without throwing.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace velmora {

/// Growable array of trivially copyable elements. Nothing throws: an operation that cannot get
/// memory returns false or null and leaves the array as it was. Not copyable, because a copy could
/// fail without a place to say so; movable. Not safe for concurrent use.
template <class T>
class PodArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  PodArray() noexcept = default;
  PodArray(PodArray&& other) noexcept { swap(other); }
  PodArray& operator=(PodArray&& other) noexcept {
    PodArray taken(std::move(other));
    swap(taken);
    return *this;
  }
  PodArray(const PodArray&) = delete;
  PodArray& operator=(const PodArray&) = delete;
  ~PodArray() { delete[] m_data; }

  T* data() noexcept { return m_data; }
  const T* data() const noexcept { return m_data; }
  size_t size() const noexcept { return m_size; }
  size_t capacity() const noexcept { return m_capacity; }
  bool empty() const noexcept { return m_size == 0; }
  T& operator[](size_t i) noexcept { return m_data[i]; }
  const T& operator[](size_t i) const noexcept { return m_data[i]; }
  T& back() noexcept { return m_data[m_size - 1]; }
  T* begin() noexcept { return m_data; }
  T* end() noexcept { return m_data + m_size; }
  const T* begin() const noexcept { return m_data; }
  const T* end() const noexcept { return m_data + m_size; }

  /// Makes room for `total` elements in all.
  bool reserve(size_t total) noexcept { return total <= m_capacity || reallocate(total); }

  /// Adds `count` elements whose values are not set; a pointer to the first, or null.
  T* extend(size_t count) noexcept {
    if (count > m_capacity - m_size && !grow(count)) return nullptr;
    T* first = m_data + m_size;
    m_size += count;
    return first;
  }

  bool push_back(const T& value) noexcept {
    const T copy = value;  // value may lie inside this array
    T* slot = extend(1);
    if (slot == nullptr) return false;
    *slot = copy;
    return true;
  }

  void pop_back() noexcept { --m_size; }

  /// Drops the elements from index `size` on; never grows.
  void truncate(size_t size) noexcept {
    if (size < m_size) m_size = size;
  }

  void clear() noexcept { m_size = 0; }

  /// Gives memory beyond the elements back when that can be done; the contents never change.
  void shrinkToFit() noexcept {
    if (m_size == 0) {
      delete[] m_data;
      m_data = nullptr;
      m_capacity = 0;
    } else if (m_size < m_capacity) {
      reallocate(m_size);
    }
  }

  void swap(PodArray& other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
  }

 private:
  // NOLINTNEXTLINE(bugprone-sizeof-expression): elements may be pointers
  static constexpr size_t kMaxElements = SIZE_MAX / 2 / sizeof(T);

  bool grow(size_t count) noexcept {
    if (count > kMaxElements - m_size) return false;
    const size_t needed = m_size + count;
    const size_t doubled = m_capacity > kMaxElements / 2 ? kMaxElements : m_capacity * 2;
    return reallocate(needed > doubled ? needed : doubled);
  }

  bool reallocate(size_t capacity) noexcept {
    if (capacity > kMaxElements) return false;
    T* fresh = new (std::nothrow) T[capacity];
    if (fresh == nullptr) return false;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): likewise
    if (m_size != 0) std::memcpy(static_cast<void*>(fresh), m_data, m_size * sizeof(T));
    delete[] m_data;
    m_data = fresh;
    m_capacity = capacity;
    return true;
  }

  T* m_data = nullptr;
  size_t m_size = 0;
  size_t m_capacity = 0;
};

}  // namespace velmora
