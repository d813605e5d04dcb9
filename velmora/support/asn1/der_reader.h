#pragma once

// The DER cursor, and the tag numbers of X.680.

#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/asn1/asn1_element.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// How many elements may stand inside one another, the outermost and the innermost counted.
inline constexpr int kMaxAsn1Depth = 100;

/// How many octets a typed certificate and a CRL may have: offsets of 32 bits reach beyond.
inline constexpr size_t kMaxTypedOctets = 0x7FFFFFFF;

/// Why bytes were refused: a constant text, and the offset of the octet at fault from the start of
/// the input.
struct Asn1Fault {
  const char* reason = nullptr;
  size_t offset = 0;
  bool noMemory = false;  // nothing is wrong with the input
};

/// A non-owning cursor over BER or DER, with which every element is read: the one place where
/// lengths are checked against the bytes that are there. It goes from element to element, such as
/// the members of a SEQUENCE, and does not look into them.
///
/// What is called read is lenient and takes BER; it sets the fault when it fails. What is called
/// take is strict, for what a signature, a key or a match rests on: each names the element that
/// must come next, in DER to the letter, with identifier and length in their shortest form and
/// strings primitive, and tells by false alone that another one comes, or none. Whatever fails
/// leaves the cursor where it was.
class VELMORA_API DerReader {
 public:
  using Octets = std::span<const unsigned char>;

  DerReader() noexcept = default;
  /// `base` is the offset of the first octet in the input, for a reader of a piece of it.
  explicit DerReader(Octets bytes, size_t base = 0) noexcept
      : m_data(bytes.data()), m_end(bytes.size()), m_base(base) {}
  explicit DerReader(std::span<const std::byte> bytes, size_t base = 0) noexcept
      : DerReader(octetsOf(bytes), base) {}
  /// Over the members of a constructed element.
  explicit DerReader(const Asn1Element& parent) noexcept
      : DerReader(parent.content, parent.contentOffset()) {}

  bool atEnd() const noexcept { return m_pos == m_end; }
  /// Where the next element starts, or the members end.
  size_t offset() const noexcept { return m_base + m_pos; }
  /// Where the bytes within reach end.
  size_t endOffset() const noexcept { return m_base + m_end; }
  const Asn1Fault& fault() const noexcept { return m_fault; }

  /// Moves the end of the bytes within reach, to the end of the element whose members are read next
  /// and back. The offset lies neither before the cursor nor beyond the bytes given at the start.
  void limitTo(size_t endOffset) noexcept { m_end = endOffset - m_base; }

  /// Moves past `count` octets, which must be there; gives them.
  Octets skip(size_t count) noexcept {
    const Octets skipped(m_data + m_pos, count);
    m_pos += count;
    return skipped;
  }

  /// Reads one header and moves past it, to the first octet of the contents. Accepts non-minimal
  /// and (on constructed elements) indefinite lengths; refuses a length beyond the bytes that are
  /// left, tag numbers above 2^31 - 1, and tag numbers that are not in their shortest form (X.690
  /// §8.1.2).
  bool readHeader(Asn1Header& header) noexcept {
    if (!seeShortHeader(header)) return readHeaderSlowly(header);
    m_pos += kShortHeader;
    return true;
  }

  /// Looks at the next header without moving.
  bool peekHeader(Asn1Header& header) noexcept;

  /// Moves past an end-of-contents element (X.690 §8.1.5) when one stands here.
  bool skipEndOfContents() noexcept {
    if (m_end - m_pos < 2 || m_data[m_pos] != 0 || m_data[m_pos + 1] != 0) return false;
    m_pos += 2;
    return true;
  }

  /// Reads one element of definite length and moves past it; `content` is what it holds.
  bool readElement(Asn1Header& header, Octets& content) noexcept;

  /// The same of definite or indefinite length; what is inside the latter is walked to find its
  /// end, and refused where BerWalk refuses it.
  bool readElement(Asn1Element& element) noexcept;

  /// The header of an element of any type.
  bool takeHeader(Asn1Header& header) noexcept {
    if (!seeHeader(header)) return false;
    m_pos += header.headerSize;
    return true;
  }

  /// An element of any type, whose contents may be anything.
  bool takeAny(Asn1Element& element) noexcept {
    Asn1Header header;
    if (!seeHeader(header)) return false;
    element.header = header;
    element.offset = offset();
    element.whole = std::as_bytes(skip(header.headerSize + header.contentSize));
    element.content = element.whole.subspan(header.headerSize);
    return true;
  }

  /// Whether an element with this identifier, of one octet, starts here.
  bool startsWith(uint32_t identifier) const noexcept {
    return m_pos != m_end && m_data[m_pos] == identifier;
  }

