#include "bench/signatures/signature_verifier.h"

#include <algorithm>
#include <array>

#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/dsa.h"
#include "velmora/support/key/ed25519.h"
#include "velmora/support/key/rsa.h"

namespace velmora::bench {

namespace {

// What stands before the digest in a DigestInfo of SHA-256 (RFC 8017 §9.2, note 1).
constexpr std::array<unsigned char, 19> kSha256Prefix = {0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60,
                                                         0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02,
                                                         0x01, 0x05, 0x00, 0x04, 0x20};

unsigned sizeOf(const DataBuffer& bytes) {
  return static_cast<unsigned>(bytes.size());
}

}  // namespace

bool VelmoraVerifier::digestInfoMatches() const {
  const auto content = m_content.span();
  return content.size() == kSha256Prefix.size() + m_signed.digest.size() &&
         std::ranges::equal(content.first(kSha256Prefix.size()), kSha256Prefix) &&
         std::ranges::equal(content.subspan(kSha256Prefix.size()), m_signed.digest.span());
}

bool VelmoraVerifier::verifyRsa(const RsaKeyData& key) {
  const int padding = m_scheme.pss ? RsaPrimitive::kPaddingPss : RsaPrimitive::kPaddingPkcs1;
  return RsaPrimitive::unsignSslSig(m_signed.signature.data(), sizeOf(m_signed.signature),
                                    m_signed.digest.data(), sizeOf(m_signed.digest), key, padding,
                                    _vmHash::kSha256, m_content, m_log) &&
         (m_scheme.pss || digestInfoMatches());
}

bool VelmoraVerifier::prepare() {
  if (EccKeyData* const ecc = m_key.getEccKey()) return ecc->prepare();
  Ed25519KeyData* const ed25519 = m_key.getEd25519Key();
  return ed25519 == nullptr || ed25519->prepare();
}

bool VelmoraVerifier::verify() {
  const DataBuffer& signature = m_signed.signature;
  const DataBuffer& digest = m_signed.digest;
  if (const RsaKeyData* rsa = m_key.getRsaKey()) return verifyRsa(*rsa);
  if (const Ed25519KeyData* ed25519 = m_key.getEd25519Key()) {
    return Ed25519Primitive::verifyDetached(signature.data(), m_signed.message.data(),
                                            m_signed.message.size(), *ed25519, m_log);
  }
  bool valid = false;
  if (const DsaKeyData* dsa = m_key.getDsaKey()) {
    return DsaPrimitive::verify_hash(signature.data(), sizeOf(signature), digest.data(),
                                     sizeOf(digest), *dsa, valid, m_log) &&
           valid;
  }
  const EccKeyData* ecc = m_key.getEccKey();
  return ecc != nullptr &&
         ecc->eccVerifyHash(signature.data(), sizeOf(signature), false, digest.data(),
                            sizeOf(digest), valid, m_log, 0) &&
         valid;
}

}  // namespace velmora::bench
