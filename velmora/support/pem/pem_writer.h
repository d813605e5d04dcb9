#pragma once

// Writes PEM blocks.

#include <span>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// Appends a PEM block (RFC 7468 §2) with lines of 64 characters; `out` is marked when memory ran
/// out.
VELMORA_API void appendPem(std::string_view label, std::span<const unsigned char> der,
                           StringBuffer& out);

}  // namespace velmora
