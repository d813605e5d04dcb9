#pragma once

// Words in bytes, at any address and in the order that the name says, whatever that of the machine
// is. Each of these is one load or store, with a byte swap where the two differ.

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

namespace velmora {

template <std::endian kOrder>
inline uint32_t inOrder(uint32_t word) noexcept {
  return std::endian::native == kOrder ? word : __builtin_bswap32(word);
}

template <std::endian kOrder>
inline uint64_t inOrder(uint64_t word) noexcept {
  return std::endian::native == kOrder ? word : __builtin_bswap64(word);
}

template <class Word>
inline Word loadLittleEndian(const void* at) noexcept {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return inOrder<std::endian::little>(word);
}

template <class Word>
inline Word loadBigEndian(const void* at) noexcept {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return inOrder<std::endian::big>(word);
}

template <class Word>
inline void storeLittleEndian(void* at, Word word) noexcept {
  word = inOrder<std::endian::little>(word);
  std::memcpy(at, &word, sizeof word);
}

template <class Word>
inline void storeBigEndian(void* at, Word word) noexcept {
  word = inOrder<std::endian::big>(word);
  std::memcpy(at, &word, sizeof word);
}

/// The big-endian number of any octets; of more than eight the last eight count.
template <class Octet>
constexpr uint64_t bigEndianNumber(std::span<const Octet> octets) noexcept {
  uint64_t number = 0;
  for (const Octet octet : octets) number = number << 8 | static_cast<unsigned char>(octet);
  return number;
}

}  // namespace velmora
