#pragma once

// A hash keyed with a secret.

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmora {

/// SipHash-2-4 (Aumasson and Bernstein, 2012): a short keyed hash for tables. Who does not know the
/// key cannot find inputs that meet in one place of a table. Not a digest: 64 bits are too few.
class SipHash {
 public:
  /// The key is k0 and k1 as the little-endian words of its 16 bytes.
  constexpr SipHash(uint64_t k0, uint64_t k1) noexcept : m_k0(k0), m_k1(k1) {}

  /// With a key from the system's random numbers, another one each time. Where there are none, from
  /// the clock and an address, which are harder to guess than nothing.
  static SipHash withSecretKey() noexcept;

  uint64_t operator()(std::span<const std::byte> bytes) const noexcept;

 private:
  uint64_t m_k0;
  uint64_t m_k1;
};

}  // namespace velmora
