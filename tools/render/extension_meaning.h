#pragma once

// Extensions in words, for the rows of "show".

#include <string_view>

#include "tools/render/oid_text.h"
#include "velmora/certificate/certificate.h"

namespace velmora::tool {

/// The bits of keyUsage by name (RFC 5280 §4.2.1.3), bit 0 first.
inline constexpr std::string_view kKeyUses[] = {
    "digitalSignature", "nonRepudiation", "keyEncipherment", "dataEncipherment", "keyAgreement",
    "keyCertSign",      "cRLSign",        "encipherOnly",    "decipherOnly"};

/// Appends what an extension of the certificate says in a few words, safe to print and on one line,
/// or how many bytes it has.
void appendMeaning(const Certificate& certificate, const Extension& extension, OidStyle style,
                   StringBuffer& out);

}  // namespace velmora::tool
