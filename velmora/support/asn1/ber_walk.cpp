#include "velmora/support/asn1/ber_walk.h"

#include <algorithm>

#include "velmora/support/asn1/internal/asn1_xml_form.h"
#include "velmora/support/asn1/internal/der_writer.h"

namespace velmora {
namespace {

// Segments of octets and characters, put together.
class OctetSegments {
 public:
  explicit OctetSegments(DataBuffer& joined) noexcept : m_joined(joined) {}

  bool open() noexcept { return true; }
  bool add(std::span<const unsigned char> content) noexcept { return m_joined.append(content); }

 private:
  DataBuffer& m_joined;
};

// Segments of bits, put together behind one octet with the count of unused bits.
class BitSegments {
 public:
  explicit BitSegments(DataBuffer& joined) noexcept : m_joined(joined) { m_joined.appendChar(0); }

  // Nothing may follow unused bits.
  bool open() noexcept { return !m_joined.failed() && m_joined.data()[0] == 0; }

  bool add(std::span<const unsigned char> content) noexcept {
    if (!open() || content.empty() || content[0] > kMaxUnusedBits) return false;
    if (content.size() == 1 && content[0] != 0) return false;
    if (!m_joined.append(content.subspan(1))) return false;
    m_joined.data()[0] = content[0];
    return true;
  }

 private:
  DataBuffer& m_joined;
};

bool isStringInSegments(const Asn1Header& header) noexcept {
  return header.constructed && header.tagClass == Asn1Class::kUniversal &&
         isBerString(header.tagNumber);
}

bool writeElement(BerWalk& walk, const Asn1Header& header, std::span<const unsigned char> content,
                  DerWriter& writer, DataBuffer& joined) noexcept {
  bool constructed = header.constructed;
  if (isStringInSegments(header)) {
    constructed = !walk.joinString(header, joined);
    if (joined.failed()) return false;
    content = joined.span();
  }
  const DerIdentifier id = makeIdentifier(header.tagClass, constructed, header.tagNumber);
  return constructed ? writer.open(id) : writer.put(id, content);
}

bool writeElements(BerWalk& walk, DerWriter& writer, DataBuffer& joined) noexcept {
  for (;;) {
    Asn1Header header;
    std::span<const unsigned char> content;
    switch (walk.next(header, content)) {
      case BerStep::kElement:
        if (!writeElement(walk, header, content, writer, joined)) return false;
        break;
      case BerStep::kClose:
        writer.close();
        break;
      case BerStep::kEnd:
        return true;
      case BerStep::kFault:
        return false;
    }
  }
}

}  // namespace

bool scanBer(std::span<const unsigned char> bytes, size_t& size, bool& isDer,
             Asn1Fault& fault) noexcept {
  BerWalk walk(bytes);
  isDer = true;
  do {
    Asn1Header header;
    std::span<const unsigned char> content;
    const BerStep step = walk.next(header, content);
    if (step == BerStep::kFault) {
      fault = walk.fault();
      return false;
    }
    if (step == BerStep::kElement) {
      const bool isTwoOctets = header.headerSize == 2 && !header.indefinite;  // no fewer will do
      isDer = isDer && (isTwoOctets || hasShortestHeader(header)) && !isStringInSegments(header);
    }
  } while (walk.depth() != 0);
  size = walk.offset();
  return true;
}

bool berToDer(BerWalk& walk, DataBuffer& der) noexcept {
  const size_t start = der.size();
  DerWriter writer(der);
  DataBuffer joined;
  const bool done = writer.makeRoom() && writeElements(walk, writer, joined) && writer.finish();
  if (joined.failed()) der.markFailed();
  if (!done) der.truncate(start);
  return done;
}

bool isBerString(uint32_t universalTag) noexcept {
  switch (universalTag) {
    case asn1_tag::kBitString:
    case asn1_tag::kOctetString:
    case asn1_tag::kObjectDescriptor:
    case asn1_tag::kUtf8String:
    case asn1_tag::kBmpString:
      return true;
    default:  // NumericString to UniversalString, the time types among them
      return universalTag >= asn1_tag::kNumericString && universalTag <= asn1_tag::kUniversalString;
  }
}

bool BerWalk::joinString(const Asn1Header& header, DataBuffer& joined) noexcept {
  const auto known = m_notJoinable.begin();
  if (std::binary_search(known, known + static_cast<ptrdiff_t>(m_notJoinableCount),
                         m_open[m_depth - 1].start)) {
    return false;
  }
  joined.clear();
  if (header.is(asn1_tag::kBitString)) {
    BitSegments segments(joined);
    return joinSegments(segments);
  }
  OctetSegments segments(joined);
  return joinSegments(segments);
}

template <class Segments>
bool BerWalk::joinSegments(Segments& segments) noexcept {
  const DerReader atContents = m_reader;
  const size_t elementsLeft = m_elementsLeft;
  const size_t outer = m_depth;
  size_t innermost = outer;
  for (;;) {
    Asn1Header header;
    std::span<const unsigned char> content;
    const BerStep step = next(header, content);
    if (step == BerStep::kClose) {
      if (m_depth < outer) return true;
      innermost = m_depth;
      continue;
    }
    // Segments are octet strings, except that those of bits are bits (X.690 §8.23.6); some encoders
    // give segments of characters the type of the whole.
    const uint32_t type = m_open[innermost - 1].tagNumber;
    const bool fits = step == BerStep::kElement && header.tagClass == Asn1Class::kUniversal &&
                      (header.tagNumber == type || (header.tagNumber == asn1_tag::kOctetString &&
                                                    type != asn1_tag::kBitString));
    if (!fits || !(header.constructed ? segments.open() : segments.add(content))) break;
    innermost = m_depth;
  }
  m_notJoinableCount = 0;
  for (size_t i = outer - 1; i < innermost; ++i) {
    m_notJoinable[m_notJoinableCount++] = m_open[i].start;
  }
  m_depth = outer;
  m_reader = atContents;
  m_elementsLeft = elementsLeft;
  return false;
}

}  // namespace velmora
