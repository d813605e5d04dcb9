#include "x509/pem_scanner.h"

#include <algorithm>

namespace velmora {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

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
        event = readSkippedLine(text);
        break;
      case State::kMarker:
        event = readMarker(text);
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
  return m_inBlock && !m_failed ? failWithoutEnd() : Event::kNone;
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
  if (text.empty()) return Event::kNone;
  if (takeLineEnd(text)) {
    m_lineHasText = false;
  } else if (isBlank(text.front())) {
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
  const bool folded = m_afterHeader && m_indented;  // RFC 822: the line continues a header
  if (c == '-') {
    m_state = State::kMarker;
  } else if (!m_inBlock || m_failed || folded) {
    m_state = State::kSkipLine;
  } else {
    m_state = m_headersPossible ? State::kMaybeHeader : State::kData;
  }
  return Event::kNone;
}

PemScanner::Event PemScanner::readSkippedLine(std::string_view& text) noexcept {
  const auto end = std::find_if(text.begin(), text.end(), isLineEnd);
  text.remove_prefix(static_cast<size_t>(end - text.begin()));
  if (!text.empty()) takeLineEnd(text);
  return Event::kNone;
}

PemScanner::Event PemScanner::readMarker(std::string_view& text) noexcept {
  while (!text.empty()) {
    const char c = text.front();
    if (isLineEnd(c) || !hold(c)) return notAMarker();
    text.remove_prefix(1);
    if (c != '-') continue;
    if (holdsMarker(kBegin)) return beginMarker();
    if (holdsMarker(kEnd)) return endMarker();
  }
  return Event::kNone;
}

bool PemScanner::holdsMarker(std::string_view prefix) const noexcept {
  return m_heldSize >= prefix.size() + kDashes.size() && held().starts_with(prefix) &&
         held().ends_with(kDashes);
}

PemScanner::Event PemScanner::beginMarker() noexcept {
  if (!m_inBlock || m_failed) {
    openBlock();
    return Event::kNone;
  }
  m_beginPending = true;
  return failWithoutEnd();
}

void PemScanner::openBlock() noexcept {
  std::string_view name = held();
  name.remove_prefix(kBegin.size());
  name.remove_suffix(kDashes.size());
  std::copy(name.begin(), name.end(), m_label.begin());
  m_labelSize = name.size();
  m_blockLine = m_line;
  m_base64.restart();
  m_inBlock = true;
  m_failed = m_beginPending = m_afterHeader = m_indented = m_encrypted = false;
  m_headersPossible = true;
  m_state = State::kLineStart;
}

PemScanner::Event PemScanner::endMarker() noexcept {
  const bool complete = m_inBlock && !m_failed;
  m_inBlock = false;
  m_state = State::kSkipLine;
  return complete ? closeBlock() : Event::kNone;
}

PemScanner::Event PemScanner::closeBlock() noexcept {
  return m_base64.finish() == Base64Stream::Fault::kNone ? Event::kBlock : failBase64();
}

PemScanner::Event PemScanner::notAMarker() noexcept {
  if (m_inBlock && !m_failed) return fail("The PEM block holds a line that is not base64.");
  m_state = State::kSkipLine;
  return Event::kNone;
}

PemScanner::Event PemScanner::readMaybeHeader(std::string_view& text) noexcept {
  while (!text.empty()) {
    const char c = text.front();
    if (c == ':') {
      m_encrypted = m_encrypted || held() == "DEK-Info";
      m_afterHeader = true;
      m_state = State::kSkipLine;
      return Event::kNone;
    }
    if (!isHeaderNameChar(c) || !hold(c)) return replayAsData();
    text.remove_prefix(1);
  }
  return Event::kNone;
}

// The line that was held is no header. It cannot hold a whole marker, which has a space inside.
PemScanner::Event PemScanner::replayAsData() noexcept {
  const std::array<char, kMaxHeldLine> copy = m_held;
  std::string_view line(copy.data(), m_heldSize);
  m_headersPossible = false;
  m_state = State::kData;
  return run(line);
}

PemScanner::Event PemScanner::readData(std::string_view& text) noexcept {
  text.remove_prefix(m_base64.takeRun(text));
  if (m_base64.fault() != Base64Stream::Fault::kNone) return failBase64();
  if (text.empty()) return Event::kNone;
  if (takeLineEnd(text)) return Event::kNone;
  const char c = text.front();
  if (c == '-') {
    m_heldSize = 0;
    m_state = State::kMarker;
    return Event::kNone;
  }
  if (!isBlank(c) && c != '=') return fail("The PEM block holds a line that is not base64.");
  if (c == '=') m_base64.takePadding();
  text.remove_prefix(1);
  return Event::kNone;
}

PemScanner::Event PemScanner::fail(const char* reason) noexcept {
  m_reason = reason;
  m_faultLine = m_line;
  m_failed = true;
  m_state = State::kSkipLine;
  m_base64.release();
  return Event::kFault;
}

PemScanner::Event PemScanner::failWithoutEnd() noexcept {
  const Event event = fail("The PEM block has no END line.");
  m_faultLine = 0;
  return event;
}

PemScanner::Event PemScanner::failBase64() noexcept {
  switch (m_base64.fault()) {
    case Base64Stream::Fault::kTooLarge:
      return fail("The DER is larger than 64 MiB.");
    case Base64Stream::Fault::kNoMemory:
      return fail("Memory ran out.");
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
  m_indented = false;
  return true;
}

bool PemScanner::hold(char c) noexcept {
  if (m_heldSize == m_held.size()) return false;
  m_held[m_heldSize++] = c;
  return true;
}

}  // namespace velmora
