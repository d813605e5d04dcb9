#include "tools/render/oid_text.h"

#include "velmora/support/text/whole.h"

namespace velmora::tool {

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

void appendOid(const DottedOid& id, OidStyle style, StringBuffer& out) {
  appendOidShort(id, style, out);
  if (style == OidStyle::kNamed && !id.name().empty()) print(out, " (", id.text(), ')');
}

void appendOidShort(const DottedOid& id, OidStyle style, StringBuffer& out) {
  print(out, style == OidStyle::kNamed ? id.nameOrText() : id.text());
}

void writeOid(const DottedOid& id, JsonLine& line) {
  line.word("oid", id.text());
  line.word("name", id.name());
}

}  // namespace velmora::tool
