#include "velmora/certificate/internal/extension_reader.h"

#include <algorithm>
#include <limits>

#include "velmora/certificate/der.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/text_reader.h"

namespace velmora {

size_t ExtensionReader::count() const noexcept {
  DerReader look = m_members;
  Asn1Element skipped;
  size_t count = 0;
  while (look.takeAny(skipped)) ++count;
  return count;
}

bool ExtensionReader::booleanOrFalse(Tag tag) noexcept {
  if (!isNext(tag)) return false;
  const Asn1Element taken = primitive(tag);
  const Bytes content = taken.content;
  if (content.size() != 1) {
    refuse(taken.offset);
    return false;
  }
  if (content[0] == std::byte{0}) look();
  if (content[0] != std::byte{0} && content[0] != std::byte{0xFF}) object(taken.offset);
  return content[0] != std::byte{0};
}

Bytes ExtensionReader::integerOctets(Tag tag) noexcept {
  const Asn1Element taken = primitive(tag);
  if (taken.content.empty()) refuse(taken.offset);
  if (!isShortestInteger(taken.content)) object(taken.offset);
  return taken.content;
}

uint64_t ExtensionReader::unsignedInteger(Tag tag) noexcept {
  const size_t at = offset();
  Bytes octets = integerOctets(tag);
  if (isNegativeInteger(octets)) refuse(at);
  if (m_source.fault) return 0;
  while (!octets.empty() && octets[0] == std::byte{0}) octets = octets.subspan(1);
  if (octets.size() > sizeof(uint64_t)) return std::numeric_limits<uint64_t>::max();
  return bigEndianNumber(octets);
}

int64_t ExtensionReader::integer() noexcept {
  using Limits = std::numeric_limits<int64_t>;
  const Bytes octets = integerOctets();
  if (octets.size() <= sizeof(int64_t)) return integerValue(octets);
  return isNegativeInteger(octets) ? Limits::min() : Limits::max();
}

// X.690 §8.6.2 and §11.2.1: an octet that counts the unused bits of the last one, which are 0, and
// the bits, highest first.
uint16_t ExtensionReader::namedBits(Tag tag) noexcept {
  constexpr size_t kNamed = 9;
  const Asn1Element taken = primitive(tag);
  const Bytes content = taken.content;
  if (content.empty()) {
    refuse(taken.offset);
    return 0;
  }
  const auto unused = std::to_integer<unsigned>(content[0]);
  const auto last = std::to_integer<unsigned>(content.back());
  const bool fits =
      content.size() == 1 ? unused == 0 : unused < 8 && (last & ((1U << unused) - 1)) == 0;
  if (!fits) refuse(taken.offset);
  if ((last >> (unused & 7) & 1) == 0) look();
  unsigned bits = 0;
  for (size_t i = 0; i < std::min(8 * (content.size() - 1), kNamed); ++i) {
    const auto octet = std::to_integer<unsigned>(content[1 + i / 8]);
    bits |= (octet >> (7 - i % 8) & 1) << i;
  }
  return static_cast<uint16_t>(bits);
}

void ExtensionReader::null() noexcept {
  const Asn1Element taken = primitive(universal(asn1_tag::kNull));
  if (!taken.content.empty()) refuse(taken.offset);
}

Bytes ExtensionReader::objectId(Tag tag) noexcept {
  const Asn1Element taken = primitive(tag);
  if (!isOid(taken.content)) refuse(taken.offset);
  return taken.content;
}

std::string ExtensionReader::ascii(Tag tag) {
  const Asn1Element taken = primitive(tag);
  const auto isAscii = [](std::byte octet) { return octet < std::byte{0x80}; };
  if (!std::all_of(taken.content.begin(), taken.content.end(), isAscii)) object(taken.offset);
  return keeps() ? std::string(charactersOf(taken.content)) : std::string();
}

std::string ExtensionReader::text(std::initializer_list<TextKind> kinds) {
  const Asn1Element taken = element();
  const TextKind kind = textKindOf(taken);
  const bool fits = std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
  if (m_source.fault || !fits) {
    refuse(taken.offset);
    return {};
  }
  return keeps() ? utf8Of(kind, taken.content) : std::string();
}

Bytes ExtensionReader::any() noexcept {
  const Asn1Element taken = element();
  look();
  if (m_source.fault) return {};
  if (const auto fault = derFault(taken.whole)) refuse(taken.offset + fault->offset);
  return taken.whole;
}

}  // namespace velmora
