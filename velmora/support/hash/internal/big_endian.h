#pragma once

#include <cstddef>
#include <cstdint>

namespace velmora {

/// Reads and writes the big-endian words of FIPS 180-4 at any address. Compilers turn each of these
/// into one load or store with a byte swap.
template <class Word>
inline Word loadBigEndian(const unsigned char* bytes) noexcept;

template <>
inline uint32_t loadBigEndian(const unsigned char* b) noexcept {
  return uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3];
}

template <>
inline uint64_t loadBigEndian(const unsigned char* b) noexcept {
  return uint64_t{b[0]} << 56 | uint64_t{b[1]} << 48 | uint64_t{b[2]} << 40 | uint64_t{b[3]} << 32 |
         uint64_t{b[4]} << 24 | uint64_t{b[5]} << 16 | uint64_t{b[6]} << 8 | b[7];
}

template <class Word>
inline void storeBigEndian(unsigned char* bytes, Word value) noexcept {
  for (size_t i = sizeof(Word); i-- > 0; value >>= 8) bytes[i] = static_cast<unsigned char>(value);
}

}  // namespace velmora
