#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/internal/asn1_xml_form.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/encoding_convert.h"

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

constexpr size_t kShortTagNumbers = 31;

struct ElementTexts {
  std::array<ElementText, kShortTagNumbers> universal;  // by tag number
  std::array<ElementText, 4> numbered;                  // by tag class

  constexpr ElementTexts() noexcept {
    for (size_t i = 0; i < numbered.size(); ++i) numbered[i] = ElementText(kNumberedForms[i]);
    for (ElementText& text : universal) text = numbered[0];
    for (const Asn1XmlForm& form : kOwnForms) universal[form.tagNumber] = ElementText(form);
  }
};

constexpr ElementTexts kTexts;

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

// The end of a text that grows by raw writes. room() comes before them.
class TextTail {
 public:
  explicit TextTail(StringBuffer& text) noexcept : m_text(text), m_start(text.getSize()) {}

  // Makes sure that `count` characters can be written.
  bool room(size_t count) noexcept {
    return static_cast<size_t>(m_end - m_at) >= count || grow(count);
  }

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

  void put(char c) noexcept { *m_at++ = c; }

  void putBytes(const unsigned char* bytes, size_t count) noexcept {
    if (count != 0) std::memcpy(m_at, bytes, count);
    m_at += count;
  }

  void putNumber(uint32_t value) noexcept {
    if (value < 10) {
      put(static_cast<char>('0' + value));
    } else {
      m_at = std::to_chars(m_at, m_end, value).ptr;
    }
  }

  void putHex(std::span<const unsigned char> bytes) noexcept {
    hexEncodeUpper(bytes.data(), bytes.size(), m_at);
    m_at += 2 * bytes.size();
  }

  void putBase64(std::span<const unsigned char> bytes) noexcept {
    base64Encode(bytes.data(), bytes.size(), m_at);
    m_at += base64Length(bytes.size());
  }

  // Writes characters with references where they are needed; with `widen`, each octet is one
  // character of Latin-1.
  void putEscaped(std::span<const unsigned char> text, bool widen) noexcept {
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

  // Where raw writes go, and how many characters one of them wrote.
  char* at() noexcept { return m_at; }
  void advance(size_t count) noexcept { m_at += count; }

  // Drops the room that was not used; everything that was written when `keep` is false.
  void finish(bool keep) noexcept {
    m_text.truncate(m_start + (keep && m_first != nullptr ? written() : 0));
  }

  // For a text that failed elsewhere for lack of memory.
  void markFailed() noexcept { m_text.markFailed(); }

 private:
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
  char* m_first = nullptr;
  char* m_at = nullptr;
  char* m_end = nullptr;
};

class DerToXml {
 public:
  DerToXml(std::span<const unsigned char> der, StringBuffer& xml) noexcept
      : m_walk(der), m_size(der.size()), m_out(xml) {}

  bool run(Asn1Fault& fault) noexcept {
    const bool done = m_out.room(estimate()) && convert();
    const bool malformed = !m_joined.failed() && m_walk.fault().reason != nullptr;
    if (!done) fault = malformed ? m_walk.fault() : noMemory();
    m_out.finish(done);
    if (m_joined.failed()) m_out.markFailed();
    return done;
  }

 private:
  using Octets = std::span<const unsigned char>;

  // Room for the tags of one element in any form, kTagRoom of it because tags are copied whole.
  static constexpr size_t kElementRoom = 96 + kTagRoom;

  // The text of a certificate is two and a half to three times the size of its DER.
  size_t estimate() const noexcept { return 4 * m_size + kElementRoom; }

  Asn1Fault noMemory() const noexcept { return {kOutOfMemory, m_walk.offset(), true}; }

  bool convert() noexcept {
    for (;;) {
      Asn1Header header;
      Octets content;
      switch (m_walk.next(header, content)) {
        case BerStep::kElement:
          if (!(header.constructed ? openElement(header) : putPrimitive(header, content))) {
            return false;
          }
          break;
        case BerStep::kClose:
          if (!m_out.room(kElementRoom)) return false;
          m_out.put(m_closeTags[m_walk.depth()]->close);
          break;
        case BerStep::kEnd:
          return true;
        case BerStep::kFault:
          return false;
      }
    }
  }

  static const ElementText& textFor(const Asn1Header& header) noexcept {
    if (header.tagClass == Asn1Class::kUniversal && header.tagNumber < kShortTagNumbers) {
      return kTexts.universal[header.tagNumber];
    }
    return kTexts.numbered[static_cast<size_t>(header.tagClass)];
  }

  bool openElement(const Asn1Header& header) noexcept {
    if (!m_out.room(kElementRoom)) return false;
    const ElementText& text = textFor(header);
    if (text.content == Asn1Content::kMembers) {
      m_out.put(text.open);
      m_closeTags[m_walk.depth() - 1] = &text;
      return true;
    }
    if (header.tagClass == Asn1Class::kUniversal && isBerString(header.tagNumber)) {
      if (m_walk.joinString(header, m_joined)) return putPrimitive(header, m_joined.span());
      if (m_joined.failed()) return false;
    }
    m_closeTags[m_walk.depth() - 1] = &openNumbered(header, true);
    return true;
  }

