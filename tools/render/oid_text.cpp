#include "tools/render/oid_text.h"

#include "tools/render/escape.h"
#include "tools/render/octets.h"
#include "velmora/support/text/whole.h"

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

DottedOid::DottedOid(Bytes content) {
  const NamedOid known = namedOid(octetsOf(content));
  m_text = known.dotted;
  m_name = known.name;
  if (!m_text.empty()) return;
  if (content.size() <= Oid::kMaxSize) {
    m_text = {m_usual, writeDottedOid(octetsOf(content), m_usual)};
  } else {
    oidToDotted(octetsOf(content), m_long);
    m_text = whole(m_long).view();
  }
}

}  // namespace velmora::tool
