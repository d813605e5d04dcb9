#include "tools/render/name_text.h"

#include <algorithm>
#include <new>

#include "tools/render/octets.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/text/whole.h"
#include "velmora/x509/dn_names.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

namespace {

// Whether the tree of VelmoraX509 reads the value as the same text.
bool isPlainText(const Attribute& attribute) {
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

void appendAttribute(const Attribute& attribute, std::string_view separator, StringBuffer& out) {
  const DottedOid type(attribute.rawType);
  const DnAttribute& known = findDnAttribute(type.text());
  const DnAttributeName name = dnAttributeName(known, known.form(0), false, type.text());
  const bool hasComma = attribute.text.find(',') != attribute.text.npos;
  out.append(separator);
  out.append(name.prefix);
  out.append(name.name);
  out.append(hasComma ? "=\"" : "=");
  out.append(std::string_view(attribute.text));
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

bool isSameText(const Attribute& a, const Attribute& b) {
  const auto isCompared = [](TextKind kind) {
    return kind == TextKind::utf8 || kind == TextKind::printable || kind == TextKind::ia5;
  };
  return isCompared(a.kind) && isCompared(b.kind) ? a.text == b.text : a.der == b.der;
}

}  // namespace

bool appendName(const Name& name, const Attributes& attributes, StringBuffer& out) {
  if (!attributes || !std::all_of(attributes->begin(), attributes->end(), isPlainText)) {
    return appendNameOfTree(name.der(), out);
  }
  std::string_view separator;
  for (const Attribute& attribute : *attributes) {
    appendAttribute(attribute, separator, out);
    separator = ", ";
  }
  return true;
}

bool isSameName(const Attributes& a, const Attributes& b) {
  if (!a || !b || a->empty()) return false;
  return std::equal(a->begin(), a->end(), b->begin(), b->end(), [](auto& ours, auto& theirs) {
    return ours.rdn == theirs.rdn && ours.rawType == theirs.rawType && isSameText(ours, theirs);
  });
}

}  // namespace velmora::tool
