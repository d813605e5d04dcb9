#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace velmora::zip_samples {

using Bytes = std::vector<unsigned char>;

inline Bytes random(size_t size, uint32_t seed = 1) {
  std::mt19937 generator(seed);
  Bytes bytes(size);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(generator() >> 24);
  return bytes;
}

/// Words drawn unevenly from a small vocabulary.
inline Bytes words(size_t size) {
  static const char* const kWords[] = {"certificate", "issuer", "subject", "the ",  "of ",  "key",
                                       "signature",   "is ",    "valid",   "until", "name", "\n"};
  std::mt19937 generator(7);
  Bytes bytes;
  while (bytes.size() < size) {
    const std::string word = kWords[generator() % 12 * (generator() % 12) / 11];
    bytes.insert(bytes.end(), word.begin(), word.end());
    if (generator() % 9 == 0) bytes.push_back(static_cast<unsigned char>('0' + generator() % 10));
  }
  bytes.resize(size);
  return bytes;
}

/// Pieces that want different codes, or none, one after the other.
inline Bytes mixed(size_t pieces) {
  Bytes bytes;
  for (uint32_t i = 0; i < pieces; ++i) {
    const Bytes piece = i % 3 == 0 ? words(30000) : i % 3 == 1 ? random(70000, i) : Bytes(50000, 9);
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

/// Bytes whose frequencies are Fibonacci numbers, which drive Huffman codes to their longest words.
inline Bytes fibonacci() {
  Bytes bytes;
  size_t a = 1, b = 1;
  for (unsigned char value = 0; value < 24; ++value) {
    bytes.insert(bytes.end(), a, value);
    b += a;
    a = b - a;
  }
  std::shuffle(bytes.begin(), bytes.end(), std::mt19937(3));
  return bytes;
}

}  // namespace velmora::zip_samples
