#pragma once

// Writes identifiers and lengths of DER.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/core/pod_array.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// The identifier octets of one element (X.690 §8.1.2).
struct DerIdentifier {
  uint32_t classAndForm;  // the bits of the first octet above the tag number
  uint32_t number;
};

inline DerIdentifier makeIdentifier(Asn1Class tagClass, bool constructed,
                                    uint32_t number) noexcept {
  return {static_cast<uint32_t>(tagClass) << 6 | (constructed ? asn1_identifier::kConstructed : 0U),
          number};
}

/// Appends one element in DER to a buffer, given element by element in the order of the octets. The
/// length of a constructed element is known behind its contents only, so there are two passes: the
/// first writes every primitive element whole and leaves the headers of the constructed ones out,
/// the second moves the pieces apart, from the last to the first, and puts these headers in
/// between. Time is proportional to the octets. What fails has marked the buffer, which then holds
/// octets that stand for nothing.
class DerWriter {
 public:
  explicit DerWriter(DataBuffer& der) noexcept : m_der(der) {}

  /// Makes room for a certificate, so that it does not come piece by piece.
  bool makeRoom() noexcept;

  /// How many constructed elements are open; at most kMaxAsn1Depth, which the caller sees to.
  size_t depth() const noexcept { return m_depth; }

  bool open(const DerIdentifier& id) noexcept;
  void close() noexcept;

  /// Writes a primitive element.
  bool put(const DerIdentifier& id, std::span<const unsigned char> content) noexcept;

  /// The same for contents that `make(out, size)` writes to `out`, where there is room for `most`
  /// octets. False, with the buffer not marked, when that gives false. The contents are written
  /// where they are to be if they are as long as they can be, and moved when their length turns
  /// out to take fewer octets.
  template <class Make>
  bool putMade(const DerIdentifier& id, size_t most, Make make) noexcept;

  /// The second pass, to be called once when everything is closed.
  bool finish() noexcept;

 private:
  // A constructed element: where its contents start while no headers are in between, and its own.
  struct Constructed {
    size_t start;
    size_t contentSize;
    size_t headersBefore;  // size of all headers put in before its own, to know those inside
    DerIdentifier identifier;
  };

  static constexpr size_t kMaxIdentifierSize = 6;  // 31 bits in septets, behind one octet

  static unsigned char* writeIdentifier(const DerIdentifier& id, unsigned char* out) noexcept;

  DataBuffer& m_der;
  size_t m_headersSize = 0;
  size_t m_depth = 0;
  PodArray<Constructed> m_constructed;
  std::array<size_t, kMaxAsn1Depth> m_open;  // indexes of the constructed elements that are open
};

inline unsigned char* DerWriter::writeIdentifier(const DerIdentifier& id,
                                                 unsigned char* out) noexcept {
  if (id.number < asn1_identifier::kLongTag) {
    *out = static_cast<unsigned char>(id.classAndForm | id.number);
    return out + 1;
  }
  *out++ = static_cast<unsigned char>(id.classAndForm | asn1_identifier::kLongTag);
  for (size_t septets = identifierSize(id.number) - 1; septets-- > 0;) {
    const uint32_t septet = id.number >> (7 * septets) & 0x7F;
    *out++ = static_cast<unsigned char>(septet | (septets == 0 ? 0U : 0x80U));
  }
  return out;
}

inline bool DerWriter::open(const DerIdentifier& id) noexcept {
  m_open[m_depth++] = m_constructed.size();
  if (m_constructed.push_back({m_der.size(), 0, m_headersSize, id})) return true;
  m_der.markFailed();
  return false;
}

inline void DerWriter::close() noexcept {
  Constructed& element = m_constructed[m_open[--m_depth]];
  const size_t headersInside = m_headersSize - element.headersBefore;
  element.contentSize = m_der.size() - element.start + headersInside;
  m_headersSize += identifierSize(element.identifier.number) + lengthSize(element.contentSize);
}

template <class Make>
bool DerWriter::putMade(const DerIdentifier& id, size_t most, Make make) noexcept {
  const size_t start = m_der.size();
  unsigned char* const element = m_der.extend(kMaxIdentifierSize + kMostLengthSize + most);
  if (element == nullptr) return false;
  unsigned char* const length = writeIdentifier(id, element);
  unsigned char* const guess = length + lengthSize(most);
  size_t size = 0;
  if (!make(guess, size)) return false;
  unsigned char* const contents = writeLength(size, length);
  if (contents != guess) std::memmove(contents, guess, size);
  m_der.truncate(start + static_cast<size_t>(contents + size - element));
  return true;
}

}  // namespace velmora
