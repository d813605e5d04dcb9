#include "tools/reading/key_description.h"

#include <bit>

#include "tools/reading/certificate_tree.h"
#include "tools/reading/whole.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/bignum/curves/curve_data.h"

namespace velmora::tool {

namespace {

struct KeyType {
  std::string_view oid;
  std::string_view name;
  void (*describe)(ClsXml& publicKey, KeyDescription& key);
};

// Of an INTEGER's octets, which are taken as not negative.
std::optional<unsigned> bitLength(std::span<const unsigned char> octets) {
  while (!octets.empty() && octets.front() == 0) octets = octets.subspan(1);
  if (octets.empty()) return std::nullopt;
  const unsigned top = static_cast<unsigned>(std::bit_width(unsigned{octets.front()}));
  return static_cast<unsigned>(8 * (octets.size() - 1)) + top;
}

// Of the "int" that a path of steps reaches.
std::optional<unsigned> bitLengthAt(const ClsXml& at, const char* path) {
  StringBuffer digits;
  DataBuffer octets;
  const bool found = at.getChildContentUtf8(path, digits, false);
  octets.appendEncoded(whole(digits).view(), "hex");
  return found ? bitLength(whole(octets).span()) : std::nullopt;
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
void describeRsa(ClsXml& publicKey, KeyDescription& key) {
  StringBuffer digits;
  DataBuffer der;
  publicKey.getChildContentUtf8("bits", digits, false);
  der.appendEncoded(whole(digits).view(), "hex");
  whole(der);
  Asn1Header header;
  std::span<const unsigned char> content;
  DerReader sequence(der.span());
  if (!sequence.readElement(header, content) || !header.is(asn1_tag::kSequence)) return;
  DerReader members(content);
  if (!members.readElement(header, content) || !header.is(asn1_tag::kInteger)) return;
  key.bits = bitLength(content);
}

// Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }
void describeDsa(ClsXml& publicKey, KeyDescription& key) {
  key.bits = bitLengthAt(publicKey, "sequence|sequence|int");
}

// ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER, implicitCurve NULL,
//   specifiedCurve SEQUENCE { version INTEGER, fieldID SEQUENCE { fieldType OBJECT IDENTIFIER,
//   prime INTEGER }, ... } }
void describeEc(ClsXml& publicKey, KeyDescription& key) {
  StringBuffer oid;
  const bool isNamed = publicKey.getChildContentUtf8("sequence|oid[1]", oid, false);
  whole(oid);
  if (!isNamed) {
    key.bits = bitLengthAt(publicKey, "sequence|sequence|sequence|int");
    return;
  }
  const std::string_view name = oidName(oid.view());
  key.curve = name.empty() ? oid.view() : name;
  const vartime::Curve* curve = vartime::findCurve(oid.view());
  if (curve != nullptr) key.bits = static_cast<unsigned>(curve->parameters().bits);
}

// As _vmPublicKey counts them.
void describeEd25519(ClsXml&, KeyDescription& key) {
  constexpr unsigned kFieldBits = 255;
  key.bits = kFieldBits;
}

constexpr KeyType kKeyTypes[] = {
    {"1.2.840.113549.1.1.1", "RSA", describeRsa},      {"1.2.840.10045.2.1", "EC", describeEc},
    {"1.2.840.113549.1.1.10", "RSA-PSS", describeRsa}, {"1.3.101.112", "Ed25519", describeEd25519},
    {"1.2.840.10040.4.1", "DSA", describeDsa},
};

}  // namespace

KeyDescription describeKey(ClsXml& publicKey) {
  KeyDescription key;
  StringBuffer oid;
  publicKey.getChildContentUtf8("sequence|oid", oid, false);
  key.type = whole(oid).view();
  for (const KeyType& type : kKeyTypes) {
    if (oid.view() != type.oid) continue;
    key.type = type.name;
    type.describe(publicKey, key);
  }
  return key;
}

}  // namespace velmora::tool
