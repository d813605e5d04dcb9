#pragma once

#include <span>
#include <string_view>

#include "tools/render/json_writer.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora::tool {

/// One general name (RFC 5280 §4.2.1.6).
struct GeneralName {
  enum class Form {
    kText,         // `text`: of an e-mail address, DNS name or URI its octets, of the others a
                   // rendering in UTF-8
    kOtherText,    // otherName: `text` of the type `oid`
    kOtherOctets,  // otherName: `octets`, DER of the type `oid`
    kOctets,       // of a type without a text: `octets`, the DER of the whole general name
    kMalformed     // `octets`: the same, of what is not what its type says
  };

  std::string_view type;  // otherName, email, dns, x400, directory, ediParty, uri, ip, registeredId
  Form form = Form::kText;
  StringBuffer oid;
  StringBuffer text;
  DataBuffer octets;
};

/// Reads the general name at the handle, which is back afterwards.
void readGeneralName(ClsXml& at, GeneralName& name);

/// The name as {type, value}; of a malformed one the value is null and the member "malformed" has
/// its DER in base64.
void writeGeneralName(const GeneralName& name, JsonLine& line);

/// The name for people: the type and the value, safe to print; the second as one of several items
/// of a line. A malformed one has "malformed" in front, where no value can stand.
void appendGeneralName(const GeneralName& name, OidStyle style, StringBuffer& out);
void appendGeneralNameItem(const GeneralName& name, OidStyle style, StringBuffer& out);

/// Appends an IP address as RFC 5952 §4 and §5 write it (of IPv4 as usual) with "/" and the mask
/// behind it where there is one: its length or, with a gap in it, the mask itself. False for octets
/// that are neither 4, 8, 16 nor 32.
bool appendIpAddress(std::span<const unsigned char> octets, StringBuffer& out);

}  // namespace velmora::tool
