#pragma once

// OIDs between content octets and dotted text.

#include <cstddef>
#include <span>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// Object identifiers as content octets (X.690 §8.19) and as dotted decimal. An arc may take up to
/// kMaxOidArcOctets octets, where a UUID takes 19: turning a number of n digits from binary to
/// decimal costs n * n steps, so that hostile input has to meet a bound.
inline constexpr size_t kMaxOidArcOctets = 512;

/// Appends the dotted decimal form of content octets. False, with `out` as it was, when the octets
/// are not in their one valid form (empty, a padded arc, a cut one), when an arc is longer than
/// kMaxOidArcOctets, and when memory ran out.
VELMORA_API bool oidToDotted(std::span<const unsigned char> content, StringBuffer& out) noexcept;

/// Appends the content octets of a dotted OID. False, with `out` as it was, for text that is no OID
/// (fewer than two arcs, a first arc above 2, a second above 39 under 0 and 1, leading zeros, any
/// other character), for an arc that would take more than kMaxOidArcOctets, and when memory ran
/// out.
VELMORA_API bool dottedToOid(std::string_view dotted, DataBuffer& out) noexcept;

/// The room that the dotted form of `octets` content octets takes at most.
constexpr size_t maxDottedSize(size_t octets) noexcept {
  return 4 * octets;
}

/// As oidToDotted, into memory with room for maxDottedSize(content.size()) characters. Gives the
/// number of characters, 0 when the octets were refused.
VELMORA_API size_t writeDottedOid(std::span<const unsigned char> content, char* out) noexcept;

/// As dottedToOid, into memory with room for dotted.size() octets. Gives the number of octets, 0
/// when the text was refused.
VELMORA_API size_t writeOidContent(std::string_view dotted, unsigned char* out) noexcept;

}  // namespace velmora
