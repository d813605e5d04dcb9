#pragma once

// Decodes base64 that comes in pieces.

#include <array>
#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// Base64 (RFC 4648 §4) that comes in pieces, decoded as it comes: no more than the bytes decoded
/// and a small piece of text is held. What stands between the characters of the alphabet, white
/// space included, is for the caller to pass over.
class VELMORA_API Base64Stream {
 public:
  enum class Fault { kNone, kTooLarge, kNoMemory, kMalformed };

  /// More than `maxBytes` decoded bytes are refused.
  explicit Base64Stream(size_t maxBytes) noexcept : m_maxBytes(maxBytes) {}

  /// Takes the characters of the alphabet that `text` starts with and gives their number. After
  /// padding or a fault it takes none.
  size_t takeRun(std::string_view text) noexcept;

  /// Takes one "=".
  void takePadding() noexcept { m_padded = true; }

  /// Decodes what is still held: the end of the text. Gives the fault, if there is one.
  Fault finish() noexcept;

  bool empty() const noexcept { return m_bytes.empty() && m_pendingSize == 0; }
  Fault fault() const noexcept { return m_fault; }
  std::span<const unsigned char> bytes() const noexcept { return m_bytes.span(); }

  /// Makes ready for the next text and keeps the memory.
  void restart() noexcept;

  /// As restart, and gives the memory back.
  void release() noexcept;

  /// Whether a character is one of the 64.
  static bool inAlphabet(char c) noexcept;

 private:
  size_t decodeGroups(std::string_view text) noexcept;
  void decodePending() noexcept;

  size_t m_maxBytes;
  DataBuffer m_bytes;
  std::array<char, 4096> m_pending;  // a multiple of four
  size_t m_pendingSize = 0;
  bool m_padded = false;
  Fault m_fault = Fault::kNone;
};

}  // namespace velmora
