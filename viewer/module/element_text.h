#pragma once

// One ASN.1 element in words.

#include <span>
#include <string_view>

#include "velmora/support/asn1/asn1_element.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::viewer {

/// As much of the start of some text in UTF-8 as fits into so many octets, cut between characters.
std::string_view startOf(std::string_view text, size_t most) noexcept;

/// Appends the same, with "…" behind it where that is not all.
void appendStart(std::string_view text, size_t most, StringBuffer& out);

/// Appends what an element is called in X.680: "SEQUENCE", "[3]", "[APPLICATION 1]".
void appendType(const Asn1Header& header, StringBuffer& out);

/// Appends the value of a primitive element in UTF-8, not made safe to show: texts, times and small
/// numbers as they are, OIDs with their names, else octets in hexadecimal. Of texts with more than
/// `most` octets and of hexadecimal beyond an eighth of it the start, with "…" behind it.
void appendValue(const Asn1Header& header, std::span<const unsigned char> content, size_t most,
                 StringBuffer& out);

}  // namespace velmora::viewer
