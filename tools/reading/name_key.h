#pragma once

#include <string>

#include "tools/reading/certificate_tree.h"

namespace velmora::tool {

/// A key by which names are compared: every attribute of every RDN in order, octet by octet; string
/// types that spell one text alike make no difference. Empty for a name that is empty or malformed,
/// which equals no other. The handle stands on the name, and does so afterwards.
std::string nameKey(ClsXml& name);

}  // namespace velmora::tool
