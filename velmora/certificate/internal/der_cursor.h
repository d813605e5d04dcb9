#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/internal/der_header.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora {

// How this floor reads DER: the cursor of support/asn1 over std::byte, with offsets from the start
// of the certificate.

inline std::span<const unsigned char> octetsOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}
inline Bytes bytesOf(std::span<const unsigned char> octets) noexcept {
  return std::as_bytes(octets);
}
inline std::string_view charactersOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// One element of DER.
struct DerElement {
  Asn1Header header;
  Bytes whole;  // identifier, length and contents
  Bytes content;
  uint32_t offset = 0;  // of the identifier

  uint32_t contentOffset() const noexcept {
    return offset + static_cast<uint32_t>(header.headerSize);
  }
  /// Primitive, of a universal type.
  bool is(uint32_t universalTag) const noexcept {
    return header.is(universalTag) && !header.constructed;
  }
  bool isSequence() const noexcept { return header.is(asn1_tag::kSequence) && header.constructed; }
  bool isSet() const noexcept { return header.is(asn1_tag::kSet) && header.constructed; }
  /// [number], constructed or primitive.
  bool isContext(uint32_t number, bool constructed) const noexcept {
    return header.isContext(number) && header.constructed == constructed;
  }
};

/// Gives the elements that stand in a row, such as the members of a SEQUENCE, one after the other.
/// Refused is what is no DER: lengths and identifiers that are not the shortest, and whatever
/// reaches beyond the octets that are there. A refused or missing element leaves the cursor where
/// it was.
class DerCursor {
 public:
  /// `offset` is that of the first octet in the certificate.
  DerCursor(Bytes bytes, uint32_t offset) noexcept : m_bytes(bytes), m_offset(offset) {}
  explicit DerCursor(const DerElement& parent) noexcept
      : DerCursor(parent.content, parent.contentOffset()) {}

  bool atEnd() const noexcept { return m_bytes.empty(); }
  /// Where the next element starts, or the members end.
  uint32_t offset() const noexcept { return m_offset; }

  /// Moves past the next element; false at the end and before what is no DER.
  bool next(DerElement& element) noexcept {
    DerSizes sizes;
    if (!readUsualHeader(octetsOf(m_bytes), sizes)) return nextUnusual(element);
    const auto identifier = std::to_integer<unsigned>(m_bytes[0]);
    element.header = {static_cast<Asn1Class>(identifier >> 6),
                      (identifier & kConstructed) != 0,
                      false,
                      identifier & kTagNumber,
                      sizes.header,
                      sizes.content};
    pass(element);
    return true;
  }

  /// Moves past the next element when it is of that kind; the tag number is below 31.
  bool take(uint32_t universalTag, DerElement& element) noexcept {
    return startsWith(universalTag) && next(element);
  }
  bool takeSequence(DerElement& element) noexcept {
    return startsWith(asn1_tag::kSequence | kConstructed) && next(element);
  }
  bool takeContext(uint32_t number, bool constructed, DerElement& element) noexcept {
    return startsWith(kContext | (constructed ? kConstructed : 0) | number) && next(element);
  }

 private:
  static constexpr uint32_t kConstructed = 0x20, kContext = 0x80, kTagNumber = 0x1F;

  bool startsWith(uint32_t identifier) const noexcept {
    return !m_bytes.empty() && std::to_integer<uint32_t>(m_bytes[0]) == identifier;
  }

  bool nextUnusual(DerElement& element) noexcept;

  // Moves past the element with that header.
  void pass(DerElement& element) noexcept {
    const size_t size = element.header.headerSize + element.header.contentSize;
    element.whole = m_bytes.first(size);
    element.content = element.whole.subspan(element.header.headerSize);
    element.offset = m_offset;
    m_bytes = m_bytes.subspan(size);
    m_offset += static_cast<uint32_t>(size);
  }

  Bytes m_bytes;
  uint32_t m_offset;
};

}  // namespace velmora
