#include "tools/render/name_text.h"

#include <algorithm>
#include <new>

#include "tools/render/octets.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/text/printable.h"
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
  const bool hasComma = text.find(',') != text.npos;
  if (const std::string_view name = attribute.shortName(); !name.empty()) {
    out.append(name);
  } else {
    out.append("OID.");
    out.append(DottedOid(attribute.type).text());
  }
  out.append(hasComma ? "=\"" : "=");
  out.append(text);
  if (hasComma) out.appendChar('"');
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
  return out.append(whole(text).view());
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
  return true;
}

void appendSubject(std::string_view before, const Certificate& certificate, StringBuffer& out) {
  const Name subject = certificate.subject();
  StringBuffer text;
  if (!appendName(subject, attributesOf(subject), text)) return;
  out.append(before);
  appendPrintable(whole(text).view(), out);
}

bool isSameName(const Attributes& a, const Attributes& b) {
  if (!a || !b || a->empty()) return false;
  return std::equal(a->begin(), a->end(), b->begin(), b->end(), [](auto& ours, auto& theirs) {
    return ours.rdn == theirs.rdn && isSame(ours.type, theirs.type) && isSameText(ours, theirs);
  });
}

}  // namespace velmora::tool
