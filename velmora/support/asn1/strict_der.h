#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/asn1/der_reader.h"

namespace velmora {

/// The octets of an identifier with that tag number (X.690 §8.1.2).
constexpr size_t identifierSize(uint32_t tagNumber) noexcept {
  return tagNumber < 0x1F ? 1 : 1 + (static_cast<size_t>(std::bit_width(tagNumber)) + 6) / 7;
}

/// The octets of a length in the form that DER demands (X.690 §8.1.3, §10.1).
constexpr size_t lengthSize(size_t contentSize) noexcept {
  return contentSize < 0x80 ? 1 : 1 + (static_cast<size_t>(std::bit_width(contentSize)) + 7) / 8;
}

/// Whether identifier and length take as few octets as DER allows.
bool hasShortestHeader(const Asn1Header& header) noexcept;

/// A non-owning cursor for what must be DER to the letter, because a signature, a key or a match
/// rests on it: each take names the element that must come next and moves past it, or gives false
/// and stays. Lengths are definite and in their shortest form, strings primitive.
class StrictDer {
 public:
  explicit StrictDer(std::span<const unsigned char> bytes = {}) noexcept : m_reader(bytes) {}

  bool atEnd() const noexcept { return m_reader.atEnd(); }

  /// A primitive element of a universal type.
  bool take(uint32_t universalTag, std::span<const unsigned char>& content) noexcept;

  /// A SEQUENCE; `members` reads what is in it.
  bool takeSequence(StrictDer& members) noexcept;

  /// An element [number], constructed.
  bool takeContext(uint32_t number, StrictDer& members) noexcept;

  /// An INTEGER in its shortest form (X.690 §8.3.2) that is not negative; `magnitude` is its
  /// big-endian value without a leading zero octet, and so empty for 0.
  bool takeUnsigned(std::span<const unsigned char>& magnitude) noexcept;

  /// The same above 0.
  bool takePositive(std::span<const unsigned char>& magnitude) noexcept;

  /// A BIT STRING of whole octets.
  bool takeOctetBits(std::span<const unsigned char>& octets) noexcept;

  /// A NULL, when one comes next; false when one does that has contents.
  bool takeNullIfPresent() noexcept;

  /// One element of any type, whose contents may be anything; `element` is all of it.
  bool takeAny(std::span<const unsigned char>& element) noexcept;

 private:
  bool takeElement(Asn1Class tagClass, uint32_t number, bool constructed,
                   std::span<const unsigned char>& content) noexcept;

  DerReader m_reader;
};

}  // namespace velmora
