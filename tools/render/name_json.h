#pragma once

// Names in JSON, RDN by RDN, beside the text in which they lose their structure.

#include <string_view>

#include "tools/render/json_writer.h"
#include "tools/render/name_text.h"

namespace velmora::tool {

/// Writes an attribute of a name as {oid, name, value} in a list: the name is the short one of
/// style 0, else that in the standards; a value that is no text is null and has its DER beside it
/// as "hex".
void writeAttribute(const ShownAttribute& attribute, JsonLine& line);

/// Writes the attributes of a name as a list of RDNs, each a list of these; null where there are
/// none because it is malformed.
void writeRdns(std::string_view key, const Attributes& attributes, JsonLine& line);

}  // namespace velmora::tool
