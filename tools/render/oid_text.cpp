#include "tools/render/oid_text.h"

#include "tools/reading/whole.h"
#include "tools/render/escape.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/asn1/oids.h"

namespace velmora::tool {

namespace {

std::string_view wantedName(std::string_view dotted, OidStyle style) {
  return style == OidStyle::kNamed ? oidName(dotted) : std::string_view();
}

}  // namespace

void appendOid(std::string_view dotted, OidStyle style, StringBuffer& out) {
  const std::string_view name = wantedName(dotted, style);
  if (name.empty()) return appendPrintable(dotted, out);
  out.append(name);
  out.append(" (");
  out.append(dotted);
  out.appendChar(')');
}

void appendOidShort(std::string_view dotted, OidStyle style, StringBuffer& out) {
  const std::string_view name = wantedName(dotted, style);
  name.empty() ? appendPrintable(dotted, out) : static_cast<void>(out.append(name));
}

std::string dottedOid(Bytes content) {
  StringBuffer dotted;
  const auto* const octets = reinterpret_cast<const unsigned char*>(content.data());
  oidToDotted({octets, content.size()}, dotted);
  return std::string(whole(dotted).view());
}

}  // namespace velmora::tool
