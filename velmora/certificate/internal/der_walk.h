#pragma once

// Walks over all elements of what may be nothing but DER.

#include <array>

#include "velmora/certificate/bytes.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora {

/// Walks over one element and everything inside it in the order of the bytes, without recursion,
/// as long as identifiers and lengths are in their shortest form. It stands on the cursor's strict
/// take as BerWalk does on its lenient read, and is apart from that because it needs to know of
/// neither indefinite lengths nor strings in segments: every certificate is parsed with this walk.
///
///     do {
///       if (!walk.take(header)) ...
///       ...
///     } while (walk.moveOn(header));
class DerWalk {
 public:
  explicit DerWalk(Bytes bytes) noexcept : m_reader(bytes) {}

  /// Takes the header of the next element; false when no header of DER stands there.
  bool take(Asn1Header& header) noexcept {
    m_at = m_reader.offset();
    return m_reader.takeHeader(header);
  }

  /// Moves on from there: to the first member of a constructed element, else past the contents.
  /// False at the end of all. There is no room for a constructed one at depth() == kMaxAsn1Depth.
  bool moveOn(const Asn1Header& header) noexcept {
    if (header.constructed) {
      m_ends[m_depth++] = m_reader.endOffset();
      m_reader.limitTo(m_reader.offset() + header.contentSize);
    } else {
      m_reader.skip(header.contentSize);
    }
    while (m_reader.atEnd() && m_depth != 0) m_reader.limitTo(m_ends[--m_depth]);
    return m_depth != 0;
  }

  /// Where the element starts whose header was taken, or should have been.
  size_t at() const noexcept { return m_at; }
  /// Where the contents start of the one whose header was taken.
  size_t contentAt() const noexcept { return m_reader.offset(); }
  /// Where the element ends that is around it.
  size_t endOffset() const noexcept { return m_reader.endOffset(); }
  /// How many elements are around it.
  size_t depth() const noexcept { return m_depth; }
  /// The cursor, as it stands there.
  const DerReader& reader() const noexcept { return m_reader; }

 private:
  DerReader m_reader;
  size_t m_at = 0;
  size_t m_depth = 0;
  std::array<size_t, kMaxAsn1Depth> m_ends;
};

}  // namespace velmora
