#pragma once

// Tells one XML document from the next.

#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/xml_encoding.h"

namespace velmora {

/// Cuts a row of XML documents that comes in pieces into single ones, by the depth of tags alone:
/// whether a document is well-formed is for its parser to say. White space, comments and processing
/// instructions, the XML declaration among them, may stand between documents. Held is one document.
///
/// The first document may turn out to be foreign, if nothing precedes it: neither ASN.1 XML nor a
/// list of it, because no ASN.1 element stands at its first three levels, in front of any other at
/// the third and in its first 16 KiB.
class VELMORA_API XmlSplitter {
 public:
  /// What was come to.
  enum class Event {
    kNone,      // the text is used up
    kDocument,  // document and line tell what was found
    kForeign,   // document holds all that was read, and nothing more is to be read
    kFault,     // line and reason tell what was wrong; the splitter goes on behind it
    kFatal      // as kFault, but nothing behind it can be read
  };

  /// Refuses documents of more than `maxSize` bytes.
  explicit XmlSplitter(size_t maxSize) noexcept : m_maxSize(maxSize) {}

  /// Reads until something was found or the text ends, and removes from `text` what it read.
  Event advance(std::string_view& text) noexcept;

  /// What the end of the input brings.
  Event finish() noexcept;

  /// Counts lines that the caller passed over.
  void skipLines(size_t count) noexcept { m_line += count; }

  // About the last event; valid until the next call.

  /// The text of the document.
  std::string_view document() const noexcept { return m_document.view(); }
  /// What stands in front of the document and is no part of it: its XML declaration.
  const XmlDeclaration& declaration() const noexcept { return m_documentDeclaration; }
  /// The line where the document or the fault starts, from 1.
  size_t line() const noexcept { return m_startLine; }
  /// A constant sentence on the fault.
  const char* reason() const noexcept { return m_reason; }

 private:
  enum class State { kText, kOpened, kStartTag, kEndTag, kDeclaration, kComment, kCdata, kPi };

  Event step(char c) noexcept;
  Event readText(char c) noexcept;
  Event readOpened(char c) noexcept;
  Event readStartTag(char c) noexcept;
  Event readEndTag(char c) noexcept;
  Event readDeclaration(char c) noexcept;
  Event judgeName(size_t following) noexcept;
  Event foreign() noexcept;
  void readInstruction(char c) noexcept;
  void readUntil(std::string_view terminator, char c) noexcept;
  void enter(State state) noexcept;
  bool passOverText(std::string_view& text) noexcept;
  void keep(std::string_view piece) noexcept;
  Event closeDocument() noexcept;
  Event fail(const char* reason, Event event = Event::kFault) noexcept;

  size_t m_maxSize;
  StringBuffer m_document;
  State m_state = State::kText;
  size_t m_depth = 0;
  size_t m_line = 1;
  size_t m_startLine = 0;
  bool m_inDocument = false;
  bool m_tooLarge = false;
  bool m_noMemory = false;
  bool m_strayText = false;  // reported already
  bool m_doubtful = true;    // the document may be foreign
  bool m_inName = false;     // of a start tag, while doubtful
  size_t m_nameStart = 0;    // in the document
  char m_quote = 0;          // open in a start tag
  char m_last[2] = {0, 0};   // the characters before this one, inside the present markup
  size_t m_targetSize = 0;   // how much of "xml" and a space a processing instruction starts with
  XmlDeclaration m_declaration;          // of the next document
  XmlDeclaration m_documentDeclaration;  // of the present one
  size_t m_openingSize = 0;
  char m_opening[8] = {};  // behind "<!"
  const char* m_reason = nullptr;
};

}  // namespace velmora
