#pragma once

// The keywords of attribute types in the text of names (RFC 4514 §3).

#include <string_view>

#include "velmora/certificate/bytes.h"

namespace velmora {

/// The keyword of a type given by its content octets; empty when it has none.
std::string_view keywordOf(Bytes type) noexcept;

/// The content octets of the type with that keyword, in any letter case; empty for other text. They
/// live as long as the program.
Bytes typeOfKeyword(std::string_view keyword) noexcept;

}  // namespace velmora
