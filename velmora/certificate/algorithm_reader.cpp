#include "velmora/certificate/internal/algorithm_reader.h"

#include <algorithm>
#include <limits>

#include "velmora/certificate/internal/der_values.h"

namespace velmora {
namespace {

Error malformedAt(size_t offset) noexcept {
  return Error::at(ErrorCode::malformedField, offset);
}
Error unknownAt(size_t offset) noexcept {
  return Error::at(ErrorCode::unknownAlgorithm, offset);
}

// An algorithm with which signatures are made, the kind of key that it is for and its hash.
struct KnownScheme {
  Oid oid;
  KeyKind key;
  Hash hash;  // of RSASSA-PSS the parameters tell
};

constexpr Oid kRsaPss{known_oid::rsassaPss};
constexpr Oid kMgf1{known_oid::mgf1};

// RFC 4055 §5, RFC 3279 §2.2, RFC 5758 §3, RFC 8410 §3.
constexpr KnownScheme kSchemes[] = {
    {known_oid::sha1WithRsa, KeyKind::rsa, Hash::sha1},
    {known_oid::sha256WithRsa, KeyKind::rsa, Hash::sha256},
    {known_oid::sha384WithRsa, KeyKind::rsa, Hash::sha384},
    {known_oid::sha512WithRsa, KeyKind::rsa, Hash::sha512},
    {kRsaPss, KeyKind::rsaPss, Hash::sha1},
    {known_oid::ecdsaWithSha1, KeyKind::ec, Hash::sha1},
    {known_oid::ecdsaWithSha256, KeyKind::ec, Hash::sha256},
    {known_oid::ecdsaWithSha384, KeyKind::ec, Hash::sha384},
    {known_oid::ecdsaWithSha512, KeyKind::ec, Hash::sha512},
    {known_oid::dsaWithSha1, KeyKind::dsa, Hash::sha1},
    {known_oid::dsaWithSha256, KeyKind::dsa, Hash::sha256},
    {known_oid::ed25519, KeyKind::ed25519, Hash::sha512},
};

struct KnownHash {
  Oid oid;
  Hash hash;
};

constexpr KnownHash kHashes[] = {
    {known_oid::sha1, Hash::sha1},
    {known_oid::sha256, Hash::sha256},
    {known_oid::sha384, Hash::sha384},
    {known_oid::sha512, Hash::sha512},
};

// AlgorithmIdentifier with parameters that are NULL or absent (RFC 4055 §2.1).
Result<Hash> readHash(const Asn1Element& identifier) noexcept {
  const Result<AlgorithmParts> algorithm = readAlgorithm(identifier);
  if (!algorithm) return algorithm.error();
  if (algorithm->parameters && !algorithm->hasNull()) {
    return malformedAt(algorithm->parameters->offset);
  }
  const std::optional<Hash> hash = hashOfOid(algorithm->oid);
  if (!hash) return unknownAt(identifier.offset);
  return *hash;
}

// MaskGenAlgorithm ::= AlgorithmIdentifier: MGF1, whose parameters are a hash (RFC 4055 §2.2).
Result<Hash> readMaskHash(const Asn1Element& identifier) noexcept {
  const Result<AlgorithmParts> algorithm = readAlgorithm(identifier);
  if (!algorithm) return algorithm.error();
  if (!algorithm->is(kMgf1)) return unknownAt(identifier.offset);
  if (!algorithm->parameters) return malformedAt(identifier.offset);
  return readHash(*algorithm->parameters);
}

// INTEGER (0..MAX)
Result<uint32_t> readNumber(const Asn1Element& element) noexcept {
  std::span<const unsigned char> magnitude;
  if (!DerReader(element.whole).takeUnsigned(magnitude)) return malformedAt(element.offset);
  if (magnitude.size() > sizeof(uint32_t)) return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(bigEndianNumber(magnitude));
}

// The member [number] EXPLICIT, when it comes next.
template <class T>
std::optional<Error> readOptional(DerReader& members, uint32_t number,
                                  Result<T> (*read)(const Asn1Element&) noexcept,
                                  T& value) noexcept {
  Asn1Element tagged;
  Asn1Element inside;
  if (!members.takeContext(number, true, tagged)) return std::nullopt;
  DerReader content(tagged);
  if (!content.takeAny(inside) || !content.atEnd()) return malformedAt(tagged.offset);
  const Result<T> answer = read(inside);
  if (!answer) return answer.error();
  value = *answer;
  return std::nullopt;
}

}  // namespace

bool AlgorithmParts::is(const Oid& algorithm) const noexcept {
  return sameOctets(oid, algorithm.der());
}

bool isNull(const Asn1Element& parameters) noexcept {
  return parameters.is(asn1_tag::kNull) && parameters.content.empty();
}

bool AlgorithmParts::hasNull() const noexcept {
  return parameters && isNull(*parameters);
}

std::optional<Hash> hashOfOid(Bytes oid) noexcept {
  for (const KnownHash& known : kHashes) {
    if (sameOctets(oid, known.oid.der())) return known.hash;
  }
  return std::nullopt;
}

Result<AlgorithmParts> readAlgorithm(const Asn1Element& identifier) noexcept {
  AlgorithmParts parts;
  Asn1Element element;
  DerReader members(identifier);
  if (!identifier.isSequence() || !members.take(asn1_tag::kOid, element)) {
    return malformedAt(identifier.offset);
  }
  parts.oid = element.content;
  if (members.takeAny(element)) parts.parameters = element;
  if (!members.atEnd()) return malformedAt(members.offset());
  return parts;
}

// RSASSA-PSS-params ::= SEQUENCE {
//   hashAlgorithm     [0] HashAlgorithm     DEFAULT sha1Identifier,
//   maskGenAlgorithm  [1] MaskGenAlgorithm  DEFAULT mgf1SHA1Identifier,
//   saltLength        [2] INTEGER           DEFAULT 20,
//   trailerField      [3] INTEGER           DEFAULT 1 }
Result<PssParameters> readPssParameters(const Asn1Element& parameters) noexcept {
  if (!parameters.isSequence()) return malformedAt(parameters.offset);
  PssParameters values;
  uint32_t trailer = 1;
  DerReader members(parameters);
  if (const auto error = readOptional(members, 0, &readHash, values.hash)) return *error;
  if (const auto error = readOptional(members, 1, &readMaskHash, values.maskHash)) return *error;
  if (const auto error = readOptional(members, 2, &readNumber, values.saltLength)) return *error;
  const size_t trailerAt = members.offset();
  if (const auto error = readOptional(members, 3, &readNumber, trailer)) return *error;
  if (!members.atEnd()) return malformedAt(members.offset());
  if (trailer != 1) return unknownAt(trailerAt);
  return values;
}

namespace {

// RFC 4055 §3.1: the parameters are there.
SchemeReading readPssScheme(const Asn1Element& identifier,
                            const std::optional<Asn1Element>& parameters) noexcept {
  constexpr SignatureFault kFault = SignatureFault::parametersNotUnderstood;
  if (!parameters) return {kFault, identifier.offset, true};
  const Result<PssParameters> pss = readPssParameters(*parameters);
  if (pss) {
    return {.scheme = {KeyKind::rsaPss, pss->hash, pss->maskHash, pss->saltLength},
            .parameters = parameters};
  }
  return {kFault, pss.error().offset, pss.error().code == ErrorCode::malformedField};
}

}  // namespace

SchemeReading readScheme(const Asn1Element& identifier) noexcept {
  const Result<AlgorithmParts> algorithm = readAlgorithm(identifier);
  if (!algorithm) return {SignatureFault::parametersForbidden, algorithm.error().offset};
  const auto* const known =
      std::find_if(std::begin(kSchemes), std::end(kSchemes),
                   [&](const KnownScheme& scheme) { return algorithm->is(scheme.oid); });
  if (known == std::end(kSchemes)) return {SignatureFault::algorithmUnknown, identifier.offset};
  const auto& parameters = algorithm->parameters;
  if (known->key == KeyKind::rsaPss) {
    return readPssScheme(identifier, parameters);
  }
  const bool isNullAllowed = known->key == KeyKind::rsa && algorithm->hasNull();
  if (parameters && !isNullAllowed) {
    return {SignatureFault::parametersForbidden, parameters->offset};
  }
  return {.scheme = {known->key, known->hash}, .parameters = parameters};
}

}  // namespace velmora
