#include "velmora/support/key/internal/digest_info.h"

#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/key/rsa.h"

namespace velmora {

bool isStrictDigestInfo(std::span<const unsigned char> bytes) noexcept {
  DerReader der(bytes);
  DerReader members;
  DerReader algorithm;
  std::span<const unsigned char> oid, digest;
  char dotted[maxDottedSize(kMaxHashOidSize)];
  return der.takeSequence(members) && der.atEnd() && members.takeSequence(algorithm) &&
         algorithm.take(asn1_tag::kOid, oid) && algorithm.takeNullIfPresent() &&
         algorithm.atEnd() && members.take(asn1_tag::kOctetString, digest) && members.atEnd() &&
         !digest.empty() && oid.size() <= kMaxHashOidSize && writeDottedOid(oid, dotted) != 0;
}

// Allocates nothing: were it to say no for lack of memory, a reader that then has some could find
// both.
bool hasHashAndDigest(std::span<const unsigned char> bytes) noexcept {
  char dotted[maxDottedSize(RsaKeyData::kMaxModulusSize)];
  BerWalk walk(bytes);
  size_t parts = 0;         // of the outermost element
  size_t partsOfFirst = 0;  // of its first part
  bool hasHash = false, hasDigest = false;
  do {
    Asn1Header header;
    std::span<const unsigned char> content;
    const BerStep step = walk.next(header, content);
    if (step == BerStep::kFault) return false;
    if (step != BerStep::kElement) continue;
    const size_t around = walk.depth() - (header.constructed ? 1 : 0);
    if (around == 1 && ++parts == 2) hasDigest = header.constructed || !content.empty();
    if (around == 2 && parts == 1 && ++partsOfFirst == 1) {
      hasHash =
          !header.constructed && header.is(asn1_tag::kOid) && writeDottedOid(content, dotted) != 0;
    }
  } while (walk.depth() != 0);
  return hasHash && hasDigest;
}

}  // namespace velmora
