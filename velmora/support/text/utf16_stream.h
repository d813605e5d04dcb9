#pragma once

// Decodes UTF-16 that comes in pieces.

#include <array>
#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// UTF-16 that comes in pieces, turned into UTF-8. Strict: what stands for no character is a fault
/// and never replaced. Held is a part of one character. Not safe for concurrent use.
class VELMORA_API Utf16Stream {
 public:
  explicit Utf16Stream(bool bigEndian) noexcept : m_bigEndian(bigEndian) {}

  bool bigEndian() const noexcept { return m_bigEndian; }

  /// Appends the UTF-8 of the characters that `bytes` completes to `out`. False at an unpaired
  /// surrogate, behind what stands before it; and when memory ran out, which marks `out`.
  bool convert(std::string_view bytes, StringBuffer& out) noexcept;

  /// Whether the text may end here: not inside a character.
  bool atBoundary() const noexcept { return m_heldSize == 0; }

 private:
  bool m_bigEndian;
  std::array<unsigned char, 4> m_held{};
  size_t m_heldSize = 0;
};

}  // namespace velmora
