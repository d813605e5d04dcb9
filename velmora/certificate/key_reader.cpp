#include "velmora/certificate/internal/key_reader.h"

#include <bit>

#include "velmora/certificate/internal/der_values.h"
#include "velmora/support/bignum/curves/curve.h"

namespace velmora {
namespace {

using Fault = std::optional<size_t>;  // the offset of what does not fit

// The parts of the key that every algorithm has.
struct Outside {
  Asn1Element identifier;
  Asn1Element key;  // the BIT STRING
};

struct KnownKey {
  Oid oid;
  KeyKind kind;
  Fault (*read)(const Outside& outside, KeyParts& parts) noexcept;
};

bool takePositive(DerReader& members, Bytes& number) noexcept {
  std::span<const unsigned char> magnitude;
  if (!members.takePositive(magnitude)) return false;
  number = bytesOf(magnitude);
  return true;
}

Fault endOf(const DerReader& members) noexcept {
  return members.atEnd() ? Fault() : members.offset();
}

// SEQUENCE { INTEGER, ... } with so many numbers.
template <class... Numbers>
Fault readNumbers(const Asn1Element& sequence, Numbers&... numbers) noexcept {
  DerReader members(sequence);
  if (!sequence.isSequence()) return sequence.offset;
  if (!(takePositive(members, numbers) && ...)) return members.offset();
  return endOf(members);
}

// The one element that the octets of the key are.
DerReader insideOf(const Outside& outside, const KeyParts& parts) noexcept {
  return DerReader(parts.bits, outside.key.contentOffset() + 1);
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER } (RFC 8017 §A.1.1)
Fault readRsaNumbers(const Outside& outside, KeyParts& parts) noexcept {
  Asn1Element numbers;
  DerReader inside = insideOf(outside, parts);
  if (!inside.takeAny(numbers)) return inside.offset();
  if (const Fault fault = readNumbers(numbers, parts.modulus, parts.exponent)) return fault;
  return endOf(inside);
}

// The parameters are NULL (RFC 4055 §1.2); keys without any are read as well, as NULL says nothing.
Fault readRsa(const Outside& outside, KeyParts& parts) noexcept {
  const auto& parameters = parts.parameters;
  const Fault fault = readRsaNumbers(outside, parts);
  return parameters && !isNull(*parameters) ? parameters->offset : fault;
}

// The parameters are those of RSASSA-PSS, or absent (RFC 4055 §1.2).
Fault readRsaPss(const Outside& outside, KeyParts& parts) noexcept {
  const Fault fault = readRsaNumbers(outside, parts);
  if (const auto& parameters = parts.parameters) {
    const Result<PssParameters> pss = readPssParameters(*parameters);
    parts.isBoundToUnknown = !pss && pss.error().code == ErrorCode::unknownAlgorithm;
    if (!pss && !parts.isBoundToUnknown) return pss.error().offset;
    if (pss) parts.pss = *pss;
  }
  return fault;
}

// Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }, or absent when they are those of the
// issuer's key; DSAPublicKey ::= INTEGER (RFC 3279 §2.3.2).
Fault readDsa(const Outside& outside, KeyParts& parts) noexcept {
  if (const auto& parameters = parts.parameters) {
    if (const Fault fault = readNumbers(*parameters, parts.p, parts.q, parts.g)) return fault;
  }
  DerReader inside = insideOf(outside, parts);
  if (!takePositive(inside, parts.y)) return inside.offset();
  return endOf(inside);
}

// SpecifiedECDomain ::= SEQUENCE { version INTEGER, fieldID SEQUENCE { fieldType OBJECT IDENTIFIER,
//   parameters ANY DEFINED BY fieldType }, ... } (SEC 1 §C.2), of which the prime is looked for.
Fault readExplicitCurve(const Asn1Element& domain, KeyParts& parts) noexcept {
  Asn1Element element;
  DerReader members(domain);
  if (!members.take(asn1_tag::kInteger, element)) return members.offset();
  if (!members.takeSequence(element)) return members.offset();
  DerReader field(element);
  if (!field.take(asn1_tag::kOid, element)) return field.offset();
  takePositive(field, parts.fieldPrime);
  return std::nullopt;
}

// ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER, implicitCurve NULL,
//   specifiedCurve SpecifiedECDomain }
Fault readEc(const Outside& outside, KeyParts& parts) noexcept {
  const auto& parameters = parts.parameters;
  if (!parameters) return outside.identifier.offset;
  if (parameters->is(asn1_tag::kOid) && isOid(parameters->content)) {
    parts.curve = parameters->content;
  } else if (parameters->isSequence()) {
    if (const Fault fault = readExplicitCurve(*parameters, parts)) return fault;
  } else if (!isNull(*parameters)) {
    return parameters->offset;
  }
  return std::nullopt;
}

// No parameters, and 32 octets (RFC 8410 §3 and §4).
Fault readEd25519(const Outside& outside, KeyParts& parts) noexcept {
  constexpr size_t kKeySize = 32;
  if (const auto& parameters = parts.parameters) return parameters->offset;
  return parts.bits.size() == kKeySize ? Fault() : outside.key.offset;
}

constexpr KnownKey kKeys[] = {
    {known_oid::rsaEncryption, KeyKind::rsa, &readRsa},
    {known_oid::ecPublicKey, KeyKind::ec, &readEc},
    {known_oid::rsassaPss, KeyKind::rsaPss, &readRsaPss},
    {known_oid::ed25519, KeyKind::ed25519, &readEd25519},
    {known_oid::dsa, KeyKind::dsa, &readDsa},
};

const KnownKey* findKey(Bytes algorithm) noexcept {
  for (const KnownKey& key : kKeys) {
    if (sameOctets(algorithm, key.oid.der())) return &key;
  }
  return nullptr;
}

}  // namespace

KeyKind kindOfKey(const Asn1Element& spki) noexcept {
  DerReader members(spki);
  Asn1Element identifier;
  Asn1Element oid;
  if (!members.takeSequence(identifier)) return KeyKind::other;
  DerReader(identifier).take(asn1_tag::kOid, oid);
  const KnownKey* const known = findKey(oid.content);
  return known != nullptr ? known->kind : KeyKind::other;
}

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
Fault readKeyInto(const Asn1Element& spki, KeyParts& parts) noexcept {
  Outside outside;
  Asn1Element oid;
  DerReader members(spki);
  if (!spki.isSequence()) return spki.offset;
  if (!members.takeSequence(outside.identifier)) return members.offset();
  DerReader(outside.identifier).take(asn1_tag::kOid, oid);
  parts.algorithm = oid.content;
  const KnownKey* const known = findKey(oid.content);
  if (known != nullptr) parts.kind = known->kind;
  const Result<AlgorithmParts> algorithm = readAlgorithm(outside.identifier);
  if (!algorithm) return algorithm.error().offset;
  parts.parameters = algorithm->parameters;
  if (!isOid(oid.content)) return outside.identifier.contentOffset();
  if (!members.take(asn1_tag::kBitString, outside.key)) return members.offset();
  if (!members.atEnd()) return members.offset();
  const Bytes bits = outside.key.content;
  if (isBitString(bits)) parts.bits = bits.subspan(1);
  const Fault fault = known != nullptr ? known->read(outside, parts) : std::nullopt;
  const bool isInOrder = isBitString(bits) && (known == nullptr || bits[0] == std::byte{0});
  return isInOrder ? fault : outside.key.offset;
}

Result<KeyParts> readKey(const Asn1Element& spki) noexcept {
  KeyParts parts;
  if (const Fault fault = readKeyInto(spki, parts)) {
    return Error::at(ErrorCode::malformedKey, *fault);
  }
  return parts;
}

bool hasFormOfPoint(const KeyParts& key) noexcept {
  const Bytes octets = key.bits;
  if (octets.empty()) return false;
  const size_t size = (bitsOfField(key) + 7) / 8;
  const bool isWhole = octets[0] == std::byte{4};
  const bool isCompressed = octets[0] == std::byte{2} || octets[0] == std::byte{3};
  return (isWhole && (size == 0 || octets.size() == 1 + 2 * size)) ||
         (isCompressed && (size == 0 || octets.size() == 1 + size));
}

unsigned bitsOf(Bytes number) noexcept {
  if (number.empty()) return 0;
  const auto first = std::to_integer<unsigned>(number.front());
  return static_cast<unsigned>(8 * (number.size() - 1)) +
         static_cast<unsigned>(std::bit_width(first));
}

unsigned bitsOfField(const KeyParts& key) noexcept {
  if (key.curve.empty()) return bitsOf(key.fieldPrime);
  const vartime::Curve* const curve = vartime::findCurve(octetsOf(key.curve));
  return curve != nullptr ? curve->parameters().bits : 0;
}

}  // namespace velmora
