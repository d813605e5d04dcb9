#include "velmora/support/key/ed25519.h"

#include <algorithm>

#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/log/refuse.h"

namespace velmora {

using vartime::Edwards25519;
using vartime::Limb;

bool Ed25519KeyData::assign(const unsigned char* key32) noexcept {
  m_prepared.reset();
  std::copy_n(key32, kKeySize, m_octets.begin());
  return m_curve->decode(m_point, key32) && !m_curve->hasSmallOrder(m_point);
}

bool Ed25519KeyData::prepare() noexcept {
  if (m_prepared == nullptr) m_prepared = m_curve->prepare(m_point);
  return m_prepared != nullptr;
}

bool Ed25519Primitive::verifyDetached(const unsigned char* sig64, const unsigned char* msg,
                                      unsigned msgLen, const unsigned char* publicKey32,
                                      DataBuffer&, bool, LogBase& log) {
  Ed25519KeyData key;
  if (!key.assign(publicKey32)) {
    const LogContextExitor context(log, "ed25519VerifyDetached");
    return refuse("The Ed25519 public key is not a point, or one of small order.", log);
  }
  return verifyDetached(sig64, msg, msgLen, key, log);
}

bool Ed25519Primitive::verifyDetached(const unsigned char* sig64, const unsigned char* msg,
                                      size_t msgLen, const Ed25519KeyData& key, LogBase& log) {
  const LogContextExitor context(log, "ed25519VerifyDetached");
  constexpr size_t kPointSize = Ed25519KeyData::kKeySize;
  Limb s[4];
  if (!Edwards25519::scalarFromBytes(s, sig64 + kPointSize)) {
    return refuse("S of the Ed25519 signature is not below the group order.", log);
  }
  Sha512Digest hash;
  unsigned char digest[Sha512Digest::kDigestSize];
  hash.update(sig64, kPointSize);
  hash.update(key.publicKey(), kPointSize);
  hash.update(msg, msgLen);
  hash.finish(digest);
  Limb k[4];
  Edwards25519::scalarFromWideBytes(k, digest);
  unsigned char r[kPointSize];
  Edwards25519::encode(r, key.curve().doubleMultiply(s, k, key.point(), key.prepared()));
  return std::equal(r, r + kPointSize, sig64) ||
         refuse("R of the Ed25519 signature is not that of the message and the key.", log);
}

}  // namespace velmora
