#pragma once

// What one element of BER or DER is made of (X.690 §8.1), and where it stands in its input.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/core/words.h"

namespace velmora {

enum class Asn1Class : uint8_t {
  kUniversal = 0,
  kApplication = 1,
  kContextSpecific = 2,
  kPrivate = 3
};

/// Tag numbers of the universal class (X.680 §8.4) that the code names.
namespace asn1_tag {
inline constexpr uint32_t kBoolean = 1, kInteger = 2, kBitString = 3, kOctetString = 4, kNull = 5,
                          kOid = 6, kObjectDescriptor = 7, kEnumerated = 10, kUtf8String = 12,
                          kSequence = 16, kSet = 17, kNumericString = 18, kPrintableString = 19,
                          kT61String = 20, kIa5String = 22, kUtcTime = 23, kGeneralizedTime = 24,
                          kVisibleString = 26, kUniversalString = 28, kBmpString = 30;
}  // namespace asn1_tag

/// What an identifier of one octet has beside its tag number, which is below 31 (X.690 §8.1.2).
namespace asn1_identifier {
inline constexpr uint32_t kConstructed = 0x20, kContext = 0x80,
                          kSequence = kConstructed | asn1_tag::kSequence,
                          kSet = kConstructed | asn1_tag::kSet;
/// In place of a tag number above 30, which follows.
inline constexpr uint32_t kLongTag = 0x1F;
/// The largest tag number there may be, which leaves readers a bit.
inline constexpr uint32_t kMaxTagNumber = 0x7FFFFFFF;
}  // namespace asn1_identifier

/// The identifier and length octets of one element (X.690 §8.1).
struct Asn1Header {
  Asn1Class tagClass = Asn1Class::kUniversal;
  bool constructed = false;
  bool indefinite = false;  // the contents then end at an end-of-contents element
  uint32_t tagNumber = 0;
  size_t headerSize = 0;   // octets of identifier and length
  size_t contentSize = 0;  // 0 when indefinite

  bool is(uint32_t universalTag) const noexcept {
    return tagClass == Asn1Class::kUniversal && tagNumber == universalTag;
  }
  bool isContext(uint32_t number) const noexcept {
    return tagClass == Asn1Class::kContextSpecific && tagNumber == number;
  }
};

/// The octets of an identifier with that tag number (X.690 §8.1.2).
constexpr size_t identifierSize(uint32_t tagNumber) noexcept {
  return tagNumber < asn1_identifier::kLongTag
             ? 1
             : 1 + (static_cast<size_t>(std::bit_width(tagNumber)) + 6) / 7;
}

/// The octets of a length in the form that DER demands (X.690 §8.1.3, §10.1).
constexpr size_t lengthSize(size_t contentSize) noexcept {
  return contentSize < 0x80 ? 1 : 1 + (static_cast<size_t>(std::bit_width(contentSize)) + 7) / 8;
}

/// The octets that a length takes at most.
inline constexpr size_t kMostLengthSize = 1 + sizeof(size_t);

/// Writes a length in the form that DER demands; gives what lies behind it.
inline unsigned char* writeLength(size_t contentSize, unsigned char* out) noexcept {
  if (contentSize < 0x80) {
    *out = static_cast<unsigned char>(contentSize);
    return out + 1;
  }
  size_t octets = lengthSize(contentSize) - 1;
  *out++ = static_cast<unsigned char>(0x80 | octets);
  while (octets-- > 0) *out++ = static_cast<unsigned char>(contentSize >> (8 * octets));
  return out;
}

/// Whether identifier and length take as few octets as DER allows.
constexpr bool hasShortestHeader(const Asn1Header& header) noexcept {
  return !header.indefinite &&
         header.headerSize == identifierSize(header.tagNumber) + lengthSize(header.contentSize);
}

/// One element of BER or DER inside a larger input, which has to outlive it.
struct Asn1Element {
  Asn1Header header;
  std::span<const std::byte> whole;    // identifier, length, contents and end-of-contents
  std::span<const std::byte> content;  // the contents alone
  size_t offset = 0;                   // of the identifier, from the start of the input

  size_t contentOffset() const noexcept { return offset + header.headerSize; }
  /// Primitive, of a universal type.
  bool is(uint32_t universalTag) const noexcept {
    return header.is(universalTag) && !header.constructed;
  }
  bool isSequence() const noexcept { return header.is(asn1_tag::kSequence) && header.constructed; }
  bool isSet() const noexcept { return header.is(asn1_tag::kSet) && header.constructed; }
};

/// The same octets in the other of the two types that octets come in.
inline std::span<const unsigned char> octetsOf(std::span<const std::byte> bytes) noexcept {
  return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

/// Whether the content octets of an INTEGER are those of a number below 0 (X.690 §8.3.3).
inline bool isNegativeInteger(std::span<const std::byte> content) noexcept {
  return !content.empty() && (content[0] & std::byte{0x80}) != std::byte{0};
}

/// Whether these are the content octets of an INTEGER in its shortest form (X.690 §8.3.2).
inline bool isShortestInteger(std::span<const std::byte> content) noexcept {
  if (content.size() < 2) return content.size() == 1;
  const std::byte padding{isNegativeInteger(content.subspan(1)) ? uint8_t{0xFF} : uint8_t{0}};
  return content[0] != padding;
}

/// The value of an INTEGER's content octets, of which there are eight at the most.
inline int64_t integerValue(std::span<const std::byte> content) noexcept {
  const size_t unusedBits = 64 - 8 * content.size();
  if (content.empty()) return 0;
  return static_cast<int64_t>(bigEndianNumber(content) << unusedBits) >> unusedBits;
}

}  // namespace velmora
