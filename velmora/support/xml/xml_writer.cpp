#include "velmora/support/xml/internal/xml_writer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "velmora/support/xml/internal/xml_scan.h"
#include "velmora/support/xml/xml_chars.h"

namespace velmora {
namespace {

// The text is made twice: first to learn its length, then into memory of just that length.

class CountingSink {
 public:
  void put(std::string_view text) noexcept { m_size += text.size(); }
  void put(char) noexcept { ++m_size; }
  size_t size() const noexcept { return m_size; }

 private:
  size_t m_size = 0;
};

class MemorySink {
 public:
  explicit MemorySink(char* to) noexcept : m_to(to) {}
  void put(std::string_view text) noexcept {
    if (!text.empty()) std::memcpy(m_to, text.data(), text.size());
    m_to += text.size();
  }
  void put(char c) noexcept { *m_to++ = c; }

 private:
  char* m_to;
};

template <class Sink>
class TreeWriter {
 public:
  TreeWriter(const XmlDocument& document, Sink& sink) noexcept
      : m_document(document), m_sink(sink) {}

  void write(XmlIndex top) noexcept {
    XmlIndex at = top;
    for (;;) {
      open(at);
      const XmlIndex child = m_document.firstChild(at);
      if (child != kNoXmlIndex) {
        at = child;
        continue;
      }
      close(at);
      while (at != top && m_document.node(at).next == kNoXmlIndex) {
        at = m_document.node(at).parent;
        close(at);
      }
      if (at == top) return;
      at = m_document.node(at).next;
    }
  }

 private:
  void open(XmlIndex i) noexcept {
    m_sink.put('<');
    m_sink.put(m_document.name(i));
    for (XmlIndex a = m_document.firstAttribute(i); a != kNoXmlIndex;
         a = m_document.attribute(a).next) {
      m_sink.put(' ');
      m_sink.put(m_document.attributeName(a));
      m_sink.put("=\"");
      putEscaped(m_document.text(m_document.attribute(a).value));
      m_sink.put('"');
    }
    m_sink.put('>');
    const std::string_view content = m_document.content(i);
    // Beside children a reader drops white space, unless it is written as references.
    if (m_document.firstChild(i) != kNoXmlIndex && isXmlWhite(content)) {
      for (const char c : content) putReference(c);
    } else {
      putEscaped(content);
    }
  }

  void close(XmlIndex i) noexcept {
    m_sink.put("</");
    m_sink.put(m_document.name(i));
    m_sink.put('>');
  }

  void putEscaped(std::string_view text) noexcept {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
      const char* const stop = findEscaped(at, end);
      m_sink.put({at, static_cast<size_t>(stop - at)});
      at = stop;
      if (at != end) putEscape(*at++);
    }
  }

  static const char* findEscaped(const char* at, const char* end) noexcept {
    for (; static_cast<size_t>(end - at) >= kXmlBlock; at += kXmlBlock) {
      const size_t plain = XmlScan::findEscaped(at);
      if (plain != kXmlBlock) return at + plain;
    }
    return std::find_if(at, end, [](char c) { return xmlByteIs(c, kXmlEscaped); });
  }

  void putEscape(char c) noexcept {
    switch (c) {
      case '&':
        return m_sink.put("&amp;");
      case '<':
        return m_sink.put("&lt;");
      case '>':
        return m_sink.put("&gt;");
      case '"':
        return m_sink.put("&quot;");
      default:
        return putReference(c);
    }
  }

  // A character of US-ASCII as a decimal reference.
  void putReference(char c) noexcept {
    m_sink.put("&#");
    if (c >= 100) m_sink.put('1');
    if (c >= 10) m_sink.put(static_cast<char>('0' + c / 10 % 10));
    m_sink.put(static_cast<char>('0' + c % 10));
    m_sink.put(';');
  }

  const XmlDocument& m_document;
  Sink& m_sink;
};

template <class Sink>
void writeTree(const XmlDocument& document, XmlIndex top, Sink& sink) noexcept {
  TreeWriter<Sink>(document, sink).write(top);
}

}  // namespace

bool writeXml(const XmlDocument& document, XmlIndex top, StringBuffer& out) noexcept {
  CountingSink count;
  writeTree(document, top, count);
  char* const to = out.extend(count.size());
  if (to == nullptr) return false;
  MemorySink memory(to);
  writeTree(document, top, memory);
  return true;
}

}  // namespace velmora
