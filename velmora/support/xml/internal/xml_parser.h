#pragma once

// Reads XML text into a document.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "velmora/support/xml/internal/xml_scan.h"
#include "velmora/support/xml/xml_chars.h"
#include "velmora/support/xml/xml_document.h"
#include "velmora/support/xml/xml_encoding.h"

namespace velmora {

/// Why a text was refused, and where: bytes from its start.
struct XmlFault {
  const char* message = nullptr;
  size_t offset = 0;
};

/// Reads one XML text (XML 1.0, without document type declarations) into a document, in one pass.
/// Nothing is expanded but character references and the five named entities.
/// Internal to the XML floor; ClsXml::loadXml says what is read and what is refused.
///
///   document ::= prolog element Misc*
///   element  ::= EmptyElemTag | STag content ETag
///   content  ::= CharData? ((element | Reference | CDSect | PI | Comment) CharData?)*
class XmlParser {
 public:
  static constexpr uint32_t kMaxDepth = 256;

  /// A new document, counted once for the caller; null with `fault` set when the text is refused
  /// or memory ran out.
  static XmlDocument* parse(std::string_view xml, XmlFault& fault) noexcept;

 private:
  static constexpr const char* kEndsEarly =
      "Failed to parse XML: the text ends inside the document.";
  static constexpr const char* kNoMemory = "Failed to parse XML: out of memory.";
  static constexpr const char* kNotUtf8 = "Failed to parse XML: the text is not UTF-8.";
  static constexpr const char* kControl =
      "Failed to parse XML: control character that is not a reference.";
  static constexpr const char* kTextBesideChild =
      "Failed to parse XML: text between or after child elements.";

  // How far reading has come: in the text, and in the document's characters. A null text position
  // means failure. Handed on by value, so that it stays in registers.
  struct Cursor {
    const char* at;
    char* out;
  };

  // The same with the place in the tree. The loop over elements holds it in registers; whatever
  // that loop calls out for works on m_place.
  struct Place {
    Cursor c;
    char* contentStart;  // of the open element
    XmlNode* open;       // the innermost open element
    XmlNode* last;       // its last child so far; null before the first
    XmlNode* fresh;      // the slot of the next element
    XmlIndex openIndex;
    XmlIndex freshIndex;
    uint32_t depth;
  };

  XmlParser(std::string_view xml, XmlEncoding mark, XmlDocument& document, XmlFault& fault) noexcept
      : m_document(document),
        m_fault(fault),
        m_mark(mark),
        m_begin(xml.data()),
        m_end(xml.data() + xml.size()),
        m_lastBlock(xml.size() < kXmlBlock ? nullptr : m_end - kXmlBlock) {}

  static XmlDocument* parseUtf8(std::string_view xml, XmlEncoding mark, XmlFault& fault) noexcept;
  static XmlDocument* parseUtf16(std::string_view xml, XmlEncoding mark, XmlFault& fault) noexcept;
  bool run() noexcept;
  bool prepare() noexcept;
  void finish() noexcept;
  Cursor readProlog(Cursor c) noexcept;
  Cursor readDeclaration(Cursor c) noexcept;
  void readElements() noexcept;
  Cursor readEpilog(Cursor c) noexcept;

  // Tags. Those without an argument work on m_place.
  Place readMarkup(Place p) noexcept;
  Place elementOpened(Place p, XmlName name) noexcept;
  Place elementClosed(Place p) const noexcept;
  void readMarkupSlowly() noexcept;
  void openElement() noexcept;
  void closeElement() noexcept;
  bool makeRoomForElement() noexcept;
  Cursor readAttributes(Cursor c) noexcept;
  Cursor readAttribute(Cursor c) noexcept;
  Cursor addAttribute(Cursor c, const XmlNamed& name) noexcept;
  Cursor readValue(Cursor c, char quote) noexcept;
  Cursor readName(Cursor c, XmlNamed& name) noexcept;

  // Character data.
  Cursor readContent(Cursor c) noexcept;
  Cursor readSpecial(Cursor c) noexcept;
  Cursor readBeyondAscii(Cursor c) noexcept;
  Cursor readReference(Cursor c) noexcept;
  Cursor readNumericReference(Cursor c) noexcept;
  Cursor skipBetweenElements(Cursor c) noexcept;
  Place settleContent(Place p) noexcept;
  bool settleContentBeforeChild() noexcept;
  XmlNodeDetails* widenOpen() noexcept;

  // Comments, processing instructions, CDATA sections.
  Cursor skipMisc(Cursor c) noexcept;
  Cursor readCdata(Cursor c, bool afterChild) noexcept;
  Cursor skipComment(Cursor c) noexcept;
  Cursor skipInstruction(Cursor c) noexcept;
  Cursor skipPast(Cursor c, std::string_view closer) noexcept;

  bool lookingAt(const char* at, std::string_view text) const noexcept {
    return static_cast<size_t>(m_end - at) >= text.size() &&
           std::memcmp(at, text.data(), text.size()) == 0;
  }
  const char* skipWhite(const char* at) const noexcept {
    while (at != m_end && xmlByteIs(*at, kXmlWhite)) ++at;
    return at;
  }
  XmlNode* nodeAt(XmlIndex i) const noexcept {
    return i == kNoXmlIndex ? nullptr : m_document.m_nodes.data() + i;
  }
  uint32_t offsetOf(const char* out) const noexcept {
    return static_cast<uint32_t>(out - m_document.m_text.data());
  }
  Cursor fail(const char* at, const char* message) noexcept;

  XmlDocument& m_document;
  XmlFault& m_fault;
  const XmlEncoding m_mark;  // of the text that this one, in UTF-8, was made of
  const char* const m_begin;
  const char* const m_end;
  const char* const m_lastBlock;  // where the last whole block begins; null when there is none
  Place m_place{};
  XmlNode* m_nodesEnd = nullptr;
  char* m_referenceEnd = nullptr;  // behind what the latest reference or CDATA section stands for
};

}  // namespace velmora
