#include "velmora/certificate/internal/der_check.h"

#include <array>

#include "velmora/certificate/internal/der_cursor.h"
#include "velmora/certificate/internal/der_header.h"
#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/strict_der.h"

namespace velmora {
namespace {

using Span = std::span<const unsigned char>;

constexpr unsigned char kConstructed = 0x20;
constexpr unsigned char kLongTag = 0x1F;

// The identifiers of universal types below 31 that DER has: five types are constructed, of all
// others there is the primitive form alone (X.690 §8 and §10.2), and 0 is no type.
constexpr uint64_t universalIdentifiers() {
  constexpr uint32_t kExternal = 8, kEmbeddedPdv = 11, kCharacterString = 29;
  uint64_t identifiers = 0x7FFFFFFE;
  for (const uint32_t tag :
       {kExternal, kEmbeddedPdv, asn1_tag::kSequence, asn1_tag::kSet, kCharacterString}) {
    identifiers ^= uint64_t{1} << tag | uint64_t{1} << (tag | kConstructed);
  }
  return identifiers;
}

bool hasFormOfType(unsigned char identifier) noexcept {
  constexpr uint64_t kIdentifiers = universalIdentifiers();
  return identifier >= 64 || (identifier & kLongTag) == kLongTag ||
         (kIdentifiers >> identifier & 1) != 0;
}

// Reads a header that is not usual, which an element of DER may have all the same.
std::optional<Error> readHeader(Span octets, size_t at, DerSizes& sizes) noexcept {
  DerReader reader(octets, at);
  Asn1Header header;
  if (!reader.readHeader(header)) return Error::at(ErrorCode::notAsn1, reader.fault().offset);
  if (!hasShortestHeader(header)) return Error::at(ErrorCode::notDer, at);
  sizes = {header.headerSize, header.contentSize};
  return std::nullopt;
}

}  // namespace

std::optional<Error> derFault(Bytes bytes) noexcept {
  const Span octets = octetsOf(bytes);
  std::array<size_t, kMaxAsn1Depth> ends;  // of the elements around the one at hand
  size_t depth = 0;
  size_t at = 0;
  size_t end = octets.size();
  size_t elementsLeft = BerWalk::maxElements(octets.size());
  do {
    DerSizes sizes;
    const Span rest = octets.subspan(at, end - at);
    if (!readUsualHeader(rest, sizes)) {
      if (const auto fault = readHeader(rest, at, sizes)) return fault;
    }
    const unsigned char identifier = octets[at];
    if (!hasFormOfType(identifier)) return Error::at(ErrorCode::notDer, at);
    if (depth == ends.size() || elementsLeft-- == 0) return Error::at(ErrorCode::tooLarge, at);
    at += sizes.header;
    const size_t next = at + sizes.content;
    if (depth == 0 && next != end) return Error::at(ErrorCode::trailingOctets, next);
    if ((identifier & kConstructed) != 0) {
      ends[depth++] = end;
      end = next;
    } else {
      at = next;
    }
    while (at == end && depth != 0) end = ends[--depth];
  } while (depth != 0);
  return std::nullopt;
}

}  // namespace velmora
