#pragma once

// Bits into bytes.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "velmora/support/core/words.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora::deflate {

/// Appends bits to a buffer, the lowest bit of each byte first. Room is made for many bits at once,
/// so that adding a few is no more than a shift and a store.
class BitWriter {
 public:
  explicit BitWriter(DataBuffer& out) noexcept : m_out(out) {}

  /// Makes room for `bits` more bits. False when memory ran out.
  bool begin(uint64_t bits) noexcept {
    m_next = m_out.extend(static_cast<size_t>(bits / 8) + kSpare);
    return m_next != nullptr;
  }

  /// Cuts off the room that was not used. Bits of a byte that is not full yet are kept for later.
  void end() noexcept { m_out.truncate(static_cast<size_t>(m_next - m_out.data())); }

  /// Adds the low `count` bits, at most 56; the bits above them are zero.
  void put(uint64_t bits, unsigned count) noexcept {
    m_bits |= bits << m_count;
    m_count += count;
    storeLittleEndian<uint64_t>(m_next, m_bits);
    m_next += m_count >> 3;
    m_bits >>= m_count & ~7U;
    m_count &= 7;
  }

  /// Fills the current byte with zero bits.
  void alignToByte() noexcept { put(0, (8 - m_count) & 7); }

  /// Adds whole bytes; needs a position between bytes.
  void putBytes(const unsigned char* bytes, size_t count) noexcept {
    std::memcpy(m_next, bytes, count);
    m_next += count;
  }

 private:
  // A store writes a whole word, and the bits kept back add up to one byte.
  static constexpr size_t kSpare = 16;

  DataBuffer& m_out;
  unsigned char* m_next = nullptr;
  uint64_t m_bits = 0;
  unsigned m_count = 0;
};

}  // namespace velmora::deflate
