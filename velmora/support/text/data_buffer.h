#pragma once

// Growable bytes.

#include <cstddef>
#include <span>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/byte_store.h"

namespace velmora {

class StringBuffer;

/// Growable bytes. Operations that add bytes append; each returns false when memory ran out, and
/// the buffer is then marked (see ByteStore) until it is cleared. Movable, not copyable. Not safe
/// for concurrent use.
class VELMORA_API DataBuffer {
 public:
  DataBuffer() noexcept = default;
  DataBuffer(DataBuffer&&) noexcept = default;
  DataBuffer& operator=(DataBuffer&&) noexcept = default;

  /// The bytes, with a zero byte behind them; never null.
  const unsigned char* data() const noexcept { return m_bytes.data(); }
  /// The same to be changed; null while nothing was allocated.
  unsigned char* data() noexcept { return m_bytes.data(); }
  /// How many bytes there are.
  size_t size() const noexcept { return m_bytes.size(); }
  /// Whether there is none.
  bool empty() const noexcept { return m_bytes.size() == 0; }
  /// The bytes, valid until the buffer changes.
  std::span<const unsigned char> span() const noexcept { return {m_bytes.data(), m_bytes.size()}; }
  /// The bytes as they are, taken as 8-bit text.
  std::string_view view() const noexcept;

  /// Appends `count` bytes, which may lie inside this buffer.
  bool append(const void* bytes, size_t count) noexcept { return m_bytes.append(bytes, count); }
  /// A marked buffer adds nothing and passes its mark on.
  bool append(const DataBuffer& other) noexcept;
  bool append(std::span<const unsigned char> bytes) noexcept;
  /// Appends one byte.
  bool appendChar(unsigned char byte) noexcept { return m_bytes.appendByte(byte); }
  /// Inserts bytes in front of the first; they may lie inside this buffer.
  bool prepend(const unsigned char* bytes, unsigned int count) noexcept {
    return m_bytes.prepend(bytes, count);
  }
  /// Adds `count` bytes for the caller to fill; null when memory ran out.
  unsigned char* extend(size_t count) noexcept { return m_bytes.extend(count); }
  /// Makes room for `total` bytes in all.
  bool reserve(size_t total) noexcept { return m_bytes.reserve(total); }
  /// Drops the bytes from `size` on; never grows.
  void truncate(size_t size) noexcept { m_bytes.truncate(size); }
  /// Removes `count` bytes at `offset`; what lies beyond the end is ignored.
  void erase(size_t offset, size_t count) noexcept { m_bytes.erase(offset, count); }

  /// Replaces the contents by the `count` bytes given, which may lie inside this buffer.
  bool assign(const void* bytes, size_t count) noexcept;
  /// Empties the buffer, takes the mark away and keeps the memory.
  void clear() noexcept { m_bytes.clear(); }
  /// Gives memory beyond the contents back when that can be done.
  void shrinkToFit() noexcept { m_bytes.shrinkToFit(); }
  /// Exchanges contents and marks.
  void swap(DataBuffer& other) noexcept { m_bytes.swap(other.m_bytes); }

  /// Same bytes, and neither buffer marked by a failed allocation.
  bool equals(const DataBuffer& other) const noexcept { return m_bytes.equals(other.m_bytes); }
  /// True after an operation ran out of memory, until clear.
  bool failed() const noexcept { return m_bytes.failed(); }
  /// Marks the buffer, for a caller that could not get what belongs into it.
  void markFailed() noexcept { m_bytes.markFailed(); }

  /// Decodes text and appends the bytes. `encoding`, in any letter case: "hex", "hexlower" (both
  /// read either letter case), "base64" (RFC 4648 §4, padding optional), "base64url" (§5, padding
  /// optional). White space is passed over. False for an unknown encoding (nothing appended) and
  /// for text that is not in the encoding (the bytes before the fault stay appended).
  bool appendEncoded(const char* text, const char* encoding) noexcept;
  bool appendEncoded(std::string_view text, const char* encoding) noexcept;

  /// Appends the bytes to `out` as text without line breaks: "hex" upper case, "hexlower", "base64"
  /// with padding, "base64url" without. The name counts in any letter case; an unknown one gives
  /// false and appends nothing.
  bool encodeDB(const char* encoding, StringBuffer& out) const noexcept;

  /// Swaps the two bytes of every 16-bit unit; an odd last byte stays where it is.
  void byteSwap21() noexcept;

 private:
  friend class StringBuffer;  // copies bytes together with their mark

  ByteStore m_bytes;
};

}  // namespace velmora
