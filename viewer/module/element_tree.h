#pragma once

// Every ASN.1 element of a certificate with its place, for a tree beside the octets.

#include <span>

#include "velmora/support/text/string_buffer.h"

namespace velmora::viewer {

/// The most elements that are listed; what lies behind them is told to be there, and not shown.
inline constexpr size_t kMostElements = 100'000;

/// Appends one JSON object on a line: {elements, more}. An element is the list [offset, octets of
/// identifier and length, octets of contents, depth, type, field, value]: the field as RFC 5280
/// §4.1 names it or an extension's name, the value as text, each of at most 256 octets and perhaps
/// empty. What an OCTET STRING or BIT STRING holds in DER stands below it like a member. `more` is
/// whether there are elements beyond kMostElements, or octets that are no BER.
void appendElements(std::span<const unsigned char> certificate, StringBuffer& out);

/// Appends all of the value of the primitive element at an offset, where one starts there.
void appendWholeValue(std::span<const unsigned char> certificate, size_t offset, StringBuffer& out);

}  // namespace velmora::viewer
