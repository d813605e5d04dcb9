#pragma once

// Finds PEM blocks in text.

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/base64_stream.h"

namespace velmora {

/// Finds PEM blocks (RFC 7468, read leniently) in text that comes in pieces. Lines of text around
/// blocks, lines of any length, indentation, CR LF and CR, header lines as in RFC 1421, data on the
/// lines of the markers, several markers on one line and END labels that differ are all accepted.
/// Of a line with a marker everything counts: text on it that belongs to no block is a fault of the
/// line, as are an END without a BEGIN and a malformed marker, which is BEGIN or END behind two or
/// more dashes; the whole markers on such a line are read all the same. Text of base64 and white
/// space alone, without any block, counts as one block without a label when it starts as the base64
/// of a SEQUENCE does. Held are the DER of one block and the start of one line.
class VELMORA_API PemScanner {
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

  /// The label of the BEGIN, or of an END that stands alone; empty for other lines at fault and
  /// for base64 without markers.
  std::string_view label() const noexcept { return {m_label.data(), m_labelSize}; }
  /// The line of the BEGIN, or the line that is at fault by itself, from 1; 0 for base64 without
  /// markers.
  size_t line() const noexcept { return m_blockLine; }
  /// Whether the block is encrypted as a whole (RFC 1421 header DEK-Info).
  bool encrypted() const noexcept { return m_encrypted; }
  std::span<const unsigned char> der() const noexcept { return m_base64.bytes(); }
  const char* reason() const noexcept { return m_reason; }
  /// The line at fault, from 1; 0 where it is one that is missing.
  size_t faultLine() const noexcept { return m_faultLine; }

 private:
  enum class State {
    kBare,
    kLineStart,
    kSkipLine,
    kHeader,   // behind the name of a header
    kDashes,   // those that may start a marker
    kKeyword,  // BEGIN or END behind them
    kLabel,
    kMaybeHeader,
    kData
  };

  // Longer than any marker or header name that means something.
  static constexpr size_t kMaxHeldLine = 128;

  Event run(std::string_view& text) noexcept;
  Event readBare(std::string_view& text) noexcept;
  Event readLineStart(std::string_view& text) noexcept;
  Event readSkippedLine(std::string_view& text) noexcept;
  Event readDashes(std::string_view& text) noexcept;
  Event readKeyword(std::string_view& text) noexcept;
  Event readLabel(std::string_view& text) noexcept;
  Event readMaybeHeader(std::string_view& text) noexcept;
  Event readData(std::string_view& text) noexcept;

  Event giveUpBare() noexcept;
  Event skipText() noexcept;
  void enterDashes() noexcept;
  Event keywordRead() noexcept;
  Event beginMarker() noexcept;
  Event endMarker() noexcept;
  Event notAMarker() noexcept;
  Event malformedMarker() noexcept;
  Event replayAsData() noexcept;
  void openBlock() noexcept;
  Event closeBlock() noexcept;
  Event fail(const char* reason) noexcept;
  Event failWithoutEnd() noexcept;
  Event failBlock(const char* reason, size_t line) noexcept;
  Event failLine(const char* reason, std::string_view label = {}) noexcept;
  Event failBase64() noexcept;

  bool takeLineEnd(std::string_view& text) noexcept;
  bool hold(char c) noexcept;
  std::string_view held() const noexcept { return {m_held.data(), m_heldSize}; }
  std::string_view markerLabel() const noexcept;
  void setLabel(std::string_view label) noexcept;

  Base64Stream m_base64;
  State m_state = State::kBare;
  bool m_inBlock = false;
  bool m_failed = false;           // the rest of this block is passed over
  bool m_beginPending = false;     // a BEGIN behind what was reported is held
  bool m_headersPossible = false;  // no data of this block was read
  bool m_afterHeader = false;
  bool m_indented = false;
  bool m_lastWasCr = false;
  bool m_lineHasText = false;    // that belongs to no block
  bool m_lineHasMarker = false;  // be it malformed
  bool m_lineReported = false;   // as the line of a fault
  bool m_markerIsReadable = false;
  bool m_markerIsBegin = false;
  State m_beforeDashes = State::kLineStart;
  size_t m_dashes = 0;  // in a row, up to here
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
