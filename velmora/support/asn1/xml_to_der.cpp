#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/internal/asn1_xml_form.h"
#include "velmora/support/asn1/internal/der_writer.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/unicode.h"
#include "velmora/support/xml/xml_chars.h"

namespace velmora {
namespace {

constexpr const char* kUnknownElement = "The element is not of the ASN.1 XML form.";
constexpr const char* kTooDeep = "Elements are nested too deeply.";
constexpr const char* kMembersInPrimitive = "A primitive element has child elements.";
constexpr const char* kTextInConstructed = "A constructed element has text.";
constexpr const char* kBadNumber = "The tag number is absent or not a number from 0 to 2147483647.";
constexpr const char* kBadConstructed = "The attribute \"constructed\" is neither 0 nor 1.";
constexpr const char* kBadUnused = "The count of unused bits does not fit the bits.";
constexpr const char* kBadHex = "The content is not hexadecimal.";
constexpr const char* kBadBase64 = "The content is not base64.";
constexpr const char* kBadOid = "The content is not an object identifier.";
constexpr const char* kBadCharacter = "The content has a character beyond U+00FF.";
constexpr const char* kBadUtf8 = "The content is not UTF-8.";
constexpr const char* kBadEncoding = "The attribute \"encoding\" is not \"latin1\".";

using asn1_identifier::kMaxTagNumber;

using FormTable = std::array<Asn1XmlForm, static_cast<size_t>(XmlName::kCount)>;

// By element name; entries of names that are no element of the form have no text.
constexpr FormTable makeFormTable() noexcept {
  FormTable table{};
  for (const Asn1XmlForm& form : kOwnForms) table[static_cast<size_t>(form.name)] = form;
  for (const Asn1XmlForm& form : kNumberedForms) table[static_cast<size_t>(form.name)] = form;
  return table;
}

constexpr FormTable kForms = makeFormTable();

// A whole number in decimal as it is written here: digits alone, no leading zero.
bool readNumber(std::string_view text, uint32_t most, uint32_t& number) noexcept {
  if (text.empty() || text.size() > 10 || (text.size() > 1 && text[0] == '0')) return false;
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  number = static_cast<uint32_t>(value);
  return value <= most;
}

class XmlToDer {
 public:
  XmlToDer(const XmlDocument& document, XmlIndex top, DataBuffer& der) noexcept
      : m_document(document),
        m_top(top),
        m_at(top),
        m_der(der),
        m_start(der.size()),
        m_writer(der) {}

  bool run() noexcept {
    const bool done = m_writer.makeRoom() && readElements() && m_writer.finish() &&
                      (!m_stringInSegments || joinStrings());
    if (!done) m_der.truncate(m_start);
    return done;
  }

  // What is wrong with the tree; when nothing is, memory ran out.
  const char* reason() const noexcept { return m_reason != nullptr ? m_reason : kOutOfMemory; }

  // The tags from the top down to the element at fault.
  void appendPath(StringBuffer& path) const noexcept {
    std::array<XmlIndex, kMaxAsn1Depth + 1> nodes;
    size_t count = 0;
    for (XmlIndex i = m_at; i != m_top; i = m_document.node(i).parent) nodes[count++] = i;
    path.append(m_document.name(m_top));
    while (count-- > 0) {
      path.appendChar('|');
      path.append(m_document.name(nodes[count]));
    }
  }

 private:
  struct Attributes {
    std::string_view number;
    std::string_view constructed = "0";
    std::string_view unused = "0";
    std::string_view encoding;
  };

  bool refuse(const char* reason) noexcept {
    m_reason = reason;
    return false;
  }

  // Walks the subtree by its links.
  bool readElements() noexcept {
    for (;;) {
      if (m_writer.depth() == kMaxAsn1Depth) return refuse(kTooDeep);
      bool constructed = false;
      if (!readElement(constructed)) return false;
      const XmlIndex child = m_document.firstChild(m_at);
      if (constructed && child != kNoXmlIndex) {
        m_at = child;
        continue;
      }
      if (constructed) m_writer.close();
      while (m_at != m_top && m_document.node(m_at).next == kNoXmlIndex) {
        m_at = m_document.node(m_at).parent;
        m_writer.close();
      }
      if (m_at == m_top) return true;
      m_at = m_document.node(m_at).next;
    }
  }

  bool readElement(bool& constructed) noexcept {
    const Asn1XmlForm& form = kForms[static_cast<size_t>(m_document.node(m_at).nameId)];
    if (form.text.empty()) return refuse(kUnknownElement);
    Attributes attributes;
    readAttributes(form, attributes);
    constructed = form.content == Asn1Content::kMembers;
    uint32_t number = form.tagNumber;
    if (form.content == Asn1Content::kNumbered) {
      if (!readNumber(attributes.number, kMaxTagNumber, number)) return refuse(kBadNumber);
      constructed = attributes.constructed == "1";
      if (!constructed && attributes.constructed != "0") return refuse(kBadConstructed);
    }
    const DerIdentifier id = makeIdentifier(form.tagClass, constructed, number);
    const std::string_view text = m_document.content(m_at);
    if (constructed) {
      if (form.name == XmlName::kUniversal && isBerString(number)) m_stringInSegments = true;
      return (isXmlWhite(text) || refuse(kTextInConstructed)) && m_writer.open(id);
    }
    if (m_document.firstChild(m_at) != kNoXmlIndex) return refuse(kMembersInPrimitive);
    return writePrimitive(form.content, id, text, attributes);
  }

