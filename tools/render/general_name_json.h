#pragma once

#include <string_view>
#include <vector>

#include "tools/render/json_writer.h"
#include "velmora/certificate/general_name.h"

namespace velmora::tool {

/// Writes a general name as {type, value}; of a malformed one the value is null and the member
/// "malformed" has its DER in base64. docs/command-line.md describes the types.
void writeGeneralName(std::string_view key, const velmora::GeneralName& name, JsonLine& line);

/// Writes a list of them.
void writeGeneralNames(std::string_view key, const std::vector<velmora::GeneralName>& names,
                       JsonLine& line);

}  // namespace velmora::tool
