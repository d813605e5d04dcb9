#include "velmora/certificate/der.h"

#include "velmora/certificate/internal/der_walk.h"
#include "velmora/support/asn1/ber_walk.h"

namespace velmora {
namespace {

// Which universal types below 31 DER has in the primitive form, or in the constructed one: five
// types are constructed, of all others there is the primitive form alone (X.690 §8 and §10.2), and
// 0 is no type.
constexpr uint32_t kConstructedTypes = 1U << 8 /* EXTERNAL */ | 1U << 11 /* EMBEDDED PDV */ |
                                       1U << asn1_tag::kSequence | 1U << asn1_tag::kSet |
                                       1U << 29 /* CHARACTER STRING */;
constexpr uint32_t kPrimitiveTypes = 0x7FFFFFFE ^ kConstructedTypes;

bool hasFormOfType(const Asn1Header& header) noexcept {
  if (header.tagClass != Asn1Class::kUniversal || header.tagNumber > 30) return true;
  const uint32_t types = header.constructed ? kConstructedTypes : kPrimitiveTypes;
  return (types >> header.tagNumber & 1) != 0;
}

// Why there is no header of DER where the reader stands.
Error headerFault(DerReader reader) noexcept {
  Asn1Header header;
  const size_t at = reader.offset();
  if (reader.readHeader(header)) return Error::at(ErrorCode::notDer, at);
  return Error::at(ErrorCode::notAsn1, reader.fault().offset);
}

}  // namespace

std::optional<Error> derFault(Bytes bytes) noexcept {
  size_t elementsLeft = BerWalk::maxElements(bytes.size());
  DerWalk walk(bytes);
  Asn1Header header;
  do {
    if (!walk.take(header)) return headerFault(walk.reader());
    if (!hasFormOfType(header)) return Error::at(ErrorCode::notDer, walk.at());
    if (walk.depth() == kMaxAsn1Depth || elementsLeft-- == 0) {
      return Error::at(ErrorCode::tooLarge, walk.at());
    }
    const size_t next = walk.contentAt() + header.contentSize;
    if (walk.depth() == 0 && next != walk.endOffset()) {
      return Error::at(ErrorCode::trailingOctets, next);
    }
  } while (walk.moveOn(header));
  return std::nullopt;
}

}  // namespace velmora
