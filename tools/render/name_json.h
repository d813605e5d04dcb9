#pragma once

#include <memory>

#include "tools/reading/input.h"

namespace velmora::tool {

/// Prints the whole name, one line each: a list of RDNs, each a list of {oid, name, value}. A value
/// that is not text, or not all of it, is null and has its DER beside it as "hex".
std::unique_ptr<CertificateVisitor> makePrintNameJson(bool issuer, Console& console);

}  // namespace velmora::tool
