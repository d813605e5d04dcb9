#include "tools/render/name_text.h"

#include <algorithm>
#include <new>

#include "tools/render/oid_text.h"
#include "tools/terminal/print.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/text/whole.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

namespace {

// Whether the tree of VelmoraX509 reads the value as the same text.
bool isPlainText(const ShownAttribute& attribute) {
  switch (attribute.kind) {
    case TextKind::utf8:
    case TextKind::printable:
    case TextKind::ia5:
    case TextKind::t61:
      return true;
    default:
      return false;
  }
}

void appendAttribute(const ShownAttribute& attribute, StringBuffer& out) {
  const std::string_view text = attribute.text();
  const std::string_view name = attribute.shortName();
  const std::string_view quote = text.find(',') != text.npos ? "\"" : "";
  name.empty() ? print(out, "OID.", DottedOid(attribute.type).text()) : print(out, name);
  print(out, '=', quote, text, quote);
}

// By the tree, whatever is in the name.
bool appendNameOfTree(Bytes der, StringBuffer& out) {
  StringBuffer xml;
  Asn1Fault fault;
  LogNull log;
  XString text;
  const bool read = DerXmlCodec::derToXml(octetsOf(der), xml, fault);
  if (fault.noMemory) throw std::bad_alloc();
  if (!read) return false;
  const _clsOwner tree(ClsXml::createNewCls());
  if (!tree || !tree->loadXml(xml, true, log)) throw std::bad_alloc();
  if (!tree->FirstChild2()) return true;
  do {
    VelmoraX509::appendToDN(*tree, true, 0, text, log);
  } while (tree->NextSibling2());
  out.append(whole(text).view());
  whole(out);
  return true;
}

bool isSameText(const ShownAttribute& a, const ShownAttribute& b) {
  const auto isCompared = [](TextKind kind) {
    return kind == TextKind::utf8 || kind == TextKind::printable || kind == TextKind::ia5;
  };
  return isCompared(a.kind) && isCompared(b.kind) ? a.text() == b.text() : isSame(a.der, b.der);
}

}  // namespace

ShownAttribute::ShownAttribute(const PlacedAttribute& placed)
    : type(placed.type),
      der(placed.der),
      rdn(placed.rdn),
      kind(placed.kind),
      m_known(findAttributeType(octetsOf(type))) {
  if (placed.isUtf8()) {
    m_placed = charactersOf(placed.content);
  } else {
    m_own = placed.text();
  }
}

ShownAttribute::ShownAttribute(const Attribute& attribute)
    : type(attribute.rawType),
      der(attribute.der),
      rdn(attribute.rdn),
      kind(attribute.kind),
      m_known(findAttributeType(octetsOf(type))),
      m_placed(attribute.text) {}

Attributes attributesOf(const Name& name) {
  constexpr size_t kUsualCount = 6;
  std::vector<ShownAttribute> attributes;
  attributes.reserve(kUsualCount);
  const auto fault = name.visitAttributes(
      [&](const PlacedAttribute& attribute) { attributes.emplace_back(attribute); });
  if (fault) return *fault;
  return attributes;
}

bool appendName(const Name& name, const Attributes& attributes, StringBuffer& out) {
  if (!attributes || !std::all_of(attributes->begin(), attributes->end(), isPlainText)) {
    return appendNameOfTree(name.der(), out);
  }
  std::string_view separator;
  for (const ShownAttribute& attribute : *attributes) {
    out.append(separator);
    appendAttribute(attribute, out);
    separator = ", ";
  }
  whole(out);
  return true;
}

bool appendName(const Name& name, StringBuffer& out) {
  return appendName(name, attributesOf(name), out);
}

void appendSubject(std::string_view before, const Certificate& certificate, StringBuffer& out) {
  StringBuffer text;
  if (appendName(certificate.subject(), text)) print(out, before, Safe{text.view()});
}

void writeAttribute(const ShownAttribute& attribute, JsonLine& line) {
  const DottedOid type(attribute.type);
  const std::string_view shortName = attribute.shortName();
  line.object("", [&] {
    line.word("oid", type.text());
    line.word("name", shortName.empty() ? type.name() : shortName);
    if (attribute.kind != TextKind::none) return line.text("value", attribute.text());
    line.null("value");
    line.hex("hex", attribute.der);
  });
}

void writeRdns(std::string_view key, const Attributes& attributes, JsonLine& line) {
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

bool isSameName(const Attributes& a, const Attributes& b) {
  if (!a || !b || a->empty()) return false;
  return std::equal(a->begin(), a->end(), b->begin(), b->end(), [](auto& ours, auto& theirs) {
    return ours.rdn == theirs.rdn && isSame(ours.type, theirs.type) && isSameText(ours, theirs);
  });
}

}  // namespace velmora::tool
