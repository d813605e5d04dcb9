#pragma once

#include "tools/reading/chain_builder.h"
#include "tools/reading/input.h"

namespace velmora::tool {

/// What "verify" does not look at, in one line for people.
inline constexpr std::string_view kNotTheWhole =
    "Checked are signatures, dates and issuer links. This is not the whole of RFC 5280's\n"
    "path validation: no name or policy constraints, and no revocation.\n";

/// Appends what came of one certificate, for people, safe to print.
void appendChainText(std::string_view place, const Chain& chain, const VelmoraSysTime& at,
                     StringBuffer& out);

/// Appends the same as one line of JSON.
void appendChainJson(const InputPlace& input, const Chain& chain, const VelmoraSysTime& at,
                     StringBuffer& out);

}  // namespace velmora::tool
