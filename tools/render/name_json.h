#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "tools/reading/input.h"
#include "tools/render/json_writer.h"
#include "velmora/certificate/name.h"

namespace velmora::tool {

/// Prints the whole name, one line each: a list of RDNs, each a list of {oid, name, value}. A value
/// that is not text, or not all of it, is null and has its DER beside it as "hex".
std::unique_ptr<CertificateVisitor> makePrintNameJson(bool issuer, Console& console);

/// Writes an attribute of a name as {oid, name, value} in a list; a value that is no text is null
/// and has its DER beside it as "hex".
void writeAttribute(const Attribute& attribute, JsonLine& line);

/// Writes the attributes of a name as a list of RDNs, each a list of these; null where there are
/// none because it is malformed.
void writeRdns(std::string_view key, const Result<std::vector<Attribute>>& attributes,
               JsonLine& line);

}  // namespace velmora::tool
