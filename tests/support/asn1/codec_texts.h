#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "support/asn1/der_xml_codec.h"
#include "support/log/log_sinks.h"

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

inline std::string hexOf(std::span<const unsigned char> octets) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const unsigned char octet : octets) {
    text += kDigits[octet >> 4];
    text += kDigits[octet & 0xF];
  }
  return text;
}

/// The ASN.1 XML text, or nothing.
inline std::optional<std::string> toXml(std::string_view octets) {
  StringBuffer xml;
  Asn1Fault fault;
  if (!DerXmlCodec::derToXml(spanOf(octets), xml, fault)) return std::nullopt;
  return std::string(xml.view());
}

/// The DER of an XML text in hexadecimal, or what the log has to say.
inline std::string toDerHex(std::string_view xml) {
  LogText log;
  const _clsOwner tree(ClsXml::createNewCls());
  if (!tree->loadXml(xml, true, log)) return "not loaded: " + std::string(log.text().view());
  DataBuffer der;
  if (!DerXmlCodec::xmlToDer(*tree, der, log)) return std::string(log.text().view());
  EXPECT_TRUE(log.text().isEmpty());
  return hexOf(der.span());
}

}  // namespace velmora::test
