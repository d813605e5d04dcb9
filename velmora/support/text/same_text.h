#pragma once

// Compares short texts fast.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace velmora {

/// Whether two texts are the same, without a call for the short ones that searches compare most:
/// two loads that may overlap cover up to 16 characters.
inline bool sameText(std::string_view a, std::string_view b) noexcept {
  const size_t size = a.size();
  if (size != b.size()) return false;
  const auto sameWords = [&]<class Word>(Word) {
    Word words[4];
    const size_t last = size - sizeof(Word);
    std::memcpy(&words[0], a.data(), sizeof(Word));
    std::memcpy(&words[1], b.data(), sizeof(Word));
    std::memcpy(&words[2], a.data() + last, sizeof(Word));
    std::memcpy(&words[3], b.data() + last, sizeof(Word));
    return words[0] == words[1] && words[2] == words[3];
  };
  if (size > 16) return std::memcmp(a.data(), b.data(), size) == 0;
  if (size >= 8) return sameWords(uint64_t{});
  if (size >= 4) return sameWords(uint32_t{});
  if (size >= 2) return sameWords(uint16_t{});
  return size == 0 || a[0] == b[0];
}

}  // namespace velmora
