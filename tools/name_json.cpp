#include "tools/name_json.h"

#include "support/asn1/der_reader.h"
#include "support/text/encoding_convert.h"
#include "support/text/unicode.h"
#include "tools/certificate_tree.h"
#include "tools/json_writer.h"
#include "tools/whole.h"
#include "x509/dn_names.h"
#include "x509/oid_names.h"

namespace velmora::tool {

namespace {

bool appendUtf16(const DataBuffer& units, StringBuffer& out) {
  const unsigned char* at = units.data();
  const unsigned char* const end = at + units.size();
  while (at != end) {
    const char32_t c = readUtf16(at, end, true);
    if (c == kInvalidSequence) return false;
    appendCodePointUtf8(c, out);
  }
  return true;
}

// BMPString, and the types whose characters are those of ASCII.
bool appendUniversalText(const ClsXml& value, StringBuffer& out) {
  constexpr int kVisibleString = 26;
  DataBuffer octets;
  if (value.hasAttrWithValue("constructed", "1")) return false;
  const bool decoded = octets.appendEncoded(value.contentView(), "base64");
  whole(octets);
  if (!decoded) return false;
  const int number = value.getAttrValueInt("number");
  if (number == static_cast<int>(asn1_tag::kBmpString)) return appendUtf16(octets, out);
  if (number != static_cast<int>(asn1_tag::kNumericString) && number != kVisibleString) {
    return false;
  }
  for (const char c : octets.view()) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return out.append(octets);
}

// The text of a string type; false when there is none that says all.
bool appendText(const ClsXml& value, StringBuffer& out) {
  if (hasTag(value, XmlName::kUniversal)) return appendUniversalText(value, out);
  const bool isText = hasTag(value, XmlName::kPrintable) || hasTag(value, XmlName::kUtf8) ||
                      hasTag(value, XmlName::kIa5) || hasTag(value, XmlName::kT61);
  return isText && !value.hasAttrWithValue("encoding", "latin1") && out.append(value.contentView());
}

// The short name of style 0, else the name in the standards.
std::string_view attributeName(std::string_view oid) {
  const DnAttribute& attribute = findDnAttribute(oid);
  return attribute.oid.empty() ? oidName(oid) : attribute.name;
}

class PrintNameJson final : public CertificateVisitor {
 public:
  PrintNameJson(bool issuer, Console& console) : m_issuer(issuer), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_tree.load(input.der)) return reason;
    const XmlHandle name = m_issuer ? m_tree.issuer() : m_tree.subject();
    const size_t start = m_console.out().getSize();
    if (write(*name)) return nullptr;
    m_console.out().truncate(start);
    return "The name is malformed.";
  }

 private:
  bool write(ClsXml& name) {
    JsonLine line(m_console.out(), JsonLine::Kind::kList);
    size_t open = 0;  // how many lists of RDNs were begun
    const bool wellFormed = eachAttribute(name, [&](size_t rdn, std::string_view oid) {
      if (rdn == open) {
        if (open != 0) line.endList();
        line.beginList("");
        ++open;
      }
      writeAttribute(name, oid, line);
    });
    if (open != 0) line.endList();
    line.end();
    return wellFormed;
  }

  void writeAttribute(ClsXml& value, std::string_view oid, JsonLine& line) {
    line.beginObject("");
    line.text("oid", oid);
    line.textOrNull("name", attributeName(oid));
    m_text.weakClear();
    const bool isText = appendText(value, m_text);
    whole(m_text);
    if (isText) {
      line.text("value", m_text.view());
    } else {
      line.null("value");
      m_octets.clear();
      appendDer(value, m_octets);
      line.hex("hex", m_octets.span());
    }
    line.endObject();
  }

  bool m_issuer;
  Console& m_console;
  CertificateTree m_tree;
  StringBuffer m_text;
  DataBuffer m_octets;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makePrintNameJson(bool issuer, Console& console) {
  return std::make_unique<PrintNameJson>(issuer, console);
}

}  // namespace velmora::tool
