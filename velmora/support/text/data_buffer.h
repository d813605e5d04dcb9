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

  const unsigned char* data() const noexcept { return m_bytes.data(); }
  unsigned char* data() noexcept { return m_bytes.data(); }
  size_t size() const noexcept { return m_bytes.size(); }
  bool empty() const noexcept { return m_bytes.size() == 0; }
  std::span<const unsigned char> span() const noexcept { return {m_bytes.data(), m_bytes.size()}; }
  /// The bytes as they are, taken as 8-bit text.
  std::string_view view() const noexcept;

  bool append(const void* bytes, size_t count) noexcept { return m_bytes.append(bytes, count); }
  /// A marked buffer adds nothing and passes its mark on.
  bool append(const DataBuffer& other) noexcept;
  bool append(std::span<const unsigned char> bytes) noexcept;
  bool appendChar(unsigned char byte) noexcept { return m_bytes.appendByte(byte); }
  bool prepend(const unsigned char* bytes, unsigned int count) noexcept {
    return m_bytes.prepend(bytes, count);
  }
  /// Adds `count` bytes for the caller to fill; null when memory ran out.
  unsigned char* extend(size_t count) noexcept { return m_bytes.extend(count); }
  bool reserve(size_t total) noexcept { return m_bytes.reserve(total); }
  void truncate(size_t size) noexcept { m_bytes.truncate(size); }
  void erase(size_t offset, size_t count) noexcept { m_bytes.erase(offset, count); }

  /// Replaces the contents by the `count` bytes given, which may lie inside this buffer.
  bool assign(const void* bytes, size_t count) noexcept;
  void clear() noexcept { m_bytes.clear(); }
  void shrinkToFit() noexcept { m_bytes.shrinkToFit(); }
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
