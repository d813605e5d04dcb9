#include "velmora/certificate/public_key.h"

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/key_reader.h"

namespace velmora {
namespace {

unsigned sizeOf(const KeyParts& parts) noexcept {
  constexpr unsigned kEd25519Bits = 255;
  switch (parts.kind) {
    case KeyKind::rsa:
    case KeyKind::rsaPss:
      return bitsOf(parts.modulus);
    case KeyKind::dsa:
      return bitsOf(parts.p);
    case KeyKind::ec:
      return bitsOfField(parts);
    case KeyKind::ed25519:
      return kEd25519Bits;
    case KeyKind::other:
      break;
  }
  return 0;
}

PublicKey descriptionOf(const KeyParts& parts) noexcept {
  return {parts.kind, Oid::fromDer(parts.algorithm), Oid::fromDer(parts.curve), sizeOf(parts)};
}

Asn1Element spkiOf(const Block& block) noexcept {
  const uint32_t at = block.index().spki;
  Asn1Element spki;
  DerReader(block.bytes().subspan(at), at).takeAny(spki);
  return spki;
}

}  // namespace

Result<PublicKey> PublicKey::parse(Bytes subjectPublicKeyInfo) noexcept {
  Asn1Element spki;
  DerReader whole(subjectPublicKeyInfo, 0);
  if (!whole.takeAny(spki) || !whole.atEnd()) {
    return Error::at(ErrorCode::malformedKey, whole.offset());
  }
  return readKey(spki).transform(descriptionOf);
}

std::string_view PublicKey::kindName() const noexcept {
  switch (kind) {
    case KeyKind::rsa:
      return "RSA";
    case KeyKind::rsaPss:
      return "RSA-PSS";
    case KeyKind::dsa:
      return "DSA";
    case KeyKind::ec:
      return "EC";
    case KeyKind::ed25519:
      return "Ed25519";
    case KeyKind::other:
      break;
  }
  return {};
}

Result<PublicKey> Certificate::publicKey() const noexcept {
  return readKey(spkiOf(*m_block)).transform(descriptionOf);
}

PublicKey Certificate::describedKey() const noexcept {
  KeyParts parts;
  readKeyInto(spkiOf(*m_block), parts);
  return descriptionOf(parts);
}

}  // namespace velmora
