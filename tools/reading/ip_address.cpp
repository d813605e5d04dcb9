#include <algorithm>
#include <array>
#include <bit>
#include <charconv>

#include "tools/reading/general_name.h"

namespace velmora::tool {

namespace {

using Octets = std::span<const unsigned char>;

void appendIpv4(Octets octets, StringBuffer& out) {
  for (size_t i = 0; i < octets.size(); ++i) {
    if (i != 0) out.appendChar('.');
    out.appendInt(octets[i]);
  }
}

void appendGroup(Octets octets, size_t group, StringBuffer& out) {
  std::array<char, 4> digits;
  const unsigned value = octets[2 * group] * 256U + octets[2 * group + 1];
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
  out.appendN(digits.data(), static_cast<size_t>(end - digits.data()));
}

struct Run {
  size_t start = 0;
  size_t size = 0;
};

// The longest run of groups that are 0, the first of several; a single one is not shortened.
Run longestZeroRun(Octets octets, size_t groups) {
  Run longest;
  Run run;
  for (size_t i = 0; i < groups; ++i) {
    const bool isZero = octets[2 * i] == 0 && octets[2 * i + 1] == 0;
    run = isZero ? Run{run.size == 0 ? i : run.start, run.size + 1} : Run{};
    if (run.size > longest.size) longest = run;
  }
  return longest.size > 1 ? longest : Run{};
}

bool isMappedIpv4(Octets octets) {
  const auto isZero = [](unsigned char octet) { return octet == 0; };
  return std::all_of(octets.begin(), octets.begin() + 10, isZero) && octets[10] == 0xFF &&
         octets[11] == 0xFF;
}

void appendIpv6(Octets octets, StringBuffer& out) {
  if (isMappedIpv4(octets)) {
    out.append("::ffff:");
    return appendIpv4(octets.subspan(12), out);
  }
  constexpr size_t kGroups = 8;
  const Run zeros = longestZeroRun(octets, kGroups);
  for (size_t i = 0; i < kGroups; ++i) {
    if (zeros.size != 0 && i == zeros.start) {
      out.append("::");
      i += zeros.size - 1;
      continue;
    }
    const bool behindZeros = zeros.size != 0 && i == zeros.start + zeros.size;
    if (i != 0 && !behindZeros) out.appendChar(':');
    appendGroup(octets, i, out);
  }
}

void appendAddress(Octets octets, StringBuffer& out) {
  octets.size() == 4 ? appendIpv4(octets, out) : appendIpv6(octets, out);
}

void appendMask(Octets mask, StringBuffer& out) {
  int length = 0;
  size_t i = 0;
  for (; i < mask.size() && mask[i] == 0xFF; ++i) length += 8;
  bool hasGap = false;
  if (i < mask.size()) {
    const int ones = std::countl_one(mask[i]);
    length += ones;
    hasGap = std::popcount(mask[i]) != ones;
    for (++i; i < mask.size(); ++i) hasGap = hasGap || mask[i] != 0;
  }
  out.appendChar('/');
  hasGap ? appendAddress(mask, out) : static_cast<void>(out.appendInt(length));
}

}  // namespace

bool appendIpAddress(Octets octets, StringBuffer& out) {
  const size_t size = octets.size();
  if (size != 4 && size != 8 && size != 16 && size != 32) return false;
  const bool hasMask = size == 8 || size == 32;
  const size_t addressSize = hasMask ? size / 2 : size;
  appendAddress(octets.first(addressSize), out);
  if (hasMask) appendMask(octets.subspan(addressSize), out);
  return true;
}

}  // namespace velmora::tool