  /// A primitive element of a universal type below 31.
  bool take(uint32_t universalTag, Asn1Element& element) noexcept {
    return startsWith(universalTag) && takeAny(element);
  }
  bool take(uint32_t universalTag, Octets& content) noexcept {
    Asn1Element element;
    if (!take(universalTag, element)) return false;
    content = octetsOf(element.content);
    return true;
  }

  bool takeSequence(Asn1Element& element) noexcept {
    return startsWith(asn1_identifier::kSequence) && takeAny(element);
  }
  /// `members` reads what is in it.
  bool takeSequence(DerReader& members) noexcept {
    Asn1Element element;
    if (!takeSequence(element)) return false;
    members = DerReader(element);
    return true;
  }

  /// An element [number], below 31.
  bool takeContext(uint32_t number, bool constructed, Asn1Element& element) noexcept {
    return startsWith(asn1_identifier::kContext |
                      (constructed ? asn1_identifier::kConstructed : 0) | number) &&
           takeAny(element);
  }
  bool takeContext(uint32_t number, DerReader& members) noexcept {
    Asn1Element element;
    if (!takeContext(number, true, element)) return false;
    members = DerReader(element);
    return true;
  }

  /// An INTEGER in its shortest form (X.690 §8.3.2) that is not negative; `magnitude` is its
  /// big-endian value without a leading zero octet, and so empty for 0.
  bool takeUnsigned(Octets& magnitude) noexcept;

  /// The same above 0.
  bool takePositive(Octets& magnitude) noexcept;

  /// A BIT STRING of whole octets.
  bool takeOctetBits(Octets& octets) noexcept;

  /// A NULL, when one comes next; false when one does that has contents.
  bool takeNullIfPresent() noexcept;

 private:
  static constexpr size_t kShortHeader = 2;

  // Looks at a header of two octets: a tag number below 31 and a length below 128.
  bool seeShortHeader(Asn1Header& header) const noexcept {
    const size_t left = m_end - m_pos;
    if (left < kShortHeader) return false;
    const unsigned first = m_data[m_pos];
    const unsigned size = m_data[m_pos + 1];
    if ((first & asn1_identifier::kLongTag) == asn1_identifier::kLongTag || size > 0x7F ||
        size > left - kShortHeader)
      return false;
    header = headerOf(first, kShortHeader, size);
    return true;
  }

  // Looks at a header in its shortest form with a tag number below 31 and a length of two octets or
  // three. With those above, these are nearly all of a certificate, which has a hundred.
  bool seeLongerHeader(Asn1Header& header) const noexcept {
    const unsigned char* const at = m_data + m_pos;
    const size_t left = m_end - m_pos;
    if (left < 4 || (at[0] & asn1_identifier::kLongTag) == asn1_identifier::kLongTag) return false;
    const bool isOfThree = at[1] == 0x82;
    const size_t headerSize = isOfThree ? 4 : 3;
    const size_t size = isOfThree ? static_cast<size_t>(at[2] << 8 | at[3]) : at[2];
    if (!isOfThree && at[1] != 0x81) return false;
    if (size < (isOfThree ? 0x100 : 0x80) || size > left - headerSize) return false;
    header = headerOf(at[0], headerSize, size);
    return true;
  }

  static Asn1Header headerOf(unsigned identifier, size_t headerSize, size_t size) noexcept {
    return {static_cast<Asn1Class>(identifier >> 6),
            (identifier & asn1_identifier::kConstructed) != 0,
            false,
            identifier & asn1_identifier::kLongTag,
            headerSize,
            size};
  }

  // Looks at the header of an element of DER. One that is longer still is read from a copy: this
  // cursor's fields can stay in registers, since no other function gets to see them.
  bool seeHeader(Asn1Header& header) const noexcept {
    if (seeShortHeader(header) || seeLongerHeader(header)) return true;
    Asn1Header longest;
    if (!seeLongestHeader({m_data + m_pos, m_end - m_pos}, longest)) return false;
    header = longest;
    return true;
  }
  static bool seeLongestHeader(Octets bytes, Asn1Header& header) noexcept;

  bool readHeaderSlowly(Asn1Header& header) noexcept;
  bool readIdentifier(Asn1Header& header, size_t& at) noexcept;
  bool readLongTagNumber(Asn1Header& header, size_t& at) noexcept;
  bool readLength(Asn1Header& header, size_t& at) noexcept;
  bool refuse(const char* reason, size_t position) noexcept;

  const unsigned char* m_data = nullptr;
  size_t m_end = 0;
  size_t m_base = 0;
  size_t m_pos = 0;
  Asn1Fault m_fault;
};

}  // namespace velmora
