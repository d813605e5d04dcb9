#include "velmora/support/key/vm_public_key.h"

#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/log/refuse.h"
#include "velmora/support/text/byte_codecs.h"

namespace velmora {

bool _vmPublicKey::loadAnyDer(const DataBuffer& der, LogBase& log) {
  const LogContextExitor context(log, "loadPublicKey");
  clear();
  if (der.failed()) return refuse(kOutOfMemory, log);
  const bool loaded = der.size() == Ed25519KeyData::kKeySize ? loadEd25519(der.span(), log)
                                                             : loadInfo(der.span(), log);
  if (loaded && !m_keyBits.failed()) return true;
  if (loaded) log.LogError(kOutOfMemory);
  clear();
  return false;
}

void _vmPublicKey::loadEd25519Public(const unsigned char* key32, const char*) {
  LogNull log;
  clear();
  if (!loadEd25519({key32, Ed25519KeyData::kKeySize}, log) || m_keyBits.failed()) clear();
}

// NOLINTNEXTLINE(bugprone-exception-escape): making nothing throws nothing
void _vmPublicKey::clear() noexcept {
  m_key.emplace<std::monostate>();
  m_keyBits.clear();
}

bool _vmPublicKey::getVelmoraKeyId64(StringBuffer& out, LogBase& log) const {
  constexpr size_t kIdSize = 8;
  constexpr unsigned char kTypeField = 0x40;
  if (isEmpty()) return refuse("No public key is loaded.", log);
  Sha1Digest hash;
  unsigned char digest[Sha1Digest::kDigestSize];
  hash.update(m_keyBits.data(), m_keyBits.size());
  hash.finish(digest);
  unsigned char* const id = digest + sizeof digest - kIdSize;
  id[0] = static_cast<unsigned char>((id[0] & 0x0F) | kTypeField);
  char* const digits = out.extend(2 * kIdSize);
  if (digits == nullptr) return refuse(kOutOfMemory, log);
  hexEncodeUpper(id, kIdSize, digits);
  return true;
}

std::string_view _vmPublicKey::typeName() const noexcept {
  static constexpr std::string_view kNames[] = {"", "RSA", "DSA", "EC", "Ed25519"};
  return kNames[m_key.index()];
}

unsigned _vmPublicKey::bitLength() const noexcept {
  constexpr unsigned kEd25519Bits = 255;
  if (const auto* rsa = std::get_if<RsaKeyData>(&m_key)) return rsa->get_ModulusBitLen();
  if (const auto* dsa = std::get_if<DsaKeyData>(&m_key)) return dsa->get_ModulusBitLen();
  if (const auto* ecc = std::get_if<EccKeyData>(&m_key)) return ecc->get_ModulusBitLen();
  return isEd25519() ? kEd25519Bits : 0;
}

std::string_view _vmPublicKey::curveName() const noexcept {
  const auto* ecc = std::get_if<EccKeyData>(&m_key);
  return ecc != nullptr ? ecc->curveName() : std::string_view();
}

}  // namespace velmora
