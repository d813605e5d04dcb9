#include "tools/reading/key_shell.h"

#include <new>
#include <string>

#include "tools/render/octets.h"
#include "velmora/support/asn1/der_element.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora::tool {

namespace {

using namespace std::string_view_literals;

// AlgorithmIdentifier of rsaEncryption, with NULL (RFC 3279 §2.3.1).
constexpr std::string_view kRsa = "\x30\x0D\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01\x05\x00"sv;
// The fields of a certificate around its key: serial number 0, an algorithm that is none, an empty
// issuer, dates, an empty subject; and behind it the algorithm again and an empty signature.
constexpr std::string_view kBefore =
    "\x02\x01\x00\x30\x03\x06\x01\x00\x30\x00\x30\x1E\x17\x0D"
    "500101000000Z"
    "\x17\x0D"
    "500101000000Z"
    "\x30\x00"sv;
constexpr std::string_view kBehind = "\x30\x03\x06\x01\x00\x03\x01\x00"sv;

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm SEQUENCE, subjectPublicKey BIT STRING }
// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
std::string infoOfKey(std::span<const unsigned char> octets) {
  DerReader input(octets);
  Asn1Element key;
  if (!input.takeSequence(key) || !input.atEnd()) return {};
  std::string whole(charactersOf(key.whole));
  if (!DerReader(key).startsWith(asn1_tag::kInteger)) return whole;
  const std::string bits = elementOf(asn1_tag::kBitString, std::string(1, '\0') + whole);
  return elementOf(asn1_identifier::kSequence, std::string(kRsa) + bits);
}

// CertificationRequest ::= SEQUENCE { CertificationRequestInfo, SEQUENCE, BIT STRING }
// CertificationRequestInfo ::= SEQUENCE { INTEGER, Name, SubjectPublicKeyInfo, [0] SET OF ... }
std::string infoOfRequest(std::span<const unsigned char> octets) {
  DerReader input(octets);
  DerReader request;
  DerReader info;
  Asn1Element field;
  const bool isRead = input.takeSequence(request) && request.takeSequence(info) &&
                      info.take(asn1_tag::kInteger, field) && info.takeSequence(field) &&
                      info.takeSequence(field);
  return isRead ? std::string(charactersOf(field.whole)) : std::string();
}

}  // namespace

std::optional<Certificate> certificateAround(const CertificateFailure& found) {
  if (found.octets.empty()) return std::nullopt;
  const std::string info =
      found.found == Found::request ? infoOfRequest(found.octets) : infoOfKey(found.octets);
  const std::string tbs = elementOf(asn1_identifier::kSequence, std::string(kBefore) + info);
  const Result<Certificate> shell =
      Certificate::parse(elementOf(asn1_identifier::kSequence, tbs + std::string(kBehind)));
  if (shell) return *shell;
  if (shell.error().code == ErrorCode::outOfMemory) throw std::bad_alloc();
  return std::nullopt;
}

}  // namespace velmora::tool
