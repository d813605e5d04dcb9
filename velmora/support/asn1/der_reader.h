#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

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

/// How many elements may stand inside one another, the outermost and the innermost counted.
inline constexpr int kMaxAsn1Depth = 100;

/// Why bytes were refused: a constant text, and the offset of the octet at fault from the start of
/// the input.
struct Asn1Fault {
  const char* reason = nullptr;
  size_t offset = 0;
  bool noMemory = false;  // nothing is wrong with the input
};

/// A non-owning cursor over BER or DER: the one place where lengths are checked against the bytes
/// that are there. A failed read leaves the cursor where it was and sets the fault.
class DerReader {
 public:
  /// `base` is added to the offsets of faults, for a reader of a piece of a larger input.
  explicit DerReader(std::span<const unsigned char> bytes, size_t base = 0) noexcept
      : m_data(bytes.data()), m_end(bytes.size()), m_base(base) {}

  bool atEnd() const noexcept { return m_pos == m_end; }
  size_t offset() const noexcept { return m_base + m_pos; }
  /// Where the bytes within reach end.
  size_t endOffset() const noexcept { return m_base + m_end; }
  const Asn1Fault& fault() const noexcept { return m_fault; }

  /// Moves the end of the bytes within reach, to the end of the element whose members are read next
  /// and back. The offset lies neither before the cursor nor beyond the bytes given at the start.
  void limitTo(size_t endOffset) noexcept { m_end = endOffset - m_base; }

  /// Reads one header and moves past it, to the first octet of the contents. Accepts non-minimal
  /// and (on constructed elements) indefinite lengths; refuses a length beyond the bytes that are
  /// left, tag numbers above 2^31 - 1, and tag numbers that are not in their shortest form (X.690
  /// §8.1.2).
  bool readHeader(Asn1Header& header) noexcept {
    const size_t left = m_end - m_pos;
    if (left < 2) return readHeaderSlowly(header);
    // Nearly every header is two octets: a tag number below 31 and a length below 128.
    const unsigned first = m_data[m_pos];
    const unsigned size = m_data[m_pos + 1];
    if ((first & 0x1F) == 0x1F || size > 0x7F || size > left - 2) return readHeaderSlowly(header);
    header = {
        static_cast<Asn1Class>(first >> 6), (first & 0x20) != 0, false, first & 0x1F, 2, size};
    m_pos += 2;
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

  /// Moves past `count` octets, which must be there; gives them.
  std::span<const unsigned char> take(size_t count) noexcept {
    const std::span<const unsigned char> taken(m_data + m_pos, count);
    m_pos += count;
    return taken;
  }

  /// Reads one element of definite length and moves past it; `content` is what it holds.
  bool readElement(Asn1Header& header, std::span<const unsigned char>& content) noexcept;

 private:
  bool readHeaderSlowly(Asn1Header& header) noexcept;
  bool readIdentifier(Asn1Header& header, size_t& at) noexcept;
  bool readLongTagNumber(Asn1Header& header, size_t& at) noexcept;
  bool readLength(Asn1Header& header, size_t& at) noexcept;
  bool refuse(const char* reason, size_t position) noexcept;

  const unsigned char* m_data;
  size_t m_end;
  size_t m_base;
  size_t m_pos = 0;
  Asn1Fault m_fault;
};

}  // namespace velmora
