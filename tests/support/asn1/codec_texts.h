#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/log/log_sinks.h"

namespace velmora::test {

/// The octets of a text in hexadecimal with spaces.
inline std::string octetsOf(std::string_view hex) {
  DataBuffer out;
  EXPECT_TRUE(out.appendEncoded(hex, "hex")) << hex;
  return std::string(out.view());
}

inline std::span<const unsigned char> spanOf(std::string_view octets) {
  return {reinterpret_cast<const unsigned char*>(octets.data()), octets.size()};
}

inline std::string hexOf(std::string_view octets) {
  DataBuffer bytes;
  bytes.append(octets.data(), octets.size());
  StringBuffer out;
  EXPECT_TRUE(bytes.encodeDB("hex", out));
  return std::string(out.view());
}

/// The ASN.1 XML text, or nothing. The tree made without a text has to agree.
inline std::optional<std::string> toXml(std::string_view octets) {
  StringBuffer xml("|");  // the text is appended
  Asn1Fault fault;
  const bool done = DerXmlCodec::derToXml(spanOf(octets), xml, fault);
  Asn1Fault ofTree;
  RefOwner<XmlDocument> document(DerXmlCodec::derToTree(spanOf(octets), ofTree));
  EXPECT_EQ(static_cast<bool>(document), done);
  EXPECT_EQ(ofTree.reason, fault.reason);
  EXPECT_EQ(ofTree.offset, fault.offset);
  if (!done || !document) return std::nullopt;
  const _clsOwner tree(ClsXml::createNewCls());
  tree->takeDocument(*document.release());
  XString written;
  EXPECT_TRUE(tree->GetXml(written));
  EXPECT_EQ(written.view(), xml.view().substr(1));
  return std::string(xml.view().substr(1));
}

/// The DER of an XML text in hexadecimal, which _vmAsn1 has to agree on, or what the log has to
/// say.
inline std::string toDerHex(std::string_view xml) {
  LogText log;
  const _clsOwner tree(ClsXml::createNewCls());
  if (!tree->loadXml(xml, true, log)) return "not loaded: " + std::string(log.text().view());
  DataBuffer der;
  if (!DerXmlCodec::xmlToDer(*tree, der, log)) return std::string(log.text().view());
  const RefOwner<_vmAsn1> node(_vmAsn1::xml_to_asn(*tree, log));
  DataBuffer ofNode;
  EXPECT_TRUE(node && node->EncodeToDer(ofNode, false, log) && ofNode.equals(der)) << xml;
  EXPECT_TRUE(log.text().isEmpty());
  return hexOf(der.view());
}

}  // namespace velmora::test
