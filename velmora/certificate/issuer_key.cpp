#include "velmora/certificate/issuer_key.h"

#include <algorithm>

#include "velmora/certificate/internal/algorithm_reader.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/key_reader.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/dsa.h"
#include "velmora/support/key/ed25519.h"
#include "velmora/support/key/rsa.h"
#include "velmora/support/log/log_base.h"

namespace velmora {
namespace {

using Span = std::span<const unsigned char>;

unsigned sizeOf(Bytes bytes) noexcept {
  return static_cast<unsigned>(bytes.size());
}

int hashIdOf(Hash hash) noexcept {
  switch (hash) {
    case Hash::sha1:
      return _vmHash::kSha1;
    case Hash::sha256:
      return _vmHash::kSha256;
    case Hash::sha384:
      return _vmHash::kSha384;
    case Hash::sha512:
      break;
  }
  return _vmHash::kSha512;
}

// The digest of what is signed.
class Digest {
 public:
  Digest(Hash hash, Bytes octets) noexcept
      : m_size(static_cast<unsigned>(
            _vmHash::hashTo(octets.data(), octets.size(), hashIdOf(hash), m_octets))) {}
  const unsigned char* data() const noexcept { return m_octets; }
  unsigned size() const noexcept { return m_size; }
  Span span() const noexcept { return {m_octets, m_size}; }

