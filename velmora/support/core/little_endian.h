#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace velmora {

/// Words whose first byte is the lowest, at any address, whatever the machine's byte order is. Each
/// of these is one load or store.

inline uint32_t loadLittleEndian32(const void* at) noexcept {
  uint32_t word;
  std::memcpy(&word, at, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
  return word;
}

inline uint64_t loadLittleEndian64(const void* at) noexcept {
  uint64_t word;
  std::memcpy(&word, at, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word;
}

inline void storeLittleEndian64(void* at, uint64_t word) noexcept {
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  std::memcpy(at, &word, sizeof word);
}

}  // namespace velmora
