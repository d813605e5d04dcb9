#pragma once

#include <cstdint>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Builds DER for tests, element by element: each function gives the octets of one element, and the
/// constructed ones take the octets of their members.
///
///   der::sequence(der::oid("2.5.4.3"), der::utf8("host"))

namespace velmora::test::der {

using Bytes = std::string;

template <class... Members>
Bytes join(const Members&... members) {
  return (Bytes() + ... + Bytes(members));
}

inline Bytes lengthOctets(size_t length) {
  if (length < 0x80) return Bytes(1, static_cast<char>(length));
  Bytes octets;
  for (; length != 0; length >>= 8) octets.insert(octets.begin(), static_cast<char>(length & 0xFF));
  return static_cast<char>(0x80 | octets.size()) + octets;
}

/// One element with an identifier of one octet.
inline Bytes element(unsigned identifier, std::string_view content) {
  return join(Bytes(1, static_cast<char>(identifier)), lengthOctets(content.size()), content);
}

template <class... Members>
Bytes sequence(const Members&... members) {
  return element(0x30, join(members...));
}
template <class... Members>
Bytes set(const Members&... members) {
  return element(0x31, join(members...));
}
/// [n], constructed.
template <class... Members>
Bytes context(unsigned n, const Members&... members) {
  return element(0xA0 | n, join(members...));
}

inline Bytes boolean(bool value) {
  return element(0x01, value ? "\xFF" : std::string_view("\0", 1));
}
inline Bytes integer(std::string_view octets) {
  return element(0x02, octets);
}
inline Bytes octets(std::string_view content) {
  return element(0x04, content);
}
inline Bytes null() {
  return element(0x05, "");
}
inline Bytes utf8(std::string_view text) {
  return element(0x0C, text);
}
inline Bytes printable(std::string_view text) {
  return element(0x13, text);
}
inline Bytes t61(std::string_view text) {
  return element(0x14, text);
}
inline Bytes ia5(std::string_view text) {
  return element(0x16, text);
}
inline Bytes utcTime(std::string_view text) {
  return element(0x17, text);
}
inline Bytes generalizedTime(std::string_view text) {
  return element(0x18, text);
}
inline Bytes bits(std::string_view content, char unused = 0) {
  return element(0x03, join(Bytes(1, unused), content));
}
inline Bytes bmp(std::u16string_view text) {
  Bytes content;
  for (const char16_t unit : text) {
    content += static_cast<char>(unit >> 8);
    content += static_cast<char>(unit & 0xFF);
  }
  return element(0x1E, content);
}

inline Bytes oidArc(uint64_t arc) {
  Bytes octets(1, static_cast<char>(arc & 0x7F));
  while ((arc >>= 7) != 0) octets.insert(octets.begin(), static_cast<char>(0x80 | (arc & 0x7F)));
  return octets;
}

inline Bytes oid(const std::string& dotted) {
  std::istringstream text(dotted);
  std::vector<uint64_t> arcs;
  for (std::string arc; std::getline(text, arc, '.');) arcs.push_back(std::stoull(arc));
  Bytes content = oidArc(arcs.at(0) * 40 + arcs.at(1));
  for (size_t i = 2; i < arcs.size(); ++i) content += oidArc(arcs[i]);
  return element(0x06, content);
}

inline Bytes algorithm(const std::string& dotted) {
  return sequence(oid(dotted), null());
}

/// AttributeTypeAndValue; an RDN is a set of them, a Name a sequence of RDNs.
inline Bytes attribute(const std::string& dotted, const Bytes& value) {
  return sequence(oid(dotted), value);
}

/// A Name of one RDN for each pair of a dotted OID and a PrintableString.
inline Bytes name(std::initializer_list<std::pair<const char*, const char*>> attributes) {
  Bytes rdns;
  for (const auto& [dotted, value] : attributes) rdns += set(attribute(dotted, printable(value)));
  return sequence(rdns);
}

/// The fields of a certificate (RFC 5280 §4.1), each the octets of an element or none.
struct Certificate {
  Bytes version = context(0, integer("\x02"));
  Bytes serial = integer("\x01");
  Bytes signatureAlgorithm = algorithm("1.2.840.113549.1.1.11");
  Bytes issuer = name({{"2.5.4.6", "US"}, {"2.5.4.10", "Acme"}, {"2.5.4.3", "Root"}});
  Bytes validity = sequence(utcTime("200101000000Z"), utcTime("491231235959Z"));
  Bytes subject = name({{"2.5.4.6", "US"}, {"2.5.4.10", "Acme"}, {"2.5.4.3", "host"}});
  Bytes publicKey = sequence(algorithm("1.2.840.113549.1.1.1"), bits("key"));
  Bytes extensions;
  Bytes outerAlgorithm = algorithm("1.2.840.113549.1.1.12");
  Bytes signature = bits("signed");

  Bytes der() const {
    return sequence(sequence(version, serial, signatureAlgorithm, issuer, validity, subject,
                             publicKey, extensions),
                    outerAlgorithm, signature);
  }
};

/// A PKCS #7 SignedData bundle of certificates (RFC 2315 §9.1).
template <class... Certificates>
Bytes bundle(const Certificates&... certificates) {
  const Bytes signedData = sequence(integer("\x01"), set(), sequence(oid("1.2.840.113549.1.7.1")),
                                    context(0, certificates...), set());
  return sequence(oid("1.2.840.113549.1.7.2"), context(0, signedData));
}

}  // namespace velmora::test::der

namespace velmora::test {

using der::algorithm, der::attribute, der::bits, der::bmp, der::boolean, der::context, der::element,
    der::generalizedTime, der::ia5, der::integer, der::null, der::octets, der::printable,
    der::sequence, der::set, der::t61, der::utcTime, der::utf8;

/// An implicitly tagged, primitive [n].
inline der::Bytes primitive(unsigned n, std::string_view content) {
  return element(0x80 | n, content);
}

/// The DER of a certificate with one field replaced.
inline der::Bytes withField(der::Bytes der::Certificate::*field, const der::Bytes& value) {
  der::Certificate fields;
  fields.*field = value;
  return fields.der();
}

/// The field for extensions, and a certificate with it.
template <class... Extensions>
der::Bytes listOf(const Extensions&... extensions) {
  return context(3, sequence(extensions...));
}
template <class... Extensions>
der::Bytes withExtensions(const Extensions&... extensions) {
  return withField(&der::Certificate::extensions, listOf(extensions...));
}

}  // namespace velmora::test
