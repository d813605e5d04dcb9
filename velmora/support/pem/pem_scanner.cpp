#include "velmora/support/pem/pem_scanner.h"

#include <algorithm>

#include "velmora/support/core/out_of_memory.h"

namespace velmora {

namespace {

// A marker is "-----BEGIN LABEL-----" or "-----END LABEL-----". Fewer dashes before one of these
// words, or more, are those of a marker that somebody has damaged; with more it is still read.
constexpr std::string_view kBegin = "BEGIN";
constexpr std::string_view kEnd = "END";
constexpr size_t kDashes = 5;
constexpr size_t kFewestDashes = 2;

constexpr const char* kNotBase64 = "The PEM block holds a line that is not base64.";
constexpr const char* kMalformedMarker = "A PEM BEGIN or END that is malformed.";
constexpr const char* kBesideMarker = "Text on the line of a PEM BEGIN or END.";
constexpr const char* kEndAlone = "A PEM END without a BEGIN.";

bool isLineEnd(char c) {
  return c == '\n' || c == '\r';
}
bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

bool isHeaderNameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

}  // namespace

PemScanner::Event PemScanner::advance(std::string_view& text) noexcept {
  if (m_beginPending) openBlock();
  return run(text);
}

// NOLINTNEXTLINE(misc-no-recursion): replayAsData() says why once
PemScanner::Event PemScanner::run(std::string_view& text) noexcept {
  Event event = Event::kNone;
  while (event == Event::kNone && !text.empty()) {
    switch (m_state) {
      case State::kBare:
        event = readBare(text);
        break;
      case State::kLineStart:
        event = readLineStart(text);
        break;
      case State::kSkipLine:
      case State::kHeader:
        event = readSkippedLine(text);
        break;
      case State::kDashes:
        event = readDashes(text);
        break;
      case State::kKeyword:
        event = readKeyword(text);
        break;
      case State::kLabel:
        event = readLabel(text);
        break;
      case State::kMaybeHeader:
        event = readMaybeHeader(text);
        break;
      case State::kData:
        event = readData(text);
        break;
    }
  }
  return event;
}

PemScanner::Event PemScanner::finish() noexcept {
  if (m_state == State::kBare && !m_base64.empty()) {
    m_state = State::kSkipLine;
    return closeBlock();
  }
  if (m_inBlock && !m_failed) return failWithoutEnd();
  if (m_state == State::kDashes || m_state == State::kKeyword) return notAMarker();
  return m_state == State::kLabel ? malformedMarker() : Event::kNone;
}

// Reads text that may be base64 without markers.
PemScanner::Event PemScanner::readBare(std::string_view& text) noexcept {
  // The first octet of a SEQUENCE, 30, makes the first character an M.
  if (m_base64.empty() && Base64Stream::inAlphabet(text.front()) && text.front() != 'M') {
    return giveUpBare();
  }
  const size_t taken = m_base64.takeRun(text);
  text.remove_prefix(taken);
  if (m_base64.fault() != Base64Stream::Fault::kNone) {
    m_state = State::kSkipLine;
    return failBase64();
  }
  if (taken != 0) {
    m_lineHasText = true;
    m_lastWasCr = false;
  }
  if (text.empty() || takeLineEnd(text)) return Event::kNone;
  m_lastWasCr = false;
  if (isBlank(text.front())) {
    text.remove_prefix(1);
  } else if (text.front() == '=' && !m_base64.empty()) {
    m_base64.takePadding();
    m_lineHasText = true;
    text.remove_prefix(1);
  } else {
    return giveUpBare();
  }
  return Event::kNone;
}

PemScanner::Event PemScanner::giveUpBare() noexcept {
  m_base64.release();
  m_state = m_lineHasText ? State::kSkipLine : State::kLineStart;
  return Event::kNone;
}

PemScanner::Event PemScanner::readLineStart(std::string_view& text) noexcept {
  const bool secondHalf = m_lastWasCr && text.front() == '\n';
  if (takeLineEnd(text)) {
    if (!secondHalf) m_afterHeader = false;
    m_indented = false;
    return Event::kNone;
  }
  m_lastWasCr = false;
  const char c = text.front();
  if (isBlank(c)) {
    m_indented = true;
    text.remove_prefix(1);
    return Event::kNone;
  }
  m_heldSize = 0;
  const bool inGoodBlock = m_inBlock && !m_failed;
  if (inGoodBlock && m_afterHeader && m_indented) {  // RFC 822: the line continues a header
    m_state = State::kHeader;
  } else if (c == '-') {
    enterDashes();
  } else if (!inGoodBlock) {
    return skipText();
  } else {
    m_state = m_headersPossible ? State::kMaybeHeader : State::kData;
  }
  return Event::kNone;
}

// The rest of a line that is no data, up to what may be a marker.
PemScanner::Event PemScanner::readSkippedLine(std::string_view& text) noexcept {
  const auto end =
      std::find_if(text.begin(), text.end(), [](char c) { return c == '-' || isLineEnd(c); });
  text.remove_prefix(static_cast<size_t>(end - text.begin()));
  if (!text.empty() && !takeLineEnd(text)) enterDashes();
  return Event::kNone;
}

// Passes over text that belongs to no block, or to one that is at fault.
PemScanner::Event PemScanner::skipText() noexcept {
  m_state = State::kSkipLine;
  if (m_inBlock) return Event::kNone;
  m_lineHasText = true;
  return m_lineHasMarker ? failLine(kBesideMarker) : Event::kNone;
}

void PemScanner::enterDashes() noexcept {
  m_beforeDashes = m_state;
  m_state = State::kDashes;
  m_dashes = 0;
}

PemScanner::Event PemScanner::readDashes(std::string_view& text) noexcept {
  const size_t count = std::min(text.find_first_not_of('-'), text.size());
  m_dashes += count;
  text.remove_prefix(count);
  if (text.empty()) return Event::kNone;
  if (m_dashes < kFewestDashes) return notAMarker();
  m_markerIsReadable = m_dashes >= kDashes;
  m_heldSize = 0;
  m_state = State::kKeyword;
  return Event::kNone;
}

PemScanner::Event PemScanner::readKeyword(std::string_view& text) noexcept {
  while (!text.empty()) {
    const char c = text.front();
    if (m_heldSize == 0 && isBlank(c)) {
      m_markerIsReadable = false;
    } else {
      hold(c);
      if (!kBegin.starts_with(held()) && !kEnd.starts_with(held())) return notAMarker();
    }
    text.remove_prefix(1);
    if (held() == kBegin || held() == kEnd) return keywordRead();
  }
  return Event::kNone;
}

PemScanner::Event PemScanner::keywordRead() noexcept {
  const bool isWhole = m_markerIsReadable && m_dashes == kDashes;
  const Event event = isWhole ? Event::kNone : malformedMarker();
  if (m_markerIsReadable) m_state = State::kLabel;
  m_markerIsBegin = held() == kBegin;
  m_heldSize = 0;
  m_dashes = 0;
  return event;
}

// A space, the label and dashes.
PemScanner::Event PemScanner::readLabel(std::string_view& text) noexcept {
  while (!text.empty()) {
    const char c = text.front();
    const bool fits = m_heldSize == 0 ? c == ' ' : !isLineEnd(c);
    if (!fits || !hold(c)) return malformedMarker();
    text.remove_prefix(1);
    m_dashes = c == '-' ? m_dashes + 1 : 0;
    if (m_dashes == kDashes) return m_markerIsBegin ? beginMarker() : endMarker();
  }
  return Event::kNone;
}

PemScanner::Event PemScanner::beginMarker() noexcept {
  m_lineHasMarker = true;
  Event event = Event::kNone;
  if (m_inBlock && !m_failed) {
    event = failWithoutEnd();
  } else if (m_lineHasText) {
    event = failLine(kBesideMarker);
  }
  m_beginPending = event != Event::kNone;
  if (!m_beginPending) openBlock();
  return event;
}

void PemScanner::openBlock() noexcept {
  setLabel(markerLabel());
  m_blockLine = m_line;
  m_base64.restart();
  m_inBlock = true;
  m_failed = m_beginPending = m_afterHeader = m_indented = m_encrypted = false;
  m_headersPossible = true;
  m_state = State::kLineStart;
}

PemScanner::Event PemScanner::endMarker() noexcept {
  m_lineHasMarker = true;
  m_state = State::kLineStart;
  if (!m_inBlock) return failLine(kEndAlone, markerLabel());
  m_inBlock = false;
  return m_failed ? Event::kNone : closeBlock();
}

PemScanner::Event PemScanner::closeBlock() noexcept {
  return m_base64.finish() == Base64Stream::Fault::kNone ? Event::kBlock : failBase64();
}

// Dashes without BEGIN or END behind them.
PemScanner::Event PemScanner::notAMarker() noexcept {
  if (m_beforeDashes != State::kHeader) {
    return m_inBlock && !m_failed ? fail(kNotBase64) : skipText();
  }
  m_state = State::kHeader;
  return Event::kNone;
}

PemScanner::Event PemScanner::malformedMarker() noexcept {
  m_lineHasMarker = true;
  if (m_inBlock && !m_failed) return fail(kMalformedMarker);
  m_state = State::kSkipLine;
  return failLine(kMalformedMarker);
}

// NOLINTNEXTLINE(misc-no-recursion): replayAsData() says why once
PemScanner::Event PemScanner::readMaybeHeader(std::string_view& text) noexcept {
  while (!text.empty()) {
    const char c = text.front();
    if (c == ':') {
      m_encrypted = m_encrypted || held() == "DEK-Info";
      m_afterHeader = true;
      m_state = State::kHeader;
      return Event::kNone;
    }
    const bool startsMarker = c == '-' && held().ends_with('-');
    if (!isHeaderNameChar(c) || startsMarker || !hold(c)) return replayAsData();
    text.remove_prefix(1);
  }
  return Event::kNone;
}

// The line that was held is no header. Of a marker it can hold the first dash alone, so that what
// stands behind a fault in it brings no second event. Nor can it be held again: no header is
// possible any more.
// NOLINTNEXTLINE(misc-no-recursion)
PemScanner::Event PemScanner::replayAsData() noexcept {
  const std::array<char, kMaxHeldLine> copy = m_held;
  std::string_view line(copy.data(), m_heldSize);
  m_headersPossible = m_afterHeader = false;
  m_state = State::kData;
  const Event event = run(line);
  run(line);
  return event;
}

PemScanner::Event PemScanner::readData(std::string_view& text) noexcept {
  text.remove_prefix(m_base64.takeRun(text));
  if (m_base64.fault() != Base64Stream::Fault::kNone) return failBase64();
  if (text.empty()) return Event::kNone;
  if (takeLineEnd(text)) return Event::kNone;
  const char c = text.front();
  if (c == '-') {
    enterDashes();
    return Event::kNone;
  }
  if (!isBlank(c) && c != '=') return fail(kNotBase64);
  if (c == '=') m_base64.takePadding();
  text.remove_prefix(1);
  return Event::kNone;
}

// The block is at fault, on this line.
PemScanner::Event PemScanner::fail(const char* reason) noexcept {
  m_lineReported = true;
  return failBlock(reason, m_line);
}

PemScanner::Event PemScanner::failWithoutEnd() noexcept {
  return failBlock("The PEM block has no END line.", 0);
}

PemScanner::Event PemScanner::failBlock(const char* reason, size_t line) noexcept {
  m_reason = reason;
  m_faultLine = line;
  m_failed = true;
  m_state = State::kSkipLine;
  m_base64.release();
  return Event::kFault;
}

// This line is at fault, and no block with it. One report is enough for a line.
PemScanner::Event PemScanner::failLine(const char* reason, std::string_view label) noexcept {
  if (m_lineReported) return Event::kNone;
  m_lineReported = true;
  m_reason = reason;
  m_blockLine = m_faultLine = m_line;
  m_encrypted = false;
  setLabel(label);
  return Event::kFault;
}

PemScanner::Event PemScanner::failBase64() noexcept {
  switch (m_base64.fault()) {
    case Base64Stream::Fault::kTooLarge:
      return fail("The DER is larger than 64 MiB.");
    case Base64Stream::Fault::kNoMemory:
      return fail(kMemoryRanOut);
    default:
      return fail("The base64 text is cut short.");
  }
}

// Moves past a line end, if one is here, and counts it; CR LF is one.
bool PemScanner::takeLineEnd(std::string_view& text) noexcept {
  const char c = text.front();
  if (!isLineEnd(c)) return false;
  if (c == '\r' || !m_lastWasCr) ++m_line;
  m_lastWasCr = c == '\r';
  text.remove_prefix(1);
  if (m_state != State::kBare) m_state = State::kLineStart;
  m_indented = m_lineHasText = m_lineHasMarker = m_lineReported = false;
  return true;
}

// The label of the marker that is held, between the space and the dashes.
std::string_view PemScanner::markerLabel() const noexcept {
  return held().substr(1, m_heldSize - 1 - kDashes);
}

void PemScanner::setLabel(std::string_view label) noexcept {
  std::copy(label.begin(), label.end(), m_label.begin());
  m_labelSize = label.size();
}

bool PemScanner::hold(char c) noexcept {
  if (m_heldSize == m_held.size()) return false;
  m_held[m_heldSize++] = c;
  return true;
}

}  // namespace velmora
