#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "x509/base64_stream.h"

namespace velmora {

/// Finds PEM blocks (RFC 7468, read leniently) in text that comes in pieces. Text around blocks,
/// lines of any length, indentation, CR LF and CR, header lines as in RFC 1421, data on the lines
/// of the markers and END labels that differ are all accepted. Text of base64 and white space
/// alone, without any block, counts as one block without a label when it starts as the base64 of a
/// SEQUENCE does. Held are the DER of one block and the start of one line.
class PemScanner {
 public:
  enum class Event {
    kNone,   // the text is used up
    kBlock,  // label, line, encrypted and der tell what was found
    kFault   // label, line and reason tell what was wrong; the scanner goes on behind it
  };

  explicit PemScanner(size_t maxDerSize) noexcept : m_base64(maxDerSize) {}

  /// Reads until something was found or the text ends, and removes from `text` what it read.
  Event advance(std::string_view& text) noexcept;

  /// What the end of the input brings.
  Event finish() noexcept;

  /// Counts lines that the caller passed over.
  void skipLines(size_t count) noexcept { m_line += count; }

  // About the last event; valid until the next call.

  /// The label of the BEGIN line; empty for base64 without one.
  std::string_view label() const noexcept { return {m_label.data(), m_labelSize}; }
  /// The line of the BEGIN line, from 1; 0 for base64 without one.
  size_t line() const noexcept { return m_blockLine; }
  /// Whether the block is encrypted as a whole (RFC 1421 header DEK-Info).
  bool encrypted() const noexcept { return m_encrypted; }
  std::span<const unsigned char> der() const noexcept { return m_base64.bytes(); }
  const char* reason() const noexcept { return m_reason; }
  /// The line at fault, from 1; 0 where it is one that is missing.
  size_t faultLine() const noexcept { return m_faultLine; }

 private:
  enum class State { kBare, kLineStart, kSkipLine, kMarker, kMaybeHeader, kData };

  // Longer than any marker or header name that means something.
  static constexpr size_t kMaxHeldLine = 128;

  Event run(std::string_view& text) noexcept;
  Event readBare(std::string_view& text) noexcept;
  Event readLineStart(std::string_view& text) noexcept;
  Event readSkippedLine(std::string_view& text) noexcept;
  Event readMarker(std::string_view& text) noexcept;
  Event readMaybeHeader(std::string_view& text) noexcept;
  Event readData(std::string_view& text) noexcept;

  Event giveUpBare() noexcept;
  Event beginMarker() noexcept;
  Event endMarker() noexcept;
  Event notAMarker() noexcept;
  Event replayAsData() noexcept;
  void openBlock() noexcept;
  Event closeBlock() noexcept;
  Event fail(const char* reason) noexcept;
  Event failWithoutEnd() noexcept;
  Event failBase64() noexcept;

  bool takeLineEnd(std::string_view& text) noexcept;
  bool hold(char c) noexcept;
  std::string_view held() const noexcept { return {m_held.data(), m_heldSize}; }
  bool holdsMarker(std::string_view prefix) const noexcept;

  Base64Stream m_base64;
  State m_state = State::kBare;
  bool m_inBlock = false;
  bool m_failed = false;           // the rest of this block is passed over
  bool m_beginPending = false;     // a BEGIN line inside a block is held
  bool m_headersPossible = false;  // no data of this block was read
  bool m_afterHeader = false;
  bool m_indented = false;
  bool m_lineHasText = false;  // while in kBare
  bool m_lastWasCr = false;
  bool m_encrypted = false;
  size_t m_line = 1;
  size_t m_blockLine = 0;
  size_t m_faultLine = 0;
  std::array<char, kMaxHeldLine> m_held;
  size_t m_heldSize = 0;
  std::array<char, kMaxHeldLine> m_label;
  size_t m_labelSize = 0;
  const char* m_reason = nullptr;
};

}  // namespace velmora
