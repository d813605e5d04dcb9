#pragma once

// Finds what a deflate stream can repeat.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/core/pod_array.h"
#include "velmora/support/core/words.h"
#include "velmora/support/zip/internal/deflate_format.h"

namespace velmora::deflate {

struct Match {
  unsigned length = 0;  // 0: none
  unsigned distance = 0;
};

/// Finds earlier occurrences of the bytes at a position, in the window before it. Positions are
/// chained by a hash of their first four bytes; one more table knows the latest position of each
/// three bytes. Tables are sized by the input. Positions are kept modulo 2^32: a candidate is
/// judged by its distance and by the bytes that are there, so that a stale one does no harm.
class MatchFinder {
 public:
  explicit MatchFinder(std::span<const unsigned char> in) noexcept : m_in(in) {}

  /// Gets the memory; false when there is none.
  bool init() noexcept {
    const size_t window = std::bit_ceil(std::clamp<size_t>(m_in.size(), 256, kWindowSize));
    m_hashShift = 32 - static_cast<unsigned>(std::countr_zero(window));
    m_windowMask = window - 1;
    if (m_chains.extend(window) == nullptr || m_heads.extend(window) == nullptr ||
        m_shortHeads.extend(window) == nullptr) {
      return false;
    }
    std::fill(m_heads.begin(), m_heads.end(), kNowhere);
    std::fill(m_shortHeads.begin(), m_shortHeads.end(), kNowhere);
    return true;
  }

  /// Enters a position. Each one is entered once, in order, by this or by find.
  void insert(size_t position) noexcept {
    if (m_in.size() - position < kHashed) return;
    const uint32_t bytes = loadLittleEndian<uint32_t>(m_in.data() + position);
    uint32_t& head = m_heads[hash(bytes)];
    m_chains[position & m_windowMask] = head;
    head = static_cast<uint32_t>(position);
    m_shortHeads[hash(bytes << 8)] = static_cast<uint32_t>(position);
  }

  /// Enters a position and returns the longest match longer than `longerThan`, the nearest of its
  /// length, after following at most `steps` links of the chain.
  Match find(size_t position, unsigned longerThan, unsigned steps) noexcept {
    const size_t left = m_in.size() - position;
    if (left < kHashed) return {};
    const unsigned char* here = m_in.data() + position;
    const uint32_t bytes = loadLittleEndian<uint32_t>(here);
    uint32_t& head = m_heads[hash(bytes)];
    uint32_t& shortHead = m_shortHeads[hash(bytes << 8)];
    const auto at = static_cast<uint32_t>(position);
    uint32_t candidate = head;
    const uint32_t shortDistance = at - shortHead;
    m_chains[position & m_windowMask] = candidate;
    head = shortHead = at;

    Match best{std::max(longerThan, kMinMatch - 1), 0};
    const auto longest = static_cast<unsigned>(std::min<size_t>(left, kMaxMatch));
    if (best.length >= longest) return {};
    const size_t reach = std::min(position, kWindowSize);
    if (best.length < kMinMatch && shortDistance - 1 < std::min(reach, kShortReach) &&
        ((bytes ^ loadLittleEndian<uint32_t>(here - shortDistance)) & 0xffffff) == 0) {
      best = {matchLength(here, here - shortDistance, longest), shortDistance};
    }
    best.length = std::max(best.length, kMinMatch);
    const unsigned enough = std::min(longest, kGoodEnough);
    uint32_t previous = 0;
    for (; steps != 0 && best.length < enough; --steps) {
      const uint32_t distance = at - candidate;
      // Chains only lead backwards; one that does not has been overwritten.
      if (distance <= previous || distance > reach) break;
      previous = distance;
      const unsigned char* there = here - distance;
      const size_t end =
          best.length - (kHashed - 1);  // compare the last bytes a better match needs
      if (loadLittleEndian<uint32_t>(there + end) == loadLittleEndian<uint32_t>(here + end) &&
          loadLittleEndian<uint32_t>(there) == bytes) {
        const unsigned length = matchLength(here, there, longest);
        if (length > best.length) best = {length, distance};
      }
      candidate = m_chains[candidate & m_windowMask];
    }
    return best.distance != 0 ? best : Match{};
  }

  /// A match of this length ends the search.
  static constexpr unsigned kGoodEnough = 128;

 private:
  static constexpr size_t kHashed = 4;
  /// Three bytes copied from farther away cost more than three literals.
  static constexpr size_t kShortReach = 4096;
  /// Farther back than any window reaches.
  static constexpr uint32_t kNowhere = 0xffff0000;

  size_t hash(uint32_t bytes) const noexcept { return bytes * 0x9e3779b1U >> m_hashShift; }

  static unsigned matchLength(const unsigned char* a, const unsigned char* b,
                              unsigned longest) noexcept {
    unsigned length = 0;
    for (; length + 8 <= longest; length += 8) {
      const uint64_t difference =
          loadLittleEndian<uint64_t>(a + length) ^ loadLittleEndian<uint64_t>(b + length);
      if (difference != 0) {
        return length + static_cast<unsigned>(std::countr_zero(difference)) / 8;
      }
    }
    while (length < longest && a[length] == b[length]) ++length;
    return length;
  }

  std::span<const unsigned char> m_in;
  unsigned m_hashShift = 0;
  size_t m_windowMask = 0;
  PodArray<uint32_t> m_heads;       // latest position of each hash of four bytes
  PodArray<uint32_t> m_chains;      // the position before each position, in a ring
  PodArray<uint32_t> m_shortHeads;  // latest position of each hash of three bytes
};

}  // namespace velmora::deflate
