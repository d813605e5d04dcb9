#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/internal/asn1_conversion.h"

namespace velmora {
namespace {

// The tags of each element stand in memory of one size, which is copied whole although most tags
// are shorter: a copy of constant size is a few instructions.
constexpr size_t kTagRoom = 24;

struct TagText {
  std::array<char, kTagRoom> text{};
  uint8_t size = 0;

  constexpr TagText() noexcept = default;
  constexpr TagText(std::string_view start, std::string_view name, std::string_view end) noexcept {
    for (const std::string_view part : {start, name, end}) {
      for (const char c : part) text[size++] = c;
    }
  }
};

struct ElementText {
  TagText open;   // "<name>"; of forms with a number, "<name" alone
  TagText close;  // "</name>"
  Asn1Content content = Asn1Content::kNumbered;

  constexpr ElementText() noexcept = default;
  constexpr explicit ElementText(const Asn1XmlForm& form) noexcept
      : open("<", form.text, form.content == Asn1Content::kNumbered ? "" : ">"),
        close("</", form.text, ">"),
        content(form.content) {}
};

// What a character takes beyond its own octet when it is written.
using ExtraTable = std::array<uint8_t, 256>;

constexpr size_t kLongestCharacter = 6;

// Writes a reference for a character that content does not hold as it is: the five that XML gives a
// meaning, and control characters, which readers of XML would change. Gives its size, 0 for others.
constexpr size_t writeReference(unsigned char c, char* out) noexcept {
  std::string_view name;
  if (c == '&') name = "&amp;";
  if (c == '<') name = "&lt;";
  if (c == '>') name = "&gt;";
  if (c == '"') name = "&quot;";
  size_t size = 0;
  for (const char letter : name) out[size++] = letter;
  if (c >= 0x20 && c != 0x7F) return size;
  out[size++] = '&';
  out[size++] = '#';
  if (c >= 100) out[size++] = static_cast<char>('0' + c / 100);
  if (c >= 10) out[size++] = static_cast<char>('0' + c / 10 % 10);
  out[size++] = static_cast<char>('0' + c % 10);
  out[size++] = ';';
  return size;
}

constexpr ExtraTable makeExtraTable(uint8_t beyondAscii) noexcept {
  ExtraTable table{};
  char reference[kLongestCharacter] = {};
  for (size_t c = 0; c < 0x80; ++c) {
    const size_t size = writeReference(static_cast<unsigned char>(c), reference);
    table[c] = static_cast<uint8_t>(size == 0 ? 0 : size - 1);
  }
  for (size_t c = 0x80; c < table.size(); ++c) table[c] = beyondAscii;
  return table;
}

constexpr ExtraTable kUtf8Extra = makeExtraTable(0);
constexpr ExtraTable kLatin1Extra = makeExtraTable(1);

size_t extraFor(std::span<const unsigned char> text, const ExtraTable& table) noexcept {
  size_t extra = 0;
  for (const unsigned char c : text) extra += table[c];
  return extra;
}

// Writes elements at the end of a text, by raw writes behind room().
class XmlTextSink {
 public:
  using Form = ElementText;
  using Octets = std::span<const unsigned char>;

  explicit XmlTextSink(StringBuffer& text) noexcept : m_text(text), m_start(text.getSize()) {}

  // The text of a certificate is two and a half to three times the size of its DER.
  bool start(size_t size) noexcept { return room(4 * size); }

  bool room(size_t count) noexcept {
    count += kElementRoom;
    return static_cast<size_t>(m_end - m_at) >= count || grow(count);
  }

  bool roomForText(Octets text, bool widen) noexcept {
    m_extra = extraFor(text, widen ? kLatin1Extra : kUtf8Extra);
    return room(text.size() + m_extra);
  }

  void open(const ElementText& form) noexcept { put(form.open); }

  bool open(const ElementText& form, XmlName name, std::string_view value) noexcept {
    put(form.open);
    --m_at;  // over the ">"
    putAttribute(name, value);
    *m_at++ = '>';
    return true;
  }

  bool openNumbered(const ElementText& form, const Asn1Header& header, bool constructed) noexcept {
    put(form.open);
    if (header.tagClass == Asn1Class::kContextSpecific) {
      put(" tag=\"");
    } else {
      put(" number=\"");
    }
    putNumber(header.tagNumber);
    if (constructed) {
      put("\" constructed=\"1\">");
    } else if (header.tagClass == Asn1Class::kUniversal) {
      put("\">");  // a universal type is primitive unless it says otherwise
    } else {
      put("\" constructed=\"0\">");
    }
    return true;
  }