  const ElementText& openNumbered(const Asn1Header& header, bool constructed) noexcept {
    const ElementText& text = kTexts.numbered[static_cast<size_t>(header.tagClass)];
    m_out.put(text.open);
    if (header.tagClass == Asn1Class::kContextSpecific) {
      m_out.put(" tag=\"");
    } else {
      m_out.put(" number=\"");
    }
    m_out.putNumber(header.tagNumber);
    if (constructed) {
      m_out.put("\" constructed=\"1\">");
    } else if (header.tagClass == Asn1Class::kUniversal) {
      m_out.put("\">");  // a universal type is primitive unless it says otherwise
    } else {
      m_out.put("\" constructed=\"0\">");
    }
    return text;
  }

  bool putPrimitive(const Asn1Header& header, Octets content) noexcept {
    const ElementText& text = textFor(header);
    switch (text.content) {
      case Asn1Content::kHex:
        return putHex(text, content);
      case Asn1Content::kBits:
        return isBits(content) ? putBits(text, content) : putNumbered(header, content);
      case Asn1Content::kBase64:
        return putBase64(text, content);
      case Asn1Content::kOid:
        return putOid(text, header, content);
      case Asn1Content::kLatin1:
        return putLatin1(text, content);
      case Asn1Content::kUtf8:
        return putUtf8(text, content);
      case Asn1Content::kMembers:
      case Asn1Content::kNumbered:
        break;
    }
    return putNumbered(header, content);
  }

  bool putNumbered(const Asn1Header& header, Octets content) noexcept {
    if (!m_out.room(kElementRoom + base64Length(content.size()))) return false;
    const ElementText& text = openNumbered(header, false);
    m_out.putBase64(content);
    m_out.put(text.close);
    return true;
  }

  bool putHex(const ElementText& text, Octets content) noexcept {
    if (!m_out.room(kElementRoom + 2 * content.size())) return false;
    m_out.put(text.open);
    m_out.putHex(content);
    m_out.put(text.close);
    return true;
  }

  static bool isBits(Octets content) noexcept {
    return !content.empty() && content[0] <= (content.size() == 1 ? 0 : kMaxUnusedBits);
  }

  bool putBits(const ElementText& text, Octets content) noexcept {
    if (content[0] == 0) return putHex(text, content.subspan(1));
    if (!m_out.room(kElementRoom + 2 * content.size())) return false;
    m_out.put("<bits unused=\"");
    m_out.putNumber(content[0]);
    m_out.put("\">");
    m_out.putHex(content.subspan(1));
    m_out.put(text.close);
    return true;
  }

  bool putBase64(const ElementText& text, Octets content) noexcept {
    if (!m_out.room(kElementRoom + base64Length(content.size()))) return false;
    m_out.put(text.open);
    m_out.putBase64(content);
    m_out.put(text.close);
    return true;
  }

  bool putOid(const ElementText& text, const Asn1Header& header, Octets content) noexcept {
    if (!m_out.room(kElementRoom + maxDottedSize(content.size()))) return false;
    const size_t size = writeDottedOid(content, m_out.at() + text.open.size);
    if (size == 0) return putNumbered(header, content);
    std::memcpy(m_out.at(), text.open.text.data(), text.open.size);
    m_out.advance(text.open.size + size);
    m_out.put(text.close);
    return true;
  }

  bool putLatin1(const ElementText& text, Octets content) noexcept {
    const size_t extra = extraFor(content, kLatin1Extra);
    if (!m_out.room(kElementRoom + content.size() + extra)) return false;
    m_out.put(text.open);
    putCharacters(content, extra, true);
    m_out.put(text.close);
    return true;
  }

  bool putUtf8(const ElementText& text, Octets content) noexcept {
    const bool valid = isValidUtf8({reinterpret_cast<const char*>(content.data()), content.size()});
    const size_t extra = extraFor(content, valid ? kUtf8Extra : kLatin1Extra);
    if (!m_out.room(kElementRoom + content.size() + extra)) return false;
    if (valid) {
      m_out.put(text.open);
    } else {
      m_out.put("<utf8 encoding=\"latin1\">");
    }
    putCharacters(content, extra, !valid);
    m_out.put(text.close);
    return true;
  }

  void putCharacters(Octets content, size_t extra, bool widen) noexcept {
    if (extra == 0) {
      m_out.putBytes(content.data(), content.size());
    } else {
      m_out.putEscaped(content, widen);
    }
  }

  BerWalk m_walk;
  size_t m_size;
  TextTail m_out;
  DataBuffer m_joined;
  std::array<const ElementText*, kMaxAsn1Depth> m_closeTags;
};

}  // namespace

bool DerXmlCodec::derToXml(std::span<const unsigned char> der, StringBuffer& xml,
                           Asn1Fault& fault) {
  return DerToXml(der, xml).run(fault);
}

bool DerXmlCodec::derToXml(const DataBuffer& der, bool, bool, StringBuffer& xml, ExtPtrArray*,
                           LogBase& log) {
  Asn1Fault fault;
  if (derToXml(der.span(), xml, fault)) return true;
  const LogContextExitor context(log, "derToXml");
  log.LogError(fault.reason);
  log.LogDataLong("offset", static_cast<int64_t>(fault.offset));
  return false;
}

}  // namespace velmora