  // Others are passed over: tools may add their own.
  void readAttributes(const Asn1XmlForm& form, Attributes& attributes) const noexcept {
    const XmlName number =
        form.tagClass == Asn1Class::kContextSpecific ? XmlName::kTag : XmlName::kNumber;
    XmlIndex i = m_document.firstAttribute(m_at);
    while (i != kNoXmlIndex) {
      const XmlAttribute& attribute = m_document.attribute(i);
      const std::string_view value = m_document.text(attribute.value);
      if (attribute.nameId == number) attributes.number = value;
      if (attribute.nameId == XmlName::kConstructed) attributes.constructed = value;
      if (attribute.nameId == XmlName::kUnused) attributes.unused = value;
      if (attribute.nameId == XmlName::kEncoding) attributes.encoding = value;
      i = attribute.next;
    }
  }

  // A string given in segments is joined by the rules for BER, which what was written is.
  bool joinStrings() noexcept {
    const std::span<const unsigned char> written = m_der.span().subspan(m_start);
    DataBuffer joined;
    BerWalk walk(written, written.size());  // no element is smaller than an octet
    if (!berToDer(walk, joined)) {
      m_der.markFailed();
      return false;
    }
    m_der.truncate(m_start);
    return m_der.append(joined);
  }

  // The most octets that the text of a primitive element can stand for.
  static size_t mostOctets(Asn1Content content, size_t textSize) noexcept {
    switch (content) {
      case Asn1Content::kHex:
        return textSize / 2;
      case Asn1Content::kBits:
        return 1 + textSize / 2;
      case Asn1Content::kBase64:
      case Asn1Content::kNumbered:
        return textSize / 4 * 3 + 3;
      default:
        return textSize;
    }
  }

  bool writePrimitive(Asn1Content content, const DerIdentifier& id, std::string_view text,
                      const Attributes& attributes) noexcept {
    return m_writer.putMade(id, mostOctets(content, text.size()),
                            [&](unsigned char* out, size_t& size) {
                              return writeContent(content, text, attributes, out, size);
                            });
  }

  bool writeContent(Asn1Content content, std::string_view text, const Attributes& attributes,
                    unsigned char* out, size_t& size) noexcept {
    switch (content) {
      case Asn1Content::kHex:
        return accept(hexDecode(text, out), size) || refuse(kBadHex);
      case Asn1Content::kBits:
        return writeBits(text, attributes.unused, out, size);
      case Asn1Content::kOid:
        size = writeOidContent(text, out);
        return size != 0 || refuse(kBadOid);
      case Asn1Content::kLatin1:
        return writeLatin1(text, out, size);
      case Asn1Content::kUtf8:
        return writeUtf8(text, attributes.encoding, out, size);
      default:
        return accept(base64Decode(text, false, out), size) || refuse(kBadBase64);
    }
  }

  static bool accept(const DecodeResult& result, size_t& size) noexcept {
    size = result.written;
    return result.complete;
  }

  bool writeBits(std::string_view text, std::string_view unusedText, unsigned char* out,
                 size_t& size) noexcept {
    uint32_t unused = 0;
    if (!readNumber(unusedText, kMaxUnusedBits, unused)) return refuse(kBadUnused);
    if (!accept(hexDecode(text, out + 1), size)) return refuse(kBadHex);
    if (size == 0 && unused != 0) return refuse(kBadUnused);
    out[0] = static_cast<unsigned char>(unused);
    ++size;
    return true;
  }

  bool writeLatin1(std::string_view text, unsigned char* out, size_t& size) noexcept {
    const auto* at = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = at + text.size();
    unsigned char* to = out;
    while (at != end) {
      if (*at < 0x80) {
        *to++ = *at++;
        continue;
      }
      const char32_t c = readUtf8(at, end);
      if (c == kInvalidSequence) return refuse(kBadUtf8);
      if (c > 0xFF) return refuse(kBadCharacter);
      *to++ = static_cast<unsigned char>(c);
    }
    size = static_cast<size_t>(to - out);
    return true;
  }

  bool writeUtf8(std::string_view text, std::string_view encoding, unsigned char* out,
                 size_t& size) noexcept {
    if (encoding == "latin1") return writeLatin1(text, out, size);
    if (!encoding.empty()) return refuse(kBadEncoding);
    if (!isValidUtf8(text)) return refuse(kBadUtf8);
    if (!text.empty()) std::memcpy(out, text.data(), text.size());
    size = text.size();
    return true;
  }

  const XmlDocument& m_document;
  XmlIndex m_top;
  XmlIndex m_at;
  DataBuffer& m_der;
  size_t m_start;
  DerWriter m_writer;
  bool m_stringInSegments = false;
  const char* m_reason = nullptr;
};

}  // namespace

bool DerXmlCodec::xmlToDer(ClsXml& at, DataBuffer& der, LogBase& log) {
  XmlToDer encoder(at.document(), at.nodeIndex(), der);
  if (encoder.run()) return true;
  const LogContextExitor context(log, "xmlToDer");
  StringBuffer path;
  encoder.appendPath(path);
  log.LogError(path.failed() ? kOutOfMemory : encoder.reason());
  log.LogDataSb("element", path);
  return false;
}

}  // namespace velmora