  char* contentOf(const ElementText& form) noexcept { return m_at + form.open.size; }
  void openAround(const ElementText& form, size_t size) noexcept {
    std::memcpy(m_at, form.open.text.data(), form.open.size);
    m_at += form.open.size + size;
  }

  char* at() noexcept { return m_at; }
  void advance(size_t count) noexcept { m_at += count; }

  // As roomForText was asked.
  void putText(Octets text, bool widen) noexcept {
    if (m_extra != 0) return putEscaped(text, widen);
    if (!text.empty()) std::memcpy(m_at, text.data(), text.size());
    m_at += text.size();
  }

  void close(const ElementText& form) noexcept { put(form.close); }
  bool closeMembers(const ElementText& form) noexcept {
    if (!room(0)) return false;
    close(form);
    return true;
  }

  // Drops the room that was not used; everything that was written when `keep` is false.
  void finish(bool keep) noexcept {
    m_text.truncate(m_start + (keep && m_first != nullptr ? written() : 0));
  }

 private:
  // Room for the tags of one element in any form, kTagRoom of it because tags are copied whole.
  static constexpr size_t kElementRoom = 96 + kTagRoom;

  template <size_t Size>
  void put(const char (&text)[Size]) noexcept {
    std::memcpy(m_at, text, Size - 1);
    m_at += Size - 1;
  }

  // Takes kTagRoom of room, whatever the size is.
  void put(const TagText& tag) noexcept {
    std::memcpy(m_at, tag.text.data(), kTagRoom);
    m_at += tag.size;
  }

  void put(std::string_view text) noexcept { m_at = std::copy(text.begin(), text.end(), m_at); }

  void putAttribute(XmlName name, std::string_view value) noexcept {
    put(" ");
    put(xmlNameText(name));
    put("=\"");
    put(value);
    put("\"");
  }

  void putNumber(uint32_t value) noexcept {
    if (value < 10) {
      *m_at++ = static_cast<char>('0' + value);
    } else {
      m_at = std::to_chars(m_at, m_end, value).ptr;
    }
  }

  // Writes characters with references where they are needed; with `widen`, each octet is one
  // character of Latin-1.
  void putEscaped(Octets text, bool widen) noexcept {
    for (const unsigned char c : text) {
      const size_t size = writeReference(c, m_at);
      m_at += size;
      if (size != 0) continue;
      if (widen && c >= 0x80) {
        *m_at++ = static_cast<char>(0xC0 | c >> 6);
        *m_at++ = static_cast<char>(0x80 | (c & 0x3F));
      } else {
        *m_at++ = static_cast<char>(c);
      }
    }
  }

  size_t written() const noexcept { return static_cast<size_t>(m_at - m_first); }

  bool grow(size_t count) noexcept {
    const size_t used = m_first == nullptr ? 0 : written();
    const size_t had = static_cast<size_t>(m_end - m_first);
    const size_t wanted = std::max(used + count, had + had / 2) - had;
    // Exactly so much: the buffer's own growth would come on top of this one.
    if (!m_text.reserve(m_start + had + wanted)) return false;
    char* const added = m_text.extend(wanted);
    if (added == nullptr) return false;
    m_first = added - had;
    m_at = m_first + used;
    m_end = added + wanted;
    return true;
  }

  StringBuffer& m_text;
  size_t m_start;
  size_t m_extra = 0;  // that references add to the next text
  char* m_first = nullptr;
  char* m_at = nullptr;
  char* m_end = nullptr;
};

}  // namespace

bool DerXmlCodec::derToXml(std::span<const unsigned char> der, StringBuffer& xml,
                           Asn1Fault& fault) {
  XmlTextSink sink(xml);
  const bool done = Asn1Conversion<XmlTextSink>(der, sink).run(fault);
  sink.finish(done);
  if (!done && fault.noMemory) xml.markFailed();
  return done;
}

bool DerXmlCodec::derToXml(const DataBuffer& der, bool, bool, StringBuffer& xml, ExtPtrArray*,
                           LogBase& log) {
  Asn1Fault fault;
  const bool done = derToXml(der.span(), xml, fault);
  if (!done) logFault(fault, log);
  return done;
}

void DerXmlCodec::logFault(const Asn1Fault& fault, LogBase& log) {
  const LogContextExitor context(log, "derToXml");
  log.LogError(fault.reason);
  log.LogDataLong("offset", static_cast<int64_t>(fault.offset));
}

}  // namespace velmora
