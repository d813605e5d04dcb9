#pragma once

// An order of octets.

#include <algorithm>

#include "velmora/certificate/bytes.h"

namespace velmora {

/// Below zero, zero or above it as `a` comes before `b`, is the same or comes after it: octet by
/// octet, and what the other starts with first. By hand, because not every standard library of
/// C++20 that this is built with has std::lexicographical_compare_three_way.
inline int compareOctets(Bytes a, Bytes b) noexcept {
  const auto differ = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (differ.first == a.end()) return differ.second == b.end() ? 0 : -1;
  if (differ.second == b.end()) return 1;
  return *differ.first < *differ.second ? -1 : 1;
}

}  // namespace velmora