 private:
  unsigned char m_octets[_vmHash::kMaxDigestSize];
  unsigned m_size;
};

// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }, whose
// parameters are NULL or absent (RFC 8017 §9.2, RFC 4055 §2.1).
bool readDigestInfo(Span octets, Span& oid, Span& digest) noexcept {
  DerReader der(octets);
  DerReader members;
  DerReader algorithm;
  return der.takeSequence(members) && der.atEnd() && members.takeSequence(algorithm) &&
         algorithm.take(asn1_tag::kOid, oid) && algorithm.takeNullIfPresent() &&
         algorithm.atEnd() && members.take(asn1_tag::kOctetString, digest) && members.atEnd();
}

// Whether the octets are those of the digest without some of the zeros in front.
bool isShortened(Span octets, Span digest) noexcept {
  if (octets.empty() || octets.size() >= digest.size()) return false;
  const size_t cut = digest.size() - octets.size();
  return std::all_of(digest.data(), digest.data() + cut, [](unsigned char c) { return c == 0; }) &&
         std::equal(octets.begin(), octets.end(), digest.data() + cut);
}

// RSASSA-PKCS1-v1_5 (RFC 8017 §8.2.2).
SignatureFault computePkcs1(const RsaKeyData& key, Hash hash, const SignedParts& parts) noexcept {
  LogNull log;
  DataBuffer content;
  if (!RsaPrimitive::unsignSslSig(octetsOf(parts.signature).data(), sizeOf(parts.signature),
                                  nullptr, 0, key, RsaPrimitive::kPaddingPkcs1, 0, content, log)) {
    return content.failed() ? SignatureFault::outOfMemory : SignatureFault::wrongSignature;
  }
  Span oid;
  Span signedDigest;
  if (!readDigestInfo(content.span(), oid, signedDigest)) return SignatureFault::wrongSignature;
  if (hashOfOid(bytesOf(oid)) != hash) return SignatureFault::otherHash;
  const Digest digest(hash, parts.tbs);
  if (isShortened(signedDigest, digest.span())) return SignatureFault::shortDigest;
  return sameOctets(bytesOf(signedDigest), bytesOf(digest.span())) ? SignatureFault::none
                                                                   : SignatureFault::wrongSignature;
}

// RSASSA-PSS (RFC 8017 §8.1.2).
SignatureFault computePss(const RsaKeyData& key, const SignatureScheme& scheme,
                          const SignedParts& parts) noexcept {
  LogNull log;
  DataBuffer unused;
  PssForm form;
  const Digest digest(scheme.hash, parts.tbs);
  if (!RsaPrimitive::unsignSslSig(octetsOf(parts.signature).data(), sizeOf(parts.signature),
                                  digest.data(), digest.size(), key, RsaPrimitive::kPaddingPss,
                                  hashIdOf(scheme.hash), unused, log, &form)) {
    return SignatureFault::wrongSignature;
  }
  if (form.maskHashId != hashIdOf(scheme.maskHash)) return SignatureFault::otherMaskHash;
  return form.saltSize == scheme.saltLength ? SignatureFault::none
                                            : SignatureFault::otherSaltLength;
}

bool takeWhole(Bytes octets, Asn1Element& element) noexcept {
  DerReader reader(octets, 0);
  return reader.takeAny(element) && reader.atEnd();
}

SignatureFault faultOfPair(bool isReadable, bool isValid) noexcept {
  if (!isReadable) return SignatureFault::signatureMalformed;
  return isValid ? SignatureFault::none : SignatureFault::wrongSignature;
}

SignatureFault computeDsa(const DsaKeyData& key, Hash hash, const SignedParts& parts) noexcept {
  LogNull log;
  bool isValid = false;
  const Digest digest(hash, parts.tbs);
  const bool isReadable =
      DsaPrimitive::verify_hash(octetsOf(parts.signature).data(), sizeOf(parts.signature),
                                digest.data(), digest.size(), key, isValid, log);
  return faultOfPair(isReadable, isValid);
}

SignatureFault computeEcdsa(const EccKeyData& key, Hash hash, const SignedParts& parts) noexcept {
  LogNull log;
  bool isValid = false;
  const Digest digest(hash, parts.tbs);
  const bool isReadable =
      key.eccVerifyHash(octetsOf(parts.signature).data(), sizeOf(parts.signature), false,
                        digest.data(), digest.size(), isValid, log, 0);
  return faultOfPair(isReadable, isValid);
}

SignatureFault computeEd25519(const Ed25519KeyData& key, const SignedParts& parts) noexcept {
  LogNull log;
  if (parts.signature.size() != Ed25519Primitive::kSignatureSize) {
    return SignatureFault::signatureMalformed;
  }
  const bool isValid = Ed25519Primitive::verifyDetached(
      octetsOf(parts.signature).data(), octetsOf(parts.tbs).data(), parts.tbs.size(), key, log);
  return isValid ? SignatureFault::none : SignatureFault::wrongSignature;
}

}  // namespace

IssuerKey::IssuerKey(Bytes subjectPublicKeyInfo) noexcept {
  Asn1Element spki;
  if (!takeWhole(subjectPublicKeyInfo, spki)) return;
  KeyParts parts;
  const bool isWellFormed = !readKeyInto(spki, parts);
  m_kind = isWellFormed ? parts.kind : kindOfKey(spki);
  if (!isWellFormed) return;
  m_isBoundToUnknown = parts.isBoundToUnknown;
  if (const auto& pss = parts.pss) {
    m_boundTo = SignatureScheme{KeyKind::rsaPss, pss->hash, pss->maskHash, pss->saltLength};
  }
  if (!load(parts)) m_key.emplace<std::monostate>();
}

bool IssuerKey::isUsable(Bytes subjectPublicKeyInfo) noexcept {
  Asn1Element spki;
  KeyParts parts;
  if (!takeWhole(subjectPublicKeyInfo, spki) || readKeyInto(spki, parts)) return false;
  switch (parts.kind) {
    case KeyKind::rsa:
    case KeyKind::rsaPss:
      return RsaKeyData::isKey(octetsOf(parts.modulus), octetsOf(parts.exponent));
    case KeyKind::ec:
      return !parts.curve.empty() && EccKeyData::isKey(octetsOf(parts.curve), octetsOf(parts.bits));
    default:
      return IssuerKey(subjectPublicKeyInfo).isUsable();
  }
}

bool IssuerKey::load(const KeyParts& parts) noexcept {
  LogNull log;
  switch (parts.kind) {
    case KeyKind::rsa:
    case KeyKind::rsaPss:
      return m_key.emplace<RsaKeyData>().assign(octetsOf(parts.modulus), octetsOf(parts.exponent),
                                                log);
    case KeyKind::dsa:
      return !parts.p.empty() &&
             m_key.emplace<DsaKeyData>().assign(
                 {octetsOf(parts.p), octetsOf(parts.q), octetsOf(parts.g), octetsOf(parts.y)}, log);
    case KeyKind::ec:
      return !parts.curve.empty() &&
             m_key.emplace<EccKeyData>().assign(octetsOf(parts.curve), octetsOf(parts.bits), log);
    case KeyKind::ed25519:
      return m_key.emplace<Ed25519KeyData>().assign(octetsOf(parts.bits).data());
    case KeyKind::other:
      break;
  }
  return false;
}

bool IssuerKey::prepare() noexcept {
  if (auto* const ec = std::get_if<EccKeyData>(&m_key)) return ec->prepare();
  auto* const ed25519 = std::get_if<Ed25519KeyData>(&m_key);
  return ed25519 != nullptr && ed25519->prepare();
}

// A key that is for RSASSA-PSS alone and has parameters allows these hashes and no shorter salt
// (RFC 4055 §3.3).
bool IssuerKey::fits(const SignatureScheme& scheme) const noexcept {
  if (scheme.key != KeyKind::rsaPss) return m_kind == scheme.key;
  if (m_kind != KeyKind::rsaPss) return m_kind == KeyKind::rsa;
  if (!m_boundTo) return !m_isBoundToUnknown;
  return scheme.hash == m_boundTo->hash && scheme.maskHash == m_boundTo->maskHash &&
         scheme.saltLength >= m_boundTo->saltLength;
}

SignatureFault IssuerKey::compute(const SignatureScheme& scheme,
                                  const SignedParts& parts) const noexcept {
  if (const auto* const rsa = std::get_if<RsaKeyData>(&m_key)) {
    return scheme.key == KeyKind::rsa ? computePkcs1(*rsa, scheme.hash, parts)
                                      : computePss(*rsa, scheme, parts);
  }
  if (const auto* const ec = std::get_if<EccKeyData>(&m_key)) {
    return computeEcdsa(*ec, scheme.hash, parts);
  }
  if (const auto* const dsa = std::get_if<DsaKeyData>(&m_key)) {
    return computeDsa(*dsa, scheme.hash, parts);
  }
  if (const auto* const ed25519 = std::get_if<Ed25519KeyData>(&m_key)) {
    return computeEd25519(*ed25519, parts);
  }
  return SignatureFault::keyUnusable;
}

SignatureFault IssuerKey::faultOf(const SignedParts& parts) const noexcept {
  if (!sameOctets(parts.innerAlgorithm, parts.outerAlgorithm)) {
    return SignatureFault::algorithmsDiffer;
  }
  Asn1Element algorithm;
  if (!takeWhole(parts.outerAlgorithm, algorithm)) return SignatureFault::parametersForbidden;
  const SchemeReading reading = readScheme(algorithm);
  if (reading.fault != SignatureFault::none) return reading.fault;
  if (!fits(reading.scheme)) return SignatureFault::keyDoesNotFit;
  if (parts.signature.empty()) return SignatureFault::signatureMalformed;
  return compute(reading.scheme, parts);
}

SignatureCheck IssuerKey::check(const Certificate& certificate) const noexcept {
  const Parts parts = certificate.parts();
  return check(SignedParts{parts.tbs, parts.innerAlgorithm, parts.outerAlgorithm, parts.signature});
}

SignatureCheck IssuerKey::check(const SignedParts& parts) const noexcept {
  const SignatureFault fault = faultOf(parts);
  return {verdictOf(fault), fault};
}

SignatureCheck Certificate::checkSignature(const Certificate& issuer) const noexcept {
  return IssuerKey(issuer).check(*this);
}

}  // namespace velmora
