#include "tools/render/name_json.h"

#include "tools/render/oid_text.h"
#include "velmora/x509/dn_names.h"

namespace velmora::tool {

namespace {

// As items of the list that is open.
void writeEachRdn(const std::vector<Attribute>& attributes, JsonLine& line) {
  for (size_t i = 0; i < attributes.size(); ++i) {
    const uint32_t rdn = attributes[i].rdn;
    const bool isFirst = i == 0 || attributes[i - 1].rdn != rdn;
    const bool isLast = i + 1 == attributes.size() || attributes[i + 1].rdn != rdn;
    if (isFirst) line.beginList("");
    writeAttribute(attributes[i], line);
    if (isLast) line.endList();
  }
}

class PrintNameJson final : public CertificateVisitor {
 public:
  PrintNameJson(bool issuer, Console& console) : m_issuer(issuer), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    const Certificate& certificate = input.certificate;
    const Name name = m_issuer ? certificate.issuer() : certificate.subject();
    const Attributes attributes = name.attributes();
    if (!attributes) return "The name is malformed.";
    JsonLine line(m_console.out(), JsonLine::Kind::kList);
    writeEachRdn(*attributes, line);
    line.end();
    return nullptr;
  }

 private:
  bool m_issuer;
  Console& m_console;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makePrintNameJson(bool issuer, Console& console) {
  return std::make_unique<PrintNameJson>(issuer, console);
}

// The name is the short one of style 0, else that in the standards.
void writeAttribute(const Attribute& attribute, JsonLine& line) {
  const DottedOid type(attribute.rawType);
  const DnAttribute& known = findDnAttribute(type.text());
  const bool isText = attribute.kind != TextKind::none;
  line.beginObject("");
  line.word("oid", type.text());
  line.word("name", known.oid.empty() ? type.name() : known.name);
  isText ? line.text("value", attribute.text) : line.null("value");
  if (!isText) line.hex("hex", attribute.der);
  line.endObject();
}

void writeRdns(std::string_view key, const Attributes& attributes, JsonLine& line) {
  if (!attributes) return line.null(key);
  line.beginList(key);
  writeEachRdn(*attributes, line);
  line.endList();
}

}  // namespace velmora::tool
