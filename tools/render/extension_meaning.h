#pragma once

#include "tools/reading/certificate_tree.h"
#include "tools/render/oid_text.h"

namespace velmora::tool {

/// Appends what an extension says, on one line for people and safe to print: in words for those of
/// RFC 5280 §4.2 that are met most, of others how many bytes there are.
void appendMeaning(const ListedExtension& extension, OidStyle style, StringBuffer& out);

}  // namespace velmora::tool
