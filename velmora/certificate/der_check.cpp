#include "velmora/certificate/der.h"

#include <array>

#include "velmora/certificate/internal/octets.h"
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
  std::array<size_t, kMaxAsn1Depth> ends;  // of the elements around the one at hand
  size_t depth = 0;
  size_t elementsLeft = BerWalk::maxElements(bytes.size());
  DerReader reader(bytes);
  do {
    const size_t at = reader.offset();
    Asn1Header header;
    if (!reader.takeHeader(header)) return headerFault(reader);
    if (!hasFormOfType(header)) return Error::at(ErrorCode::notDer, at);
    if (depth == ends.size() || elementsLeft-- == 0) return Error::at(ErrorCode::tooLarge, at);
    const size_t next = reader.offset() + header.contentSize;
    if (depth == 0 && next != reader.endOffset()) {
      return Error::at(ErrorCode::trailingOctets, next);
    }
    if (header.constructed) {
      ends[depth++] = reader.endOffset();
      reader.limitTo(next);
    } else {
      reader.skip(header.contentSize);
    }
    while (reader.atEnd() && depth != 0) reader.limitTo(ends[--depth]);
  } while (depth != 0);
  return std::nullopt;
}

}  // namespace velmora
