#include "velmora/support/xml/internal/xml_parser.h"

#include <cstring>
#include <new>

#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/utf16_stream.h"
#include "velmora/support/xml/internal/xml_scan.h"
#include "velmora/support/xml/xml_chars.h"

namespace velmora {
namespace {

// Sizes of the arrays, guessed from the length of the text; certificates have an element for every
// 40 to 60 bytes.
constexpr size_t kTextPerElement = 32;
constexpr size_t kFewElements = 16;

constexpr size_t kMaxTextSize = 0xFFFFFFFF - 2 * kXmlBlock;

}  // namespace

XmlDocument* XmlParser::parse(std::string_view xml, XmlFault& fault) noexcept {
  if (xml.starts_with(kUtf16LittleEndianMark)) {
    return parseUtf16(xml, XmlEncoding::kUtf16LittleEndian, fault);
  }
  if (xml.starts_with(kUtf16BigEndianMark)) {
    return parseUtf16(xml, XmlEncoding::kUtf16BigEndian, fault);
  }
  return parseUtf8(xml, XmlEncoding::kUtf8, fault);
}

XmlDocument* XmlParser::parseUtf16(std::string_view xml, XmlEncoding mark,
                                   XmlFault& fault) noexcept {
  StringBuffer text;
  Utf16Stream utf16(mark == XmlEncoding::kUtf16BigEndian);
  xml.remove_prefix(kUtf16BigEndianMark.size());
  if (utf16.convert(xml, text) && utf16.atBoundary()) return parseUtf8(text.view(), mark, fault);
  fault = {text.failed() ? kNoMemory : kXmlNotUtf16, text.getSize()};
  return nullptr;
}

XmlDocument* XmlParser::parseUtf8(std::string_view xml, XmlEncoding mark,
                                  XmlFault& fault) noexcept {
  RefOwner<XmlDocument> document(new (std::nothrow) XmlDocument);
  if (!document) {
    fault = {kNoMemory, 0};
    return nullptr;
  }
  document->incRefCount();
  return XmlParser(xml, mark, *document, fault).run() ? document.release() : nullptr;
}

bool XmlParser::run() noexcept {
  if (!prepare()) return false;
  const Cursor c = readProlog({m_begin, m_document.m_text.data()});
  if (c.at == nullptr) return false;
  m_place = {c, c.out, nullptr, nullptr, m_document.m_nodes.data(), kNoXmlIndex, 0, 0};
  readElements();
  if (m_place.c.at != nullptr) m_place.c = readEpilog(m_place.c);
  if (m_place.c.at == nullptr) return false;
  finish();
  return true;
}

// The arrays of nodes and characters are filled through pointers and cut to their size at the end.
bool XmlParser::prepare() noexcept {
  const auto size = static_cast<size_t>(m_end - m_begin);
  if (size > kMaxTextSize) {
    fail(m_begin, "Failed to parse XML: the text is longer than 4 GiB.");
    return false;
  }
  // No piece of the text, a closing zero for each content included, takes more room than its
  // markup; the blocks in which content is copied may reach beyond its end.
  const size_t nodes = size / kTextPerElement + kFewElements;
  if (m_document.m_text.extend(size + kXmlBlock) == nullptr ||
      m_document.m_nodes.extend(nodes) == nullptr ||
      !m_document.m_attributes.reserve(kFewElements)) {
    fail(m_begin, kNoMemory);
    return false;
  }
  m_nodesEnd = m_document.m_nodes.end();
  m_referenceEnd = m_document.m_text.data();
  return true;
}

void XmlParser::finish() noexcept {
  m_document.m_text.truncate(offsetOf(m_place.c.out));
  m_document.m_nodes.truncate(m_place.freshIndex);
  m_document.trim();
}

XmlParser::Cursor XmlParser::readProlog(Cursor c) noexcept {
  if (lookingAt(c.at, "\xEF\xBB\xBF")) c.at += 3;
  if (lookingAt(c.at, "<?xml") && m_end - c.at > 5 && xmlByteIs(c.at[5], kXmlWhite)) {
    c = readDeclaration(c);
  }
  c = skipMisc(c);
  if (c.at == nullptr) return c;
  if (lookingAt(c.at, {"<\0", 2}) || lookingAt(c.at, {"\0<", 2})) {
    return fail(c.at, kXmlNoUtf16Mark);
  }
  if (c.at == m_end) return fail(c.at, "Failed to parse XML: there is no root element.");
  if (lookingAt(c.at, "<!DOCTYPE")) {
    return fail(c.at, "Failed to parse XML: document type declarations are not accepted.");
  }
  if (*c.at != '<') return fail(c.at, "Failed to parse XML: text before the root element.");
  return c;
}

XmlParser::Cursor XmlParser::readDeclaration(Cursor c) noexcept {
  const char* const start = c.at + std::strlen("<?xml");
  const Cursor behind = skipPast({start, c.out}, "?>");
  if (behind.at == nullptr) return behind;
  XmlDeclaration declaration;
  const char* const end = behind.at - std::strlen("?>");
  declaration.take({start, static_cast<size_t>(end - start)});
  const std::string_view rest(behind.at, static_cast<size_t>(m_end - behind.at));
  const char* const reason = declaration.fault(m_mark, rest);
  return reason == nullptr ? behind : fail(c.at, reason);
}

void XmlParser::readElements() noexcept {
  openElement();
  Place p = m_place;
  while (p.c.at != nullptr && p.openIndex != kNoXmlIndex) {
    p.c = p.last == nullptr ? readContent(p.c) : skipBetweenElements(p.c);
    if (p.c.at != nullptr) p = readMarkup(p);
  }
  m_place = p;
}

XmlParser::Cursor XmlParser::readEpilog(Cursor c) noexcept {
  c = skipMisc(c);
  if (c.at == nullptr || c.at == m_end) return c;
  return fail(c.at, "Failed to parse XML: content after the root element.");
}

// Tags.

// The road of nearly every tag of a certificate: a numbered name with nothing else in the tag.
inline XmlParser::Place XmlParser::readMarkup(Place p) noexcept {
  constexpr ptrdiff_t kReach = 2 + kXmlBlock;
  const char* const at = p.c.at;
  if (m_end - at >= kReach) {
    if (at[1] == '/') {
      const XmlName name = p.open->nameId;
      if (name != XmlName::kOther && kXmlNameTable.isTagAt(at + 2, name)) {
        p = settleContent(p);
        p.c.at = at + xmlNameText(name).size() + 3;
        return elementClosed(p);
      }
    } else {
      const XmlNameTable::Entry entry = kXmlNameTable.candidateAt(at + 1);
      if (entry.name() != XmlName::kOther && kXmlNameTable.isTagAt(at + 1, entry.name()) &&
          p.c.out == p.contentStart && p.fresh != m_nodesEnd && p.depth != kMaxDepth) {
        p.c.at = at + entry.size() + 2;
        return elementOpened(p, entry.name());
      }
    }
  }
  m_place = p;
  readMarkupSlowly();
  return m_place;
}

// Takes an element into the tree, as the last child of the open one.
inline XmlParser::Place XmlParser::elementOpened(Place p, XmlName name) noexcept {
  XmlIndex previous = kNoXmlIndex;
  if (p.last != nullptr) p.last->next = p.freshIndex;
  if (p.open != nullptr) {
    XmlNode& above = *p.open;
    if (above.kind == XmlNodeKind::kWide) {
      XmlNodeDetails& details = m_document.m_details[above.word[0]];
      previous = details.lastChild;
      if (p.last == nullptr) details.firstChild = p.freshIndex;
      details.lastChild = p.freshIndex;
      ++details.childCount;
    } else {
      if (p.last != nullptr) previous = above.word[0];
      above.kind = XmlNodeKind::kParent;
      above.word[0] = p.freshIndex;
      ++above.word[1];  // which is 0 in a leaf without content
    }
  }
  *p.fresh = {name, XmlNodeKind::kLeaf, {0, 0}, kNoXmlIndex, p.openIndex, previous};
  p.contentStart = p.c.out;
  p.open = p.fresh++;
  p.openIndex = p.freshIndex++;
  p.last = nullptr;
  ++p.depth;
  return p;
}

inline XmlParser::Place XmlParser::elementClosed(Place p) const noexcept {
  p.contentStart = p.c.out;
  p.last = p.open;
  p.openIndex = p.open->parent;
  p.open = nodeAt(p.openIndex);
  --p.depth;
  return p;
}

void XmlParser::readMarkupSlowly() noexcept {
  Cursor& c = m_place.c;
  if (lookingAt(c.at, "</")) return closeElement();
  if (lookingAt(c.at, "<!--")) {
    c = skipComment(c);
  } else if (lookingAt(c.at, "<![CDATA[")) {
    c = readCdata(c, m_place.last != nullptr);
  } else if (lookingAt(c.at, "<?")) {
    c = skipInstruction(c);
  } else {
    openElement();
  }
}

// STag ::= '<' Name (S Attribute)* S? '>'     EmptyElemTag ::= '<' Name (S Attribute)* S? '/>'
void XmlParser::openElement() noexcept {
  Cursor& c = m_place.c;
  if (m_place.depth == kMaxDepth) {
    c = fail(c.at, "Failed to parse XML: elements are nested deeper than 256.");
    return;
  }
  if (!settleContentBeforeChild() || !makeRoomForElement()) return;
  XmlNamed name;
  c = readName({c.at + 1, c.out}, name);
  if (c.at == nullptr) return;
  m_place = elementOpened(m_place, name.nameId);
  if (name.nameId == XmlName::kOther) {
    XmlNodeDetails* const details = widenOpen();
    if (details == nullptr) return;
    details->name = name;
  }
  c = readAttributes(c);
  if (c.at == nullptr) return;
  m_place.contentStart = c.out;
  const bool empty = *c.at == '/';
  c.at += empty ? 2 : 1;
  if (empty) m_place = elementClosed(m_place);
}

// ETag ::= '</' Name S? '>'
void XmlParser::closeElement() noexcept {
  Cursor& c = m_place.c;
  const std::string_view name = m_document.name(m_place.openIndex);
  if (!lookingAt(c.at + 2, name)) {
    c = fail(c.at, "Failed to parse XML: the closing tag is not that of the open element.");
    return;
  }
  const char* const at = skipWhite(c.at + 2 + name.size());
  if (at == m_end) {
    c = fail(at, kEndsEarly);
  } else if (*at != '>') {
    c = fail(at, "Failed to parse XML: \">\" expected after the closing tag.");
  } else {
    c.at = at + 1;
    m_place = elementClosed(settleContent(m_place));
  }
}

bool XmlParser::makeRoomForElement() noexcept {
  Place& p = m_place;
  if (p.fresh != m_nodesEnd) return true;
  PodArray<XmlNode>& nodes = m_document.m_nodes;
  const XmlIndex last = p.last == nullptr ? kNoXmlIndex : m_document.lastChild(p.openIndex);
  if (nodes.extend(1) == nullptr) {
    p.c = fail(p.c.at, kNoMemory);
    return false;
  }
  nodes.extend(nodes.capacity() - nodes.size());
  p.open = nodeAt(p.openIndex);
  p.last = nodeAt(last);
  p.fresh = nodes.data() + p.freshIndex;
  m_nodesEnd = nodes.end();
  return true;
}

// Reads up to the ">" or "/>" of the tag.
XmlParser::Cursor XmlParser::readAttributes(Cursor c) noexcept {
  while (c.at != nullptr) {
    const char* const at = skipWhite(c.at);
    if (at == m_end) return fail(at, kEndsEarly);
    if (*at == '>' || lookingAt(at, "/>")) return {at, c.out};
    if (at == c.at) return fail(at, "Failed to parse XML: \">\" or white space expected in a tag.");
    c = readAttribute({at, c.out});
  }
  return c;
}

// Attribute ::= Name S? '=' S? ('"' value '"' | "'" value "'")
XmlParser::Cursor XmlParser::readAttribute(Cursor c) noexcept {
  const char* const start = c.at;
  XmlNamed name;
  c = readName(c, name);
  if (c.at == nullptr) return c;
  const char* at = skipWhite(c.at);
  if (at == m_end) return fail(at, kEndsEarly);
  if (*at != '=') return fail(at, "Failed to parse XML: \"=\" expected after an attribute name.");
  at = skipWhite(at + 1);
  if (at == m_end) return fail(at, kEndsEarly);
  if (*at != '"' && *at != '\'') {
    return fail(at, "Failed to parse XML: an attribute value must stand in quotes.");
  }
  c = addAttribute({start, c.out}, name);
  return c.at == nullptr ? c : readValue({at + 1, c.out}, *at);
}

// The attributes of one element stand side by side in the array, because reading ends one tag
// before the next.
XmlParser::Cursor XmlParser::addAttribute(Cursor c, const XmlNamed& name) noexcept {
  PodArray<XmlAttribute>& attributes = m_document.m_attributes;
  XmlNodeDetails* const details = widenOpen();
  if (details == nullptr) return m_place.c;
  const XmlIndex first = details->firstAttribute;
  const auto index = static_cast<XmlIndex>(attributes.size());
  const std::string_view text = m_document.nameOf(name);
  for (XmlIndex i = first; i < index; ++i) {
    if (attributes[i].nameId == name.nameId && m_document.nameOf(attributes[i]) == text) {
      return fail(c.at, "Failed to parse XML: two attributes of one name.");
    }
  }
  if (first != kNoXmlIndex && index - first == XmlDocument::kMaxAttributes) {
    return fail(c.at, "Failed to parse XML: an element has more than 256 attributes.");
  }
  if (!attributes.push_back({name, {0, 0}, kNoXmlIndex})) return fail(c.at, kNoMemory);
  (first == kNoXmlIndex ? details->firstAttribute : attributes[index - 1].next) = index;
  return c;
}

// Reads the value of the last attribute, past the closing quote. White space that is not a
// reference becomes spaces (XML 1.0 §3.3.3).
XmlParser::Cursor XmlParser::readValue(Cursor c, char quote) noexcept {
  const char* const start = c.out;
  while (c.at != nullptr && c.at != m_end && *c.at != quote) {
    if (!xmlByteIs(*c.at, kXmlValueStop) || *c.at == '"' || *c.at == '\'') {
      *c.out++ = *c.at++;
    } else if (*c.at == '<') {
      return fail(c.at, "Failed to parse XML: \"<\" in an attribute value.");
    } else if (xmlByteIs(*c.at, kXmlWhite)) {
      *c.out++ = ' ';
      c.at += lookingAt(c.at, "\r\n") ? 2 : 1;
    } else {
      c = readSpecial(c);
    }
  }
  if (c.at == nullptr) return c;
  if (c.at == m_end) return fail(c.at, kEndsEarly);
  m_document.m_attributes.back().value = {offsetOf(start), static_cast<uint32_t>(c.out - start)};
  return {c.at + 1, c.out};
}

// Reads a name and keeps its text when it has no number.
XmlParser::Cursor XmlParser::readName(Cursor c, XmlNamed& name) noexcept {
  const char* const start = c.at;
  if (start == m_end) return fail(start, kEndsEarly);
  const char* end = start;
  unsigned char seen = 0;
  for (; end != m_end && xmlByteIs(*end, kXmlNameByte); ++end) {
    seen = static_cast<unsigned char>(seen | static_cast<unsigned char>(*end));
  }
  const std::string_view text(start, static_cast<size_t>(end - start));
  if (text.empty() || !xmlByteIs(text[0], kXmlNameStart)) {
    return fail(start, "Failed to parse XML: a name was expected.");
  }
  if (text.size() > kMaxXmlNameSize) {
    return fail(start, "Failed to parse XML: a name is longer than 65535 bytes.");
  }
  if (seen >= 0x80 && !isValidUtf8(text)) return fail(start, kNotUtf8);
  name = {static_cast<uint16_t>(text.size()), xmlNameOf(text), 0};
  if (name.nameId == XmlName::kOther) {
    name.nameOffset = offsetOf(c.out);
    std::memcpy(c.out, text.data(), text.size());
    c.out += text.size();
  }
  return {end, c.out};
}

// Character data.

// Reads the content of an element up to the next "<".
inline XmlParser::Cursor XmlParser::readContent(Cursor c) noexcept {
  for (;;) {
    // A whole block goes on by a constant, so that the next one need not wait for this one's
    // search.
    while (c.at <= m_lastBlock) {
      const size_t plain = XmlScan::copyPlain(c.at, c.out);
      if (plain != kXmlBlock) {
        c = {c.at + plain, c.out + plain};
        break;
      }
      c = {c.at + kXmlBlock, c.out + kXmlBlock};
    }
    if (c.at == m_end) return fail(c.at, kEndsEarly);
    if (*c.at == '<') return c;
    c = readSpecial(c);
    if (c.at == nullptr) return c;
  }
}

inline XmlParser::Cursor XmlParser::skipBetweenElements(Cursor c) noexcept {
  const char* const at = skipWhite(c.at);
  if (at == m_end) return fail(at, kEndsEarly);
  return *at == '<' ? Cursor{at, c.out} : fail(at, kTextBesideChild);
}

// Gives the open element the content read so far.
inline XmlParser::Place XmlParser::settleContent(Place p) noexcept {
  if (p.c.out == p.contentStart) return p;
  const XmlText content = {offsetOf(p.contentStart),
                           static_cast<uint32_t>(p.c.out - p.contentStart)};
  if (p.open->kind == XmlNodeKind::kWide) {
    m_document.m_details[p.open->word[0]].content = content;
  } else {
    p.open->word[0] = content.offset;
    p.open->word[1] = content.size;
  }
  *p.c.out++ = 0;
  return p;
}

// The same when the first child begins. White space alone is then the layout of the text, unless it
// was written as a reference.
bool XmlParser::settleContentBeforeChild() noexcept {
  Place& p = m_place;
  const std::string_view content(p.contentStart, static_cast<size_t>(p.c.out - p.contentStart));
  if (m_referenceEnd <= p.contentStart && isXmlWhite(content)) {
    p.c.out = p.contentStart;
  } else {
    if (widenOpen() == nullptr) return false;
    p = settleContent(p);
  }
  return true;
}

// The details of the open element; null, after a failure, when memory ran out.
XmlNodeDetails* XmlParser::widenOpen() noexcept {
  XmlNodeDetails* const details = m_document.widen(m_place.openIndex);
  if (details == nullptr) m_place.c = fail(m_place.c.at, kNoMemory);
  return details;
}

}  // namespace velmora
