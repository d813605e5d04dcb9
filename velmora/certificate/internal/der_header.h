#pragma once

#include <cstddef>
#include <span>

namespace velmora {

/// How many octets identifier and length of an element take, and how many its contents.
struct DerSizes {
  size_t header = 0;
  size_t content = 0;
};

/// Reads the header that `octets` start with when its identifier is one octet, its length three at
/// most, both are in their shortest form, and the contents are there. So is nearly every header of
/// a certificate, and of these there are a hundred; about others DerReader knows more.
inline bool readUsualHeader(std::span<const unsigned char> octets, DerSizes& sizes) noexcept {
  constexpr unsigned kLongTag = 0x1F;
  const size_t size = octets.size();
  if (size < 2 || (octets[0] & kLongTag) == kLongTag) return false;
  sizes = {2, octets[1]};
  if (sizes.content == 0x82 && size >= 4) {
    sizes = {4, static_cast<size_t>(octets[2] << 8 | octets[3])};
    if (sizes.content < 0x100) return false;
  } else if (sizes.content == 0x81 && size >= 3) {
    sizes = {3, octets[2]};
    if (sizes.content < 0x80) return false;
  } else if (sizes.content >= 0x80) {
    return false;
  }
  return sizes.content <= size - sizes.header;
}

}  // namespace velmora
