#include "velmora/reading/xml_splitter.h"

#include <algorithm>
#include <utility>

#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/xml/xml_names.h"

namespace velmora {

namespace {

constexpr std::string_view kCommentStart = "--";
constexpr std::string_view kCdataStart = "[CDATA[";

// How much of a document may stand in front of its first ASN.1 element.
constexpr size_t kMaxDoubtful = size_t{16} << 10;

bool isXmlSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace

XmlSplitter::Event XmlSplitter::advance(std::string_view& text) noexcept {
  while (!text.empty()) {
    if (m_state == State::kText && m_inDocument && !m_doubtful && passOverText(text)) continue;
    const char c = text.front();
    text.remove_prefix(1);
    const Event event = step(c);
    if (event != Event::kNone) return event;
    if (m_doubtful && m_document.getSize() > kMaxDoubtful) return foreign();
  }
  return Event::kNone;
}

XmlSplitter::Event XmlSplitter::finish() noexcept {
  if (m_state == State::kText && !m_inDocument) return Event::kNone;
  if (m_inName) judgeName(0);
  if (m_inDocument && m_doubtful) return foreign();
  return m_tooLarge || m_noMemory ? closeDocument() : fail("The XML document is not complete.");
}

// Keeps everything up to the next tag; false when the tag starts here.
bool XmlSplitter::passOverText(std::string_view& text) noexcept {
  const std::string_view piece = text.substr(0, text.find('<'));
  keep(piece);
  m_line += static_cast<size_t>(std::count(piece.begin(), piece.end(), '\n'));
  text.remove_prefix(piece.size());
  return !piece.empty();
}

XmlSplitter::Event XmlSplitter::step(char c) noexcept {
  if (c == '\n') ++m_line;
  if (m_inDocument) keep({&c, 1});
  Event event = Event::kNone;
  switch (m_state) {
    case State::kText:
      return readText(c);
    case State::kOpened:
      event = readOpened(c);
      break;
    case State::kStartTag:
      event = readStartTag(c);
      break;
    case State::kEndTag:
      event = readEndTag(c);
      break;
    case State::kDeclaration:
      event = readDeclaration(c);
      break;
    case State::kComment:
      readUntil("-->", c);
      break;
    case State::kCdata:
      readUntil("]]>", c);
      break;
    case State::kPi:
      if (!m_inDocument) readInstruction(c);
      readUntil("?>", c);
      break;
  }
  m_last[0] = m_last[1];
  m_last[1] = c;
  return event;
}

XmlSplitter::Event XmlSplitter::readText(char c) noexcept {
  if (c == '<') {
    m_strayText = false;
    m_state = State::kOpened;
  } else if (!m_inDocument && !m_strayText && !isXmlSpace(c)) {
    m_strayText = true;
    return fail("Text outside the XML documents.");
  }
  return Event::kNone;
}

// `c` follows a "<".
XmlSplitter::Event XmlSplitter::readOpened(char c) noexcept {
  if (!m_inDocument) m_startLine = m_line;
  m_openingSize = m_targetSize = 0;
  if (c == '!') {
    enter(State::kDeclaration);
  } else if (c == '?') {
    enter(State::kPi);
  } else if (c == '/') {
    enter(State::kEndTag);
    if (!m_inDocument) return fail("An end tag outside the XML documents.");
  } else {
    if (!m_inDocument) {
      m_inDocument = true;
      m_documentDeclaration = std::exchange(m_declaration, {});
      m_document.weakClear();
      const char start[] = {'<', c};
      keep({start, sizeof start});
    }
    enter(State::kStartTag);
    m_inName = m_doubtful;
    m_nameStart = m_document.getSize() - 1;
    return readStartTag(c);
  }
  if (!m_inDocument) m_doubtful = false;
  return Event::kNone;
}

void XmlSplitter::enter(State state) noexcept {
  m_state = state;
  m_quote = 0;
  m_last[0] = m_last[1] = 0;
}

// Judges the document by the name of a start tag, behind which some characters are held.
XmlSplitter::Event XmlSplitter::judgeName(size_t following) noexcept {
  constexpr size_t kThirdLevel = 2;
  m_inName = false;
  if (m_noMemory) return Event::kNone;
  std::string_view name = m_document.view().substr(m_nameStart);
  name.remove_suffix(following);
  m_doubtful = !isAsn1Element(xmlNameOf(name));
  return m_doubtful && m_depth == kThirdLevel ? foreign() : Event::kNone;
}

XmlSplitter::Event XmlSplitter::foreign() noexcept {
  return m_noMemory ? fail(kMemoryRanOut, Event::kFatal) : Event::kForeign;
}

XmlSplitter::Event XmlSplitter::readStartTag(char c) noexcept {
  if (m_inName && (isXmlSpace(c) || c == '/' || c == '>')) {
    const Event event = judgeName(1);
    if (event != Event::kNone) return event;
  }
  if (m_quote != 0) {
    if (c == m_quote) m_quote = 0;
    return Event::kNone;
  }
  if (c == '"' || c == '\'') m_quote = c;
  if (c != '>') return Event::kNone;
  m_state = State::kText;
  const bool isEmptyElement = m_last[1] == '/';
  if (!isEmptyElement) ++m_depth;
  return m_depth == 0 ? closeDocument() : Event::kNone;
}

XmlSplitter::Event XmlSplitter::readEndTag(char c) noexcept {
  if (c != '>') return Event::kNone;
  m_state = State::kText;
  if (m_depth == 0) return Event::kNone;
  return --m_depth == 0 ? closeDocument() : Event::kNone;
}

// `c` follows a "<!" and m_openingSize characters.
XmlSplitter::Event XmlSplitter::readDeclaration(char c) noexcept {
  m_opening[m_openingSize++] = c;
  const std::string_view read(m_opening, m_openingSize);
  if (read == kCommentStart) {
    enter(State::kComment);
  } else if (read == kCdataStart && m_inDocument) {
    enter(State::kCdata);
  } else if (!kCommentStart.starts_with(read) && !kCdataStart.starts_with(read)) {
    if (m_doubtful) return foreign();
    return fail("A DOCTYPE or other declaration, which is not accepted.", Event::kFatal);
  } else if (read == kCdataStart) {
    return fail("Text outside the XML documents.", Event::kFatal);
  }
  return Event::kNone;
}

// A declaration, if the instruction's target is "xml", in front of the next document.
void XmlSplitter::readInstruction(char c) noexcept {
  constexpr std::string_view kTarget = "xml";
  constexpr size_t kOther = kTarget.size() + 2;
  if (m_targetSize < kTarget.size()) {
    m_targetSize = c == kTarget[m_targetSize] ? m_targetSize + 1 : kOther;
  } else if (m_targetSize == kTarget.size()) {
    m_targetSize = isXmlSpace(c) ? m_targetSize + 1 : kOther;
  }
  // The space behind the target ends what the declaration before this one left open.
  if (m_targetSize == kTarget.size() + 1) m_declaration.take(c);
}

// Ends the present markup where `c` completes its terminator.
void XmlSplitter::readUntil(std::string_view terminator, char c) noexcept {
  const char end[] = {m_last[0], m_last[1], c};
  if (std::string_view(end, sizeof end).ends_with(terminator)) m_state = State::kText;
}

void XmlSplitter::keep(std::string_view piece) noexcept {
  if (m_tooLarge || m_noMemory) return;
  m_tooLarge = piece.size() > m_maxSize - m_document.getSize();
  m_noMemory = !m_tooLarge && !m_document.append(piece);
  if (m_tooLarge || m_noMemory) m_document.clear();
}

XmlSplitter::Event XmlSplitter::closeDocument() noexcept {
  if (m_doubtful) return foreign();
  const bool tooLarge = m_tooLarge;
  const bool noMemory = m_noMemory;
  m_inDocument = m_tooLarge = m_noMemory = false;
  if (!tooLarge && !noMemory) return Event::kDocument;
  m_reason = tooLarge ? "The XML document is larger than 256 MiB." : kMemoryRanOut;
  return Event::kFault;
}

XmlSplitter::Event XmlSplitter::fail(const char* reason, Event event) noexcept {
  if (!m_inDocument && m_state == State::kText) m_startLine = m_line;
  m_reason = reason;
  return event;
}

}  // namespace velmora
