#pragma once

// Walks over all elements of some BER without recursion.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// What BerWalk came to.
enum class BerStep : uint8_t {
  kElement,  // an element; when it is constructed, its members follow and then a kClose
  kClose,    // the end of the constructed element that was opened last
  kEnd,      // the end of the input, right behind the one element that it holds
  kFault
};

/// Walks one element of BER (X.690 §8) and everything inside it in the order of the bytes, without
/// recursion: lengths definite or indefinite, each checked against the element around it. Refused
/// are nesting beyond kMaxAsn1Depth, a missing end-of-contents and octets behind the element, and
/// more than 65,536 elements and one for every four octets of the input, since an element costs
/// much more memory than its smallest form takes. Time is proportional to the input, also when its
/// strings are in segments and nested in a hostile way.
class BerWalk {
 public:
  explicit BerWalk(std::span<const unsigned char> bytes) noexcept
      : BerWalk(bytes, maxElements(bytes.size())) {}

  /// The same with another limit, for bytes whose elements take no more memory.
  BerWalk(std::span<const unsigned char> bytes, size_t mostElements) noexcept
      : m_reader(bytes), m_inputEnd(bytes.size()), m_elementsLeft(mostElements) {}

  /// The elements that any input may have, and the octets for which it may have one more.
  static constexpr size_t kElementsOfAny = 65'536, kOctetsForOneMore = 4;
  /// How many elements there may be in so many octets.
  static constexpr size_t maxElements(size_t octets) noexcept {
    return kElementsOfAny + octets / kOctetsForOneMore;
  }

  /// Moves on. At kElement `header` is that of the element and `content`, when it is primitive,
  /// what it holds.
  BerStep next(Asn1Header& header, std::span<const unsigned char>& content) noexcept {
    if (m_depth != 0) {
      const Open& innermost = m_open[m_depth - 1];
      if (innermost.indefinite ? m_reader.skipEndOfContents() : m_reader.atEnd()) return close();
      if (m_reader.atEnd()) return refuse("The end-of-contents octets are missing.");
    } else if (m_reader.offset() != 0) {
      return m_reader.atEnd() ? BerStep::kEnd : refuse("Octets follow the outermost element.");
    }
    if (m_depth == m_open.size()) return refuse("Elements are nested too deeply.");
    if (m_elementsLeft-- == 0) return refuse("There are too many elements for so few octets.");
    const size_t start = m_reader.offset();
    if (!m_reader.readHeader(header)) return refuse(m_reader.fault());
    if (header.constructed) {
      open(header, start);
    } else {
      content = m_reader.skip(header.contentSize);
    }
    return BerStep::kElement;
  }

  /// How many constructed elements are open.
  size_t depth() const noexcept { return m_depth; }

  /// Where the walk stands in the input.
  size_t offset() const noexcept { return m_reader.offset(); }

  const Asn1Fault& fault() const noexcept { return m_fault; }

  /// To be called right after the header of a constructed element of a universal string type:
  /// replaces `joined` by the contents of the primitive form (X.690 §8.6.4, §8.7.3, §8.23) and
  /// moves past the element, whose kClose then does not come. False, with the walk where it was,
  /// when the element is not a string in segments: a segment of another type, a segment of bits
  /// that is malformed or has unused bits and is not the last, or broken BER, which the walk over
  /// the members will then refuse; its elements then count as not seen. False with joined.failed()
  /// when memory ran out.
  bool joinString(const Asn1Header& header, DataBuffer& joined) noexcept;

 private:
  // A constructed element around the place of the walk.
  struct Open {
    size_t start;  // of its identifier
    size_t end;    // when indefinite, the end of what is around it
    uint32_t tagNumber;
    bool indefinite;
  };

  void open(const Asn1Header& header, size_t start) noexcept {
    const size_t end =
        header.indefinite ? m_reader.endOffset() : m_reader.offset() + header.contentSize;
    m_open[m_depth++] = {start, end, header.tagNumber, header.indefinite};
    m_reader.limitTo(end);
  }

  BerStep close() noexcept {
    --m_depth;
    m_reader.limitTo(m_depth == 0 ? m_inputEnd : m_open[m_depth - 1].end);
    return BerStep::kClose;
  }

  BerStep refuse(const Asn1Fault& fault) noexcept {
    m_fault = fault;
    return BerStep::kFault;
  }
  BerStep refuse(const char* reason) noexcept { return refuse({reason, m_reader.offset()}); }

  template <class Segments>
  bool joinSegments(Segments& segments) noexcept;

  DerReader m_reader;
  size_t m_inputEnd;
  size_t m_elementsLeft;
  size_t m_depth = 0;

  Asn1Fault m_fault;
  std::array<Open, kMaxAsn1Depth> m_open;

  // Where the elements start that were open around the segment at which joinString failed last:
  // none of them can be joined, and without this each would be scanned again, once for each level.
  std::array<size_t, kMaxAsn1Depth> m_notJoinable;
  size_t m_notJoinableCount = 0;
};

/// Walks the element that `bytes` start with down to its last member. `size` becomes its octets,
/// and `isDer` whether DerXmlCodec would encode it as it stands: all lengths definite and shortest,
/// all strings primitive. False, with `fault` set, for what BerWalk refuses; what follows the
/// element is not looked at. Takes no memory that depends on the input.
bool scanBer(std::span<const unsigned char> bytes, size_t& size, bool& isDer,
             Asn1Fault& fault) noexcept;

/// Appends the DER of the element that a fresh walk walks to `der`: lengths in their shortest form,
/// strings primitive, nothing else changed; strings in segments that joinString cannot join stay
/// constructed. False, with the octets of `der` as they were, when the walk fails, which has the
/// fault, or memory ran out, which marks `der`. Time and memory are proportional to the input.
bool berToDer(BerWalk& walk, DataBuffer& der) noexcept;

/// Whether elements of this universal type are strings in the sense of BER: they may come in
/// segments (X.690 §8.6, §8.7, §8.23; the time types and ObjectDescriptor are strings too).
bool isBerString(uint32_t universalTag) noexcept;

}  // namespace velmora
