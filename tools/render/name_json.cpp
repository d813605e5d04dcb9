#include "tools/render/name_json.h"

#include "tools/reading/certificate_tree.h"
#include "tools/reading/string_value.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/x509/dn_names.h"

namespace velmora::tool {

namespace {

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
    if (readStringValue(value, m_text)) {
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

void writeAttribute(const Attribute& attribute, JsonLine& line) {
  const std::string type = dottedOid(attribute.rawType);
  const bool isText = attribute.kind != TextKind::none;
  line.beginObject("");
  line.textOrNull("oid", type);
  line.textOrNull("name", attributeName(type));
  isText ? line.text("value", attribute.text) : line.null("value");
  if (!isText) line.hex("hex", attribute.der);
  line.endObject();
}

void writeRdns(std::string_view key, const Result<std::vector<Attribute>>& attributes,
               JsonLine& line) {
  if (!attributes) return line.null(key);
  line.beginList(key);
  for (size_t i = 0; i < attributes->size(); ++i) {
    const uint32_t rdn = (*attributes)[i].rdn;
    const bool isFirst = i == 0 || (*attributes)[i - 1].rdn != rdn;
    const bool isLast = i + 1 == attributes->size() || (*attributes)[i + 1].rdn != rdn;
    if (isFirst) line.beginList("");
    writeAttribute((*attributes)[i], line);
    if (isLast) line.endList();
  }
  line.endList();
}

}  // namespace velmora::tool
