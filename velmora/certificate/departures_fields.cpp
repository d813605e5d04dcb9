#include <algorithm>
#include <array>

#include "velmora/certificate/der.h"
#include "velmora/certificate/internal/algorithm_reader.h"
#include "velmora/certificate/internal/departure_list.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/encoding_check.h"
#include "velmora/certificate/internal/key_reader.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/certificate/internal/text_reader.h"

// Where the fields of a certificate depart from RFC 5280 §4.1. parse() has seen that identifiers
// and lengths are DER, and that each field is of its type.

namespace velmora {
namespace {

using Code = DepartureCode;

Asn1Element elementOf(const ExaminedCertificate& examined, size_t at) noexcept {
  Asn1Element element;
  DerReader(examined.der().subspan(at), at).takeAny(element);
  return element;
}

// What is inside a field is walked over only where no strict reader has seen all of it: nearly
// every field is as it should be.
void checkInside(const Asn1Element& field, DepartureList& list) {
  checkEncoding(field.whole, field.offset, {}, list);
}

void examineVersion(const ExaminedCertificate& examined, DepartureList& list) {
  const size_t at = examined.index().version;
  if (at == 0) return;
  list.beginPart();
  if (examined.version == 0) checkInside(elementOf(examined, at), list);
  if (examined.version == 0 && list.isCertain()) list.add(Code::versionUnknown, at);
  if (examined.version == 1) list.add(Code::versionOneEncoded, at);
}

void examineSerial(const ExaminedCertificate& examined, DepartureList& list) {
  constexpr size_t kMostOctets = 20;
  const Asn1Element serial = elementOf(examined, examined.index().serial);
  const Bytes content = serial.content;
  list.beginPart();
  if (!isShortestInteger(content)) checkInside(serial, list);
  if (content.empty()) return;
  const bool isZero =
      std::all_of(content.begin(), content.end(), [](std::byte c) { return c == std::byte{0}; });
  if (isZero) list.add(Code::serialZero, serial.offset);
  if (isNegativeInteger(content)) list.add(Code::serialNegative, serial.offset);
  if (content.size() > kMostOctets) list.add(Code::serialTooLong, serial.offset);
}

// What the parameters of RSASSA-PSS say that goes without saying.
void examinePssDefaults(const Asn1Element& parameters, DepartureList& list) {
  const Result<PssParameters> pss = readPssParameters(parameters);
  if (!pss) return;
  const bool isDefault[] = {pss->hash == Hash::sha1, pss->maskHash == Hash::sha1,
                            pss->saltLength == PssParameters().saltLength, true};
  DerReader members(parameters);
  Asn1Element member;
  while (members.takeAny(member)) {
    if (isDefault[member.header.tagNumber]) list.add(Code::defaultEncoded, member.offset);
  }
}

void examineScheme(const Asn1Element& identifier, DepartureList& list) {
  const SchemeReading reading = readScheme(identifier);
  const bool isRead = reading.fault == SignatureFault::none;
  list.beginPart();
  if (!isRead || reading.scheme.key == KeyKind::rsaPss) checkInside(identifier, list);
  if (reading.fault == SignatureFault::parametersForbidden || reading.isMalformed) {
    list.add(Code::signatureParameters, reading.offset);
  }
  const auto& parameters = reading.parameters;
  if (reading.scheme.key == KeyKind::rsaPss) examinePssDefaults(*parameters, list);
  if (reading.scheme.key == KeyKind::rsa && !parameters) {
    list.add(Code::rsaNullAbsent, identifier.offset);
  }
}

void examineAlgorithms(const ExaminedCertificate& examined, DepartureList& list) {
  const CertificateIndex& index = examined.index();
  const Asn1Element inner = elementOf(examined, index.innerAlgorithm);
  const Asn1Element outer = elementOf(examined, index.outerAlgorithm);
  examineScheme(inner, list);
  if (sameOctets(inner.whole, outer.whole)) return;
  examineScheme(outer, list);
  list.add(Code::signatureAlgorithmsDiffer, outer.offset);
}

void examineSignature(const ExaminedCertificate& examined, DepartureList& list) {
  const Asn1Element signature = elementOf(examined, examined.index().signature);
  const bool isOctets = !signature.content.empty() && signature.content[0] == std::byte{0};
  list.beginPart();
  if (isOctets) return;
  checkInside(signature, list);
  list.add(Code::signatureNotOctets, signature.offset);
}

bool isEarlyForItsType(const Asn1Element& date) noexcept {
  constexpr std::string_view kFirstGeneralized = "2050";
  return date.is(asn1_tag::kGeneralizedTime) && charactersOf(date.content) < kFirstGeneralized;
}

void examineValidity(const ExaminedCertificate& examined, DepartureList& list) {
  const Asn1Element period = elementOf(examined, examined.index().validity);
  DerReader dates(period);
  Asn1Element date;
  std::optional<std::chrono::sys_seconds> last;
  while (dates.takeAny(date)) {
    const std::optional<std::chrono::sys_seconds> before = last;
    last = readTime(date.whole);
    list.beginPart();
    if (!last) {
      list.add(Code::dateMalformed, date.offset);
    } else if (!hasDerForm(date)) {
      list.add(Code::dateNotDer, date.offset);
    } else if (isEarlyForItsType(date)) {
      list.add(Code::dateForm, date.offset);
    }
    if (before && last && *last < *before) list.add(Code::validityBackwards, period.offset);
  }
}

// Whether reading the key has seen all of it: the numbers or the name of the curve, and parameters
// that are NULL or absent.
bool isPlainKey(const KeyParts& parts) noexcept {
  return parts.kind == KeyKind::rsa || parts.kind == KeyKind::ed25519 ||
         (parts.kind == KeyKind::ec && !parts.curve.empty());
}

void checkInsideKey(const Asn1Element& spki, const Asn1Element& key, DepartureList& list) {
  const KeyKind kind = kindOfKey(spki);
  const bool holdsDer = kind == KeyKind::rsa || kind == KeyKind::rsaPss || kind == KeyKind::dsa;
  checkInside(spki, list);
  if (holdsDer && !key.content.empty()) {
    checkEncoding(key.content.subspan(1), key.contentOffset() + 1, {}, list);
  }
}

void examineKey(const ExaminedCertificate& examined, DepartureList& list) {
  const Asn1Element spki = elementOf(examined, examined.index().spki);
  DerReader members(spki);
  Asn1Element identifier;
  Asn1Element key;
  members.takeAny(identifier);
  members.takeAny(key);
  KeyParts parts;
  const std::optional<size_t> fault = readKeyInto(spki, parts);
  list.beginPart();
  if (fault || !isPlainKey(parts)) checkInsideKey(spki, key, list);
  if (fault && list.isCertain()) list.add(Code::keyMalformed, *fault);
  if (fault) return;
  const KeyKind kind = parts.kind;
  const auto& parameters = parts.parameters;
  if (kind == KeyKind::ec && !hasFormOfPoint(parts)) list.add(Code::keyMalformed, key.offset);
  if (kind == KeyKind::ec && parts.curve.empty()) list.add(Code::curveNotNamed, identifier.offset);
  if (kind == KeyKind::rsa && !parameters) list.add(Code::rsaNullAbsent, identifier.offset);
  if (kind == KeyKind::rsaPss && parameters) examinePssDefaults(*parameters, list);
}

// UniqueIdentifier ::= BIT STRING, tagged implicitly.
void examineUniqueIds(const ExaminedCertificate& examined, DepartureList& list) {
  constexpr ContentSpot kSpots[] = {{0, asn1_identifier::kContext | 1, ContentRule::bitString},
                                    {0, asn1_identifier::kContext | 2, ContentRule::bitString}};
  for (const size_t at : {examined.index().issuerUniqueId, examined.index().subjectUniqueId}) {
    if (at == 0) continue;
    const Asn1Element field = elementOf(examined, at);
    list.beginPart();
    checkEncoding(field.whole, at, kSpots, list);
    if (field.header.constructed) list.add(Code::stringInSegments, at);
    list.add(examined.version == 1 ? Code::uniqueIdInVersionOne : Code::uniqueIdentifier, at);
  }
}

constexpr std::array<bool, 128> printableCharacters() noexcept {
  std::array<bool, 128> set{};
  for (const char c : std::string_view(" '()+,-./:=?")) set[static_cast<unsigned char>(c)] = true;
  for (unsigned char c = '0'; c <= '9'; ++c) set[c] = true;
  for (unsigned char c = 'A'; c <= 'Z'; ++c) set[c] = set[c | 0x20U] = true;
  return set;
}

// Of a text that is ASCII in the types that have fewer characters than that.
bool hasAllCharacters(TextKind kind, Bytes content) noexcept {
  static constexpr std::array<bool, 128> kPrintable = printableCharacters();
  const auto areAll = [&](auto isOne) {
    return std::all_of(content.begin(), content.end(),
                       [&](std::byte octet) { return isOne(std::to_integer<unsigned>(octet)); });
  };
  switch (kind) {
    case TextKind::numeric:
      return areAll([](unsigned c) { return (c >= '0' && c <= '9') || c == ' '; });
    case TextKind::visible:
      return areAll([](unsigned c) { return c >= ' ' && c <= '~'; });
    case TextKind::printable:
      return areAll([](unsigned c) { return kPrintable[c]; });
    default:
      return true;
  }
}

// `kind` is the string type, and not none.
void examineText(const Asn1Element& value, TextKind kind, Bytes type, DepartureList& list) {
  if (textKindOf(value) == TextKind::none) {
    list.addInName(Code::nameTextMalformed, value.offset, type);
  } else if (!hasAllCharacters(kind, value.content)) {
    list.addInName(Code::nameCharacters, value.offset, type);
  }
}

// Adds what is to be said of the texts; whether reading has seen all of the name: no RDN has
// several attributes, which DER sorts, and no value is anything but a text.
bool examineTexts(NameReader& reader, DepartureList& list) {
  bool isPlain = true;
  std::optional<uint32_t> last;
  AttributeElements attribute;
  while (reader.next(attribute)) {
    const TextKind kind = stringType(attribute.value.header);
    const bool isText = kind != TextKind::none;
    isPlain = isPlain && isText && attribute.rdn != last;
    last = attribute.rdn;
    if (isText) examineText(attribute.value, kind, attribute.type.content, list);
  }
  return isPlain && !reader.fault();
}

void examineNameField(const Asn1Element& name, DepartureList& list) {
  NameReader reader(name.whole, name.offset);
  list.beginPart();
  if (!examineTexts(reader, list)) checkInside(name, list);
  if (reader.fault() && list.isCertain()) list.add(Code::nameMalformed, *reader.fault());
}

}  // namespace

void examineName(Bytes name, size_t offset, DepartureList& list) {
  NameReader reader(name, offset);
  examineTexts(reader, list);
  if (reader.fault() && list.isCertain()) list.add(Code::nameMalformed, *reader.fault());
}

void examineFields(const ExaminedCertificate& examined, DepartureList& list) {
  examineVersion(examined, list);
  examineSerial(examined, list);
  examineAlgorithms(examined, list);
  const Asn1Element issuer = elementOf(examined, examined.index().issuer);
  examineNameField(issuer, list);
  if (issuer.content.empty()) list.add(Code::issuerEmpty, issuer.offset);
  examineValidity(examined, list);
  examineNameField(elementOf(examined, examined.index().subject), list);
  examineKey(examined, list);
  examineUniqueIds(examined, list);
  examineSignature(examined, list);
}

}  // namespace velmora
