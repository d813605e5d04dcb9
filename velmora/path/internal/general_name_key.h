#pragma once

// General names as texts that are the same exactly if the names are, to index and compare them by.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/certificate/general_name.h"

namespace velmora {

/// A text that two general names have in common exactly if they are the same (RFC 5280 §7): DNS
/// names and the domains of e-mail addresses without case, directory names folded, all others octet
/// by octet, URIs too. None for a malformed name, which is the same as no other. Throws
/// std::bad_alloc.
std::optional<std::string> keyOf(const GeneralName& name);

/// The key of the directory name that one RDN more below a name makes, which is given folded. None
/// for an RDN that is none.
std::optional<std::string> keyBelow(std::string_view folded, const std::vector<Attribute>& rdn);

}  // namespace velmora
