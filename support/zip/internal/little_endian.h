#pragma once

#include <cstdint>

namespace velmora {

/// Little-endian words at any address; compilers turn each of these into one load or store.

inline uint32_t loadLittleEndian32(const unsigned char* b) noexcept {
  return uint32_t{b[0]} | uint32_t{b[1]} << 8 | uint32_t{b[2]} << 16 | uint32_t{b[3]} << 24;
}

inline uint64_t loadLittleEndian64(const unsigned char* b) noexcept {
  return uint64_t{b[0]} | uint64_t{b[1]} << 8 | uint64_t{b[2]} << 16 | uint64_t{b[3]} << 24 |
         uint64_t{b[4]} << 32 | uint64_t{b[5]} << 40 | uint64_t{b[6]} << 48 | uint64_t{b[7]} << 56;
}

inline void storeLittleEndian64(unsigned char* b, uint64_t value) noexcept {
  b[0] = static_cast<unsigned char>(value);
  b[1] = static_cast<unsigned char>(value >> 8);
  b[2] = static_cast<unsigned char>(value >> 16);
  b[3] = static_cast<unsigned char>(value >> 24);
  b[4] = static_cast<unsigned char>(value >> 32);
  b[5] = static_cast<unsigned char>(value >> 40);
  b[6] = static_cast<unsigned char>(value >> 48);
  b[7] = static_cast<unsigned char>(value >> 56);
}

}  // namespace velmora
