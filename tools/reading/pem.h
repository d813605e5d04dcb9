#pragma once

#include <span>
#include <string_view>

#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Appends a PEM block (RFC 7468 §2) with lines of 64 characters.
void appendPem(std::string_view label, std::span<const unsigned char> der, StringBuffer& out);

}  // namespace velmora::tool
