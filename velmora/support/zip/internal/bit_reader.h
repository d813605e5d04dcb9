#pragma once

// Bits out of bytes.

#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/core/words.h"

namespace velmora::deflate {

/// The input as a stream of bits, lowest bit of each byte first. Beyond its end it gives zero bits,
/// which are counted, so that the end is checked where it is cheap to do so.
class BitReader {
 public:
  explicit BitReader(std::span<const unsigned char> in) noexcept
      : m_next(in.data()), m_end(in.data() + in.size()) {}

  /// Bits that a refill makes ready, at the least.
  static constexpr unsigned kReadyBits = 56;
  static constexpr size_t kWordSize = 8;

  size_t bytesLeft() const noexcept { return static_cast<size_t>(m_end - m_next); }

  /// Needs kWordSize bytes left. Bits that do not count yet may already stand above those that do;
  /// the next refill puts the same bits there.
  void refillFromWord() noexcept {
    m_bits |= loadLittleEndian<uint64_t>(m_next) << m_count;
    m_next += (63 - m_count) >> 3;
    m_count |= kReadyBits;
  }

  void refill() noexcept {
    if (bytesLeft() >= kWordSize) {
      refillFromWord();
      return;
    }
    for (; m_count < kReadyBits; m_count += 8) {
      if (m_next != m_end) {
        m_bits |= uint64_t{*m_next++} << m_count;
      } else {
        ++m_missingBytes;
      }
    }
  }

  uint64_t bits() const noexcept { return m_bits; }

  void drop(unsigned count) noexcept {
    m_bits >>= count;
    m_count -= count;
  }

  unsigned take(unsigned count) noexcept {
    const auto taken = static_cast<unsigned>(m_bits & ((uint64_t{1} << count) - 1));
    drop(count);
    return taken;
  }

  /// True once bits were used that the input does not have.
  bool overrun() const noexcept { return m_missingBytes * 8 > m_count; }

  /// Drops the rest of the current byte and gives back the whole ones read ahead; needs !overrun().
  void alignToByte() noexcept {
    m_next -= m_count / 8 - m_missingBytes;
    m_bits = 0;
    m_count = 0;
    m_missingBytes = 0;
  }

  /// The next bytes, and the stream set behind them; needs an aligned stream with as many left.
  const unsigned char* takeBytes(size_t count) noexcept {
    const unsigned char* bytes = m_next;
    m_next += count;
    return bytes;
  }

 private:
  const unsigned char* m_next;
  const unsigned char* m_end;
  uint64_t m_bits = 0;
  unsigned m_count = 0;         // bits that are ready
  unsigned m_missingBytes = 0;  // zero bytes read beyond the end
};

}  // namespace velmora::deflate
