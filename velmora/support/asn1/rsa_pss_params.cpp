#include <algorithm>
#include <string_view>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/hash/vm_hash.h"

namespace velmora {
namespace {

constexpr unsigned char kPssOid[] = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                     0x0D, 0x01, 0x01, 0x0A};  // 1.2.840.113549.1.1.10
constexpr unsigned char kMgf1Oid[] = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                      0x0D, 0x01, 0x01, 0x08};  // 1.2.840.113549.1.1.8

// RSASSA-PSS-params ::= SEQUENCE {
//   hashAlgorithm     [0] HashAlgorithm     DEFAULT sha1Identifier,
//   maskGenAlgorithm  [1] MaskGenAlgorithm  DEFAULT mgf1SHA1Identifier,
//   saltLength        [2] INTEGER           DEFAULT 20,
//   trailerField      [3] INTEGER           DEFAULT 1 }
struct PssParams {
  int hashId = _vmHash::kSha1;
  int maskHashId = _vmHash::kSha1;
  int saltLength = 20;
  int trailer = 1;
};

bool takeOid(DerReader& der, std::span<const unsigned char> oid) noexcept {
  std::span<const unsigned char> content;
  return der.take(asn1_tag::kOid, content) &&
         std::equal(content.begin(), content.end(), oid.begin(), oid.end());
}

// Allocates nothing: parameters that memory ran out for would count as malformed, and verification
// then goes on with SHA-1 in place of the hash that they name.
int hashOfOid(std::span<const unsigned char> oid) noexcept {
  constexpr size_t kMostOctets = 16;  // more than that of any hash
  char dotted[maxDottedSize(kMostOctets)];
  if (oid.size() > kMostOctets) return _vmHash::kUnknown;
  return _vmHash::oidToHashAlg(std::string_view(dotted, writeDottedOid(oid, dotted)));
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters NULL OPTIONAL }
bool takeHash(DerReader& der, int& hashId) {
  DerReader members;
  std::span<const unsigned char> oid;
  if (!der.takeSequence(members) || !members.take(asn1_tag::kOid, oid)) return false;
  if (!members.takeNullIfPresent() || !members.atEnd()) return false;
  hashId = hashOfOid(oid);
  return hashId != _vmHash::kUnknown;
}

bool takeMask(DerReader& der, int& maskHashId) {
  DerReader members;
  return der.takeSequence(members) && takeOid(members, kMgf1Oid) && takeHash(members, maskHashId) &&
         members.atEnd();
}

bool takeNumber(DerReader& der, int& number) {
  constexpr size_t kMostOctets = 3;  // more than any key has room for
  std::span<const unsigned char> octets;
  if (!der.takeUnsigned(octets) || octets.size() > kMostOctets) return false;
  number = static_cast<int>(bigEndianNumber(octets));
  return true;
}

// A member that is absent keeps its default. One that states its default, which DER forbids, is
// accepted: widespread encoders write it.
bool takeOptional(DerReader& params, uint32_t tag, bool (*take)(DerReader&, int&), int& value) {
  DerReader inside;
  return !params.takeContext(tag, inside) || (take(inside, value) && inside.atEnd());
}

bool readParams(std::span<const unsigned char> algorithmIdentifier, PssParams& values) {
  DerReader der(algorithmIdentifier);
  DerReader members;
  DerReader params;
  return der.takeSequence(members) && takeOid(members, kPssOid) && members.takeSequence(params) &&
         members.atEnd() && takeOptional(params, 0, takeHash, values.hashId) &&
         takeOptional(params, 1, takeMask, values.maskHashId) &&
         takeOptional(params, 2, takeNumber, values.saltLength) &&
         takeOptional(params, 3, takeNumber, values.trailer) && params.atEnd() &&
         values.trailer == 1;
}

}  // namespace

bool _vmAsn1::parseRsaSsaPssParams(_vmAsn1& algorithmIdentifier, int& hashId, int& maskHashId,
                                   int& saltLength, LogBase& log) {
  const LogContextExitor context(log, "parseRsaSsaPssParams");
  PssParams values;
  if (!algorithmIdentifier.decode(log)) return false;
  if (!readParams(algorithmIdentifier.element(), values)) {
    log.LogError("The RSASSA-PSS parameters are malformed or name an unknown algorithm.");
    return false;
  }
  hashId = values.hashId;
  maskHashId = values.maskHashId;
  saltLength = values.saltLength;
  return true;
}

}  // namespace velmora
