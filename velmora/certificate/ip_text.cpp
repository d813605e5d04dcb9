#include <algorithm>
#include <bit>
#include <charconv>
#include <span>

#include "velmora/certificate/general_name.h"
#include "velmora/support/core/words.h"

namespace velmora {
namespace {

Bytes octetsOf(const IpAddress& address) noexcept {
  return Bytes(address.octets).first(address.size);
}

void appendNumber(unsigned value, int base, std::string& out) {
  char digits[8];
  out.append(digits, std::to_chars(digits, std::end(digits), value, base).ptr);
}

void appendIpv4(Bytes octets, std::string& out) {
  for (size_t i = 0; i < octets.size(); ++i) {
    if (i != 0) out += '.';
    appendNumber(std::to_integer<unsigned>(octets[i]), 10, out);
  }
}

constexpr size_t kGroups = 8;

unsigned groupAt(Bytes octets, size_t group) noexcept {
  return static_cast<unsigned>(bigEndianNumber(octets.subspan(2 * group, 2)));
}

struct Run {
  size_t start = 0;
  size_t size = 0;
};

// The longest run of groups that are 0, the first of several; a single one is not shortened
// (RFC 5952 §4.2).
Run longestZeroRun(Bytes octets) noexcept {
  Run longest;
  Run run;
  for (size_t i = 0; i < kGroups; ++i) {
    const bool isZero = groupAt(octets, i) == 0;
    run = isZero ? Run{run.size == 0 ? i : run.start, run.size + 1} : Run{};
    if (run.size > longest.size) longest = run;
  }
  return longest.size > 1 ? longest : Run{};
}

// ::ffff:0:0/96, where dotted decimal tells more (RFC 5952 §5).
bool isMappedIpv4(Bytes octets) noexcept {
  const auto isZero = [](std::byte octet) { return octet == std::byte{0}; };
  return std::all_of(octets.begin(), octets.begin() + 10, isZero) && groupAt(octets, 5) == 0xFFFF;
}

void appendIpv6(Bytes octets, std::string& out) {
  if (isMappedIpv4(octets)) {
    out += "::ffff:";
    return appendIpv4(octets.subspan(12), out);
  }
  const Run zeros = longestZeroRun(octets);
  for (size_t i = 0; i < kGroups; ++i) {
    if (zeros.size != 0 && i == zeros.start) {
      out += "::";
      i += zeros.size - 1;
      continue;
    }
    const bool behindZeros = zeros.size != 0 && i == zeros.start + zeros.size;
    if (i != 0 && !behindZeros) out += ':';
    appendNumber(groupAt(octets, i), 16, out);
  }
}

// The number of ones in front, when there are no others; else -1.
int prefixLength(Bytes mask) noexcept {
  int ones = 0;
  int before = 0;
  bool inFront = true;
  for (const std::byte octet : mask) {
    const auto bits = std::to_integer<unsigned char>(octet);
    ones += std::popcount(bits);
    if (inFront) before += std::countl_one(bits);
    inFront = inFront && bits == 0xFF;
  }
  return ones == before ? ones : -1;
}

}  // namespace

std::string IpAddress::text() const {
  std::string out;
  size == 4 ? appendIpv4(octetsOf(*this), out) : appendIpv6(octets, out);
  return out;
}

std::string IpRange::text() const {
  std::string out = address.text() + '/';
  const int length = prefixLength(octetsOf(mask));
  if (length < 0) return out + mask.text();
  appendNumber(static_cast<unsigned>(length), 10, out);
  return out;
}

}  // namespace velmora
