#pragma once

#include <cstddef>
#include <span>

#include "velmora/support/asn1/der_reader.h"

namespace velmora {

/// One element of BER or DER inside a larger input.
struct Asn1Element {
  Asn1Header header;
  std::span<const unsigned char> bytes;    // identifier, length, contents and end-of-contents
  std::span<const unsigned char> content;  // the contents alone
  size_t offset = 0;                       // of the identifier, from the start of the input

  size_t contentOffset() const noexcept { return offset + header.headerSize; }
};

/// Gives the elements that stand in a row in some bytes, such as the members of a SEQUENCE, one
/// after the other. Indefinite lengths are understood. What is inside an element of definite length
/// is not looked at.
class Asn1Members {
 public:
  /// `base` is the offset of the first byte in the input.
  Asn1Members(std::span<const unsigned char> bytes, size_t base) noexcept
      : m_bytes(bytes), m_base(base) {}
  explicit Asn1Members(const Asn1Element& parent) noexcept
      : Asn1Members(parent.content, parent.contentOffset()) {}

  bool atEnd() const noexcept { return m_pos == m_bytes.size(); }
  /// Where the next element starts, from the start of the input.
  size_t offset() const noexcept { return m_base + m_pos; }
  const Asn1Fault& fault() const noexcept { return m_fault; }

  /// Moves past the next element; false at the end, and, with the fault set, where none starts.
  bool next(Asn1Element& element) noexcept;

 private:
  std::span<const unsigned char> m_bytes;
  size_t m_base;
  size_t m_pos = 0;
  Asn1Fault m_fault;
};

}  // namespace velmora
