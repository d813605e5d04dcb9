#pragma once

// The memory under buffers of bytes and text.

#include <cstddef>

#include "velmora/support/core/export.h"

namespace velmora {

/// The memory under DataBuffer and StringBuffer: length-counted bytes, always followed by one zero
/// byte that does not count, so that the contents can be read as a C string.
///
/// Nothing throws. A store that could not grow keeps its bytes, refuses to grow again and is marked
/// `failed` until it is cleared; a marked store compares equal to nothing, so that a shortened name
/// or key can never make a comparison true. Not safe for concurrent use.
class VELMORA_API ByteStore {
 public:
  ByteStore() noexcept = default;
  ByteStore(ByteStore&& other) noexcept { swap(other); }
  ByteStore& operator=(ByteStore&& other) noexcept;
  ByteStore(const ByteStore&) = delete;
  ByteStore& operator=(const ByteStore&) = delete;
  ~ByteStore();

  unsigned char* data() noexcept { return m_data; }
  /// Never null: an empty store points at a zero byte.
  const unsigned char* data() const noexcept;
  size_t size() const noexcept { return m_size; }
  size_t capacity() const noexcept { return m_capacity; }
  bool failed() const noexcept { return m_failed; }
  /// Marks the store, for a caller that could not get what belongs into it.
  void markFailed() noexcept { m_failed = true; }

  /// Makes room for `total` bytes in all.
  bool reserve(size_t total) noexcept;

  /// Adds `count` bytes whose values are not set; a pointer to the first, or null. Count 0 gives a
  /// pointer that must not be written to.
  // NOLINTNEXTLINE(misc-no-recursion): once, when there is room
  unsigned char* extend(size_t count) noexcept {
    // Nothing to add takes the slow way too: count - 1 then wraps.
    if (m_failed || count - 1 >= m_capacity - m_size) return extendSlowly(count);
    unsigned char* first = m_data + m_size;
    m_size += count;
    m_data[m_size] = 0;
    return first;
  }

  bool appendByte(unsigned char byte) noexcept {
    unsigned char* added = extend(1);
    if (added == nullptr) return false;
    *added = byte;
    return true;
  }

  /// Appends bytes; they may lie inside this store.
  bool append(const void* bytes, size_t count) noexcept;

  /// Appends the bytes of another store. A marked one adds nothing and passes its mark on, so that
  /// a shortened text stays marked wherever it is copied to.
  bool append(const ByteStore& other) noexcept;

  /// Replaces the contents by bytes that may lie inside this store.
  bool assign(const void* bytes, size_t count) noexcept;

  /// Inserts bytes before the first; they may lie inside this store.
  bool prepend(const void* bytes, size_t count) noexcept;

  /// Drops the bytes from `size` on; never grows.
  void truncate(size_t size) noexcept;

  /// Removes `count` bytes at `offset`; what lies beyond the end is ignored.
  void erase(size_t offset, size_t count) noexcept;

  /// Empties the store and takes the mark away; the memory is kept for reuse.
  void clear() noexcept;

  /// As clear, and gives the memory back.
  void release() noexcept;

  /// Gives memory beyond the contents back when that can be done.
  void shrinkToFit() noexcept;

  /// Same length, same bytes, neither store marked.
  bool equals(const ByteStore& other) const noexcept;

  void swap(ByteStore& other) noexcept;

 private:
  unsigned char* extendSlowly(size_t count) noexcept;
  size_t offsetOf(const void* bytes) const noexcept;
  bool grow(size_t count) noexcept;
  bool reallocate(size_t capacity) noexcept;

  unsigned char* m_data = nullptr;
  size_t m_size = 0;
  size_t m_capacity = 0;  // without the byte kept for the closing zero
  bool m_failed = false;
};

}  // namespace velmora
