#pragma once

// How certificates, and what is made like them, are held against DER.

#include <chrono>
#include <optional>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// Why octets are not one element of DER down to its last member: identifiers and lengths in their
/// shortest form, all types constructed or primitive as X.690 §10.2 wants them, nothing behind
/// (notAsn1, notDer, trailingOctets); and tooLarge beyond kMaxAsn1Depth elements inside one another
/// or BerWalk::maxElements in all. Nothing when they are. What primitive elements hold is not
/// looked at. Linear, without recursion, without memory.
VELMORA_API std::optional<Error> derFault(Bytes bytes) noexcept;

/// The moment of a UTCTime or GeneralizedTime, which is `element` whole: what Certificate::validity
/// reads, a fraction of a second left out. Nothing for any other octets.
VELMORA_API std::optional<std::chrono::sys_seconds> readTime(Bytes element) noexcept;

/// Whether such an element is YYMMDDHHMMSSZ or YYYYMMDDHHMMSSZ (RFC 5280 §4.1.2.5), of which every
/// reader reads the same moment. Others leave the hour, the second or the zone in doubt.
VELMORA_API bool isDerTime(Bytes element) noexcept;

}  // namespace velmora
