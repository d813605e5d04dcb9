#pragma once

#include <vector>

#include "velmora/certificate/name.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// The attributes of a name, or the error of a malformed one.
using Attributes = Result<std::vector<Attribute>>;

/// Appends a name in style 0 (docs/formats.md), as VelmoraX509 has it, also a malformed one.
/// `attributes` are those of the name. False, with nothing appended, for a name that holds too much
/// to be read as a tree, where it has to be.
bool appendName(const Name& name, const Attributes& attributes, StringBuffer& out);

/// Whether two names are the same, attribute by attribute: text as it is spelled, whether in a
/// UTF8String, PrintableString or IA5String, and all else octet by octet. No empty or malformed
/// name is the same as another.
bool isSameName(const Attributes& a, const Attributes& b);

}  // namespace velmora::tool
