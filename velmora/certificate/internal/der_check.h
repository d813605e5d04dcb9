#pragma once

// Says whether octets are DER all the way down.

#include <optional>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/result.h"

namespace velmora {

/// Why octets are not one element of DER down to its last member: identifiers and lengths in their
/// shortest form, all types constructed or primitive as X.690 §10.2 wants them, nothing behind
/// (notAsn1, notDer, trailingOctets); and tooLarge beyond kMaxAsn1Depth elements inside one another
/// or BerWalk::maxElements in all. Nothing when they are. What primitive elements hold is not
/// looked at. Linear, without recursion, without memory.
std::optional<Error> derFault(Bytes bytes) noexcept;

}  // namespace velmora
