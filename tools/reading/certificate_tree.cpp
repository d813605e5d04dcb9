#include "tools/reading/certificate_tree.h"

#include <algorithm>
#include <new>

#include "tools/reading/whole.h"
#include "velmora/support/asn1/der_xml_codec.h"

namespace velmora::tool {

namespace {

XmlHandle newTree() {
  XmlHandle tree(ClsXml::createNewCls());
  if (!tree) throw std::bad_alloc();
  return tree;
}

// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
//   extnValue OCTET STRING }
ListedExtension readExtension(ClsXml& at) {
  ListedExtension extension;
  bool first = true;
  eachChild(at, [&] {
    if (first && at.tagEquals("oid")) extension.oid = at.contentView();
    // DER knows FF alone for true; BER, and so some issuers, every octet but 00.
    if (at.tagEquals("bool") && !at.contentEquals("00")) extension.critical = true;
    if (!extension.value && at.tagEquals("octets")) extension.value = at.contentView();
    first = false;
  });
  return extension;
}

}  // namespace

const char* CertificateTree::load(std::span<const unsigned char> der) {
  m_extensions.clear();
  m_tree = newTree();
  m_xml.weakClear();
  Asn1Fault fault;
  if (!DerXmlCodec::derToXml(der, m_xml, fault)) return fault.reason;
  LogNull log;
  if (!m_tree->loadXml(m_xml, true, log)) throw std::bad_alloc();
  listExtensions();
  return nullptr;
}

void CertificateTree::listExtensions() {
  // Some certificates carry their extensions under [0].
  if (!listExtensionsIn(3)) listExtensionsIn(0);
}

bool CertificateTree::listExtensionsIn(int tag) {
  const XmlHandle at = part("sequence");
  bool found = false;
  eachChild(*at, [&] {
    if (found || !isContext(*at, tag) || !at->findChild2("sequence")) return;
    found = true;
    eachChild(*at, [&] { m_extensions.push_back(readExtension(*at)); });
    at->getParent2();
  });
  return found;
}

XmlHandle CertificateTree::part(const char* path) const {
  XmlHandle part(m_tree->getChildWithTagUtf8(path));
  if (!part) throw std::bad_alloc();
  return part;
}

const ListedExtension* CertificateTree::findExtension(std::string_view oid) const {
  const auto found = std::find_if(m_extensions.begin(), m_extensions.end(),
                                  [&](const ListedExtension& each) { return each.oid == oid; });
  return found == m_extensions.end() ? nullptr : &*found;
}

XmlHandle CertificateTree::extension(std::string_view oid) const {
  const ListedExtension* found = findExtension(oid);
  return found != nullptr && found->value ? treeOfBase64(*found->value) : XmlHandle();
}

XmlHandle treeOfBase64(std::string_view base64) {
  DataBuffer der;
  StringBuffer xml;
  Asn1Fault fault;
  LogNull log;
  der.appendEncoded(base64, "base64");
  const bool read = DerXmlCodec::derToXml(whole(der).span(), xml, fault);
  if (fault.noMemory) throw std::bad_alloc();
  if (!read) return XmlHandle();
  XmlHandle tree = newTree();
  if (!tree->loadXml(xml, true, log)) throw std::bad_alloc();
  return tree;
}

// What was DER can be DER again, if there is memory for it.
void appendDer(ClsXml& at, DataBuffer& der) {
  LogNull log;
  if (!DerXmlCodec::xmlToDer(at, der, log)) throw std::bad_alloc();
}

bool isContext(const ClsXml& at, int tag) noexcept {
  return at.tagEquals("contextSpecific") && at.getAttrValueInt("tag") == tag;
}

bool isPrimitiveContext(const ClsXml& at, int tag) noexcept {
  return isContext(at, tag) && at.getAttrValueInt("constructed") == 0;
}

}  // namespace velmora::tool
