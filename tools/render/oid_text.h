#pragma once

#include <string>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// How OIDs are shown to people.
enum class OidStyle { kNamed, kNumbers };

/// Appends "name (1.2.3)", or the dotted OID alone when it has no name or numbers are wanted.
void appendOid(std::string_view dotted, OidStyle style, StringBuffer& out);

/// The same within a sentence: the name alone where there is one.
void appendOidShort(std::string_view dotted, OidStyle style, StringBuffer& out);

/// The dotted form of the content octets of an OID of any length; empty for one with an arc of more
/// than kMaxOidArcOctets.
std::string dottedOid(Bytes content);

}  // namespace velmora::tool
