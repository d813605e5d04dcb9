#include <algorithm>
#include <cstring>
#include <string_view>

#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/internal/asn1_conversion.h"
#include "velmora/support/xml/xml_tree_builder.h"

namespace velmora {
namespace {

// Builds elements as a reader of their text would.
class XmlTreeSink {
 public:
  using Form = Asn1XmlForm;
  using Octets = std::span<const unsigned char>;

  // Of a certificate or a bundle, an element comes for every 14 to 20 octets; where there are more
  // the array grows. Pages that are not written to cost nothing.
  bool start(size_t size) noexcept {
    return size <= kSmall || m_builder.expect(size / 8, 2 * size);
  }
  bool room(size_t count) noexcept { return m_builder.room(count); }
  bool roomForText(Octets text, bool widen) noexcept {
    return room(widen ? 2 * text.size() : text.size());
  }

  void open(const Asn1XmlForm& form) noexcept { m_builder.open(form.name); }

  bool open(const Asn1XmlForm& form, XmlName name, std::string_view value) noexcept {
    m_builder.open(form.name);
    return m_builder.attribute(name, value);
  }

  bool openNumbered(const Asn1XmlForm& form, const Asn1Header& header, bool constructed) noexcept {
    const bool isContext = header.tagClass == Asn1Class::kContextSpecific;
    m_builder.open(form.name);
    if (!m_builder.attribute(isContext ? XmlName::kTag : XmlName::kNumber, header.tagNumber)) {
      return false;
    }
    if (constructed) return m_builder.attribute(XmlName::kConstructed, "1");
    const bool isUniversal = header.tagClass == Asn1Class::kUniversal;
    return isUniversal || m_builder.attribute(XmlName::kConstructed, "0");
  }

  char* contentOf(const Asn1XmlForm&) noexcept { return m_builder.at(); }
  void openAround(const Asn1XmlForm& form, size_t size) noexcept {
    open(form);
    advance(size);
  }

  char* at() noexcept { return m_builder.at(); }
  void advance(size_t count) noexcept { m_builder.advance(count); }

  void putText(Octets text, bool widen) noexcept {
    const auto isAscii = [](unsigned char c) { return c < 0x80; };
    if (!widen || std::all_of(text.begin(), text.end(), isAscii)) {
      if (!text.empty()) std::memcpy(at(), text.data(), text.size());
      return advance(text.size());
    }
    for (const unsigned char c : text) {
      if (isAscii(c)) {
        *at() = static_cast<char>(c);
      } else {
        at()[0] = static_cast<char>(0xC0 | c >> 6);
        at()[1] = static_cast<char>(0x80 | (c & 0x3F));
      }
      advance(isAscii(c) ? 1 : 2);
    }
  }

  void close(const Asn1XmlForm&) noexcept { m_builder.close(); }
  bool closeMembers(const Asn1XmlForm&) noexcept {
    m_builder.close();
    return true;
  }

  XmlDocument* finish() noexcept { return m_builder.finish(); }

 private:
  // What the builder has room for without a word.
  static constexpr size_t kSmall = 2048;

  XmlTreeBuilder m_builder;
};

}  // namespace

XmlDocument* DerXmlCodec::derToTree(std::span<const unsigned char> der, Asn1Fault& fault) {
  XmlTreeSink sink;
  if (!Asn1Conversion<XmlTreeSink>(der, sink).run(fault)) return nullptr;
  XmlDocument* const tree = sink.finish();
  if (tree == nullptr) fault = {kOutOfMemory, der.size(), true};
  return tree;
}

XmlDocument* DerXmlCodec::derToTree(const DataBuffer& der, Asn1Fault& fault, LogBase& log) {
  XmlDocument* const tree = derToTree(der.span(), fault);
  if (tree == nullptr) logFault(fault, log);
  return tree;
}

}  // namespace velmora
