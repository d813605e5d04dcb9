#include "velmora/support/zip/adler32.h"

#include <algorithm>
#include <cstddef>

namespace velmora {
namespace {

constexpr uint32_t kModulus = 65521;
constexpr size_t kLane = 16;
/// So many bytes of 255 keep the second sum below 2^32 when both start just under the modulus; a
/// multiple of the lane.
constexpr size_t kBytesBetweenReductions = 5552;

/// Adds `count` bytes, at most kBytesBetweenReductions. Sixteen at a time go through sums that do
/// not depend on each other, which compilers turn into vector code.
void addBytes(const unsigned char* bytes, size_t count, uint32_t& sum, uint32_t& sumOfSums) {
  for (; count >= kLane; count -= kLane, bytes += kLane) {
    uint32_t plain = 0, weighted = 0;
    for (size_t i = 0; i < kLane; ++i) {
      plain += bytes[i];
      weighted += static_cast<uint32_t>(kLane - i) * bytes[i];
    }
    sumOfSums += static_cast<uint32_t>(kLane) * sum + weighted;
    sum += plain;
  }
  for (; count != 0; --count) {
    sum += *bytes++;
    sumOfSums += sum;
  }
}

}  // namespace

uint32_t adler32(std::span<const unsigned char> bytes) noexcept {
  uint32_t sum = 1, sumOfSums = 0;
  while (!bytes.empty()) {
    const size_t count = std::min(bytes.size(), kBytesBetweenReductions);
    addBytes(bytes.data(), count, sum, sumOfSums);
    sum %= kModulus;
    sumOfSums %= kModulus;
    bytes = bytes.subspan(count);
  }
  return sumOfSums << 16 | sum;
}

}  // namespace velmora
