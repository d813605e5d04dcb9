#include <string_view>

#include "velmora/support/core/known_oids.h"
#include "velmora/x509/internal/dn_names.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {
namespace {

// The JSON members know fewer styles than the text: the organization identifier has one key in all
// of them, and styles 4, 5 and 6 change nothing.
DnNameForm jsonForm(const DnAttribute& attribute, int nameStyle) {
  if (attribute.oid == known_oid::organizationIdentifier.dotted()) return DnNameForm::kShort;
  const bool hasMeaning = (nameStyle >= 1 && nameStyle <= 3) || nameStyle == 22;
  return attribute.form(hasMeaning ? nameStyle : 0);
}

DnAttributeName jsonKey(std::string_view oid, int nameStyle) {
  const DnAttribute& attribute = findDnAttribute(oid);
  return dnAttributeName(attribute, jsonForm(attribute, nameStyle), false, oid);
}

void appendPair(ClsXml& value, const DnAttributeName& name, StringBuffer& out, LogBase& log) {
  out.appendChar('"');
  out.append(name.prefix);
  out.append(name.name);
  out.append("\":\"");
  StringBuffer text;
  appendDnValue(value, name.hexValue, text, log);
  text.jsonEscape();
  out.append(text);
  out.appendChar('"');
}

}  // namespace

bool VelmoraX509::getDnJson(bool forSubject, StringBuffer& out, LogBase& log, int nameStyle) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "getDnJson");
  const TreeVisit name(m_certXml, namePath(forSubject));
  if (!name) return false;
  if (m_certXml->LastChild2()) {
    int rdnIndex = 0;
    do {
      appendToDnJson(*m_certXml, rdnIndex, nameStyle, out, log);
      ++rdnIndex;  // counts the RDNs visited, whether or not they gave a pair
    } while (m_certXml->PreviousSibling2());
  }
  return true;
}

// On malformed input the handle stays where the walk stopped, and the caller's goes on from there
// until its return to the root.
bool VelmoraX509::appendToDnJson(ClsXml& xml, int rdnIndex, int nameStyle, StringBuffer& out,
                                 LogBase& log) {
  if (!xml.tagEquals("set")) {
    log.LogError("DistinguishedName: Expected set.");
    return false;
  }
  if (xml.get_NumChildren() == 0) {
    log.LogError("DistinguishedName is empty.");
    return false;
  }
  xml.FirstChild2();
  if (!xml.tagEquals("sequence")) {
    log.LogError("DistinguishedName: Expected sequence.");
    return false;
  }
  xml.FirstChild2();
  if (!xml.tagEquals("oid")) {
    log.LogError("DistinguishedName: Expected oid.");
    return false;
  }
  const DnAttributeName key = jsonKey(xml.contentView(), nameStyle);
  if (xml.NextSibling2()) {
    if (rdnIndex > 0) out.appendChar(',');
    appendPair(xml, key, out, log);
  }
  xml.GetParent2();
  xml.GetParent2();
  return true;
}

}  // namespace velmora
