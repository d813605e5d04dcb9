#pragma once

// Where decompressed bytes go.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "velmora/support/text/data_buffer.h"
#include "velmora/support/zip/inflate.h"

namespace velmora::deflate {

/// Space in the output buffer, grown as it fills and never beyond the bound.
class OutputSpace {
 public:
  OutputSpace(DataBuffer& out, size_t bound) noexcept
      : m_out(out), m_start(out.size()), m_bound(bound) {}

  size_t produced() const noexcept { return m_produced; }
  size_t room() const noexcept { return m_capacity - m_produced; }
  unsigned char* next() noexcept { return m_out.data() + m_start + m_produced; }
  void advance(size_t count) noexcept { m_produced += count; }

  /// Makes room for `count` more bytes, or tells why not.
  InflateResult ensure(size_t count) noexcept {
    if (count <= room()) return InflateResult::kOk;
    if (count > m_bound - m_produced) return InflateResult::kTooLarge;
    const size_t needed = m_produced + count;
    return growTo(
        std::min(m_bound, std::max(needed, m_capacity > m_bound / 2 ? m_bound : 2 * m_capacity)));
  }

  /// Cuts off what was not filled, or everything after a failure.
  void finish(bool keep) noexcept { m_out.truncate(m_start + (keep ? m_produced : 0)); }

 private:
  InflateResult growTo(size_t capacity) noexcept {
    // The exact reservation comes first: extending alone would round up beyond the bound.
    if (capacity > SIZE_MAX - m_start || !m_out.reserve(m_start + capacity)) {
      return InflateResult::kOutOfMemory;
    }
    m_out.extend(capacity - m_capacity);
    m_capacity = capacity;
    return InflateResult::kOk;
  }

  DataBuffer& m_out;
  const size_t m_start;
  const size_t m_bound;
  size_t m_capacity = 0;
  size_t m_produced = 0;
};

}  // namespace velmora::deflate
