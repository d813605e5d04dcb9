#include <string_view>

#include "velmora/support/core/known_oids.h"
#include "velmora/x509/internal/dn_names.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

// Names (RFC 5280 §4.1.2.4) as one line of text:
//
//   Name ::= SEQUENCE OF RelativeDistinguishedName
//   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
//   AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }

namespace velmora {
namespace {

// The style with "OID."-prefixed names, whose separator has no space.
constexpr int kPrefixedStyle = 22;
// The style that tells the attributes of one RDN from RDNs.
constexpr int kPlusStyle = 6;

// What most names fit into without growing.
constexpr size_t kUsualNameSize = 127;

bool hasKeyword(const LogBase& log, const char* keyword) {
  return !log.m_optionKeywords.isEmpty() && log.m_optionKeywords.containsSubstringNoCase(keyword);
}

// The two directions in which a name is walked.
struct Direction {
  bool (ClsXml::*toFirst)() noexcept;
  bool (ClsXml::*toNext)() noexcept;
};
constexpr Direction kForward = {&ClsXml::FirstChild2, &ClsXml::NextSibling2};
constexpr Direction kBackward = {&ClsXml::LastChild2, &ClsXml::PreviousSibling2};

// True for every name that can be reached, whatever its RDNs are like: a strange one is reported on
// the log and left out.
bool appendName(ClsXml* tree, bool forSubject, bool withNames, int nameStyle, Direction direction,
                XString& out, LogBase& log) {
  const TreeVisit name(tree, namePath(forSubject));
  if (!name) return false;
  out.getUtf8Sb_rw().reserve(kUsualNameSize);
  if ((tree->*direction.toFirst)()) {
    do {
      VelmoraX509::appendToDN(*tree, withNames, nameStyle, out, log);
    } while ((tree->*direction.toNext)());
  }
  return true;
}

DnAttributeName chooseName(std::string_view oid, int nameStyle, bool lowercase,
                           const LogBase& log) {
  const DnAttribute& attribute = findDnAttribute(oid);
  DnNameForm form = attribute.form(nameStyle);
  if (attribute.oid == known_oid::organizationIdentifier.dotted() &&
      hasKeyword(log, "OrgID_OID_Hex")) {
    form = DnNameForm::kOidHex;
  }
  return dnAttributeName(attribute, form, lowercase, oid);
}

// Only a comma asks for quotes, and nothing is escaped: this is a text for people and for
// comparison with its like, not the notation of RFC 4514.
void appendQuotedValue(ClsXml& value, bool hexValue, StringBuffer& out, LogBase& log) {
  const size_t start = out.getSize();
  appendDnValue(value, hexValue, out, log);
  if (out.view().find(',', start) == std::string_view::npos) return;
  const StringBuffer text(out.view().substr(start));
  out.truncate(start);
  out.appendChar('"');
  out.append(text);
  out.appendChar('"');
}

}  // namespace

bool VelmoraX509::getDN(bool forSubject, bool withNames, XString& out, LogBase& log,
                        int nameStyle) {
  out.weakClear();
  CritSecExitor lock(this);
  LogContextExitor context(log, "dn_getDN");
  return appendName(m_certXml, forSubject, withNames, nameStyle, kForward, out, log);
}

bool VelmoraX509::getDN_reverseOrder(bool forSubject, bool withNames, int nameStyle, XString& out,
                                     LogBase& log) {
  out.weakClear();
  CritSecExitor lock(this);
  LogContextExitor context(log, "dn_getDN_reverseOrder");
  return appendName(m_certXml, forSubject, withNames, nameStyle, kBackward, out, log);
}

// On malformed input the moves leave the handle a level off, and the caller's walk goes on from
// there until its return to the root. What such a name renders as rests on these moves, so their
// order stays.
bool VelmoraX509::appendToDN(ClsXml& xml, bool withNames, int nameStyle, XString& out,
                             LogBase& log) {
  const bool lowercase = hasKeyword(log, "DN_Lowercase");
  const bool spaceAfterComma =
      nameStyle != kPrefixedStyle && !hasKeyword(log, "DN_NoSpaceAfterComma");
  if (!hasTag(xml, XmlName::kSet)) {
    log.LogError("DistinguishedName: Expected set.");
    return false;
  }
  if (xml.get_NumChildren() == 0) {
    log.LogError("DistinguishedName is empty.");
    return false;
  }
  xml.FirstChild2();
  if (!hasTag(xml, XmlName::kSequence)) {
    log.LogError("DistinguishedName: Expected sequence.");
    return false;
  }
  bool plusSeparator = false;
  while (appendToDN_inner(xml, withNames, nameStyle, lowercase, spaceAfterComma, plusSeparator, out,
                          log) &&
         xml.NextSibling2()) {
    plusSeparator = nameStyle == kPlusStyle;
  }
  xml.GetParent2();
  return false;  // carries no meaning; the text tells
}

bool VelmoraX509::appendToDN_inner(ClsXml& xml, bool withNames, int nameStyle, bool lowercase,
                                   bool spaceAfterComma, bool plusSeparator, XString& out,
                                   LogBase& log) {
  xml.FirstChild2();
  if (!hasTag(xml, XmlName::kOid)) {
    log.LogError("DistinguishedName: Expected oid.");
    xml.GetParent2();
    return false;
  }
  DnAttributeName name;
  if (withNames) name = chooseName(xml.contentView(), nameStyle, lowercase, log);
  if (!xml.NextSibling2()) {
    xml.GetParent2();
    return true;
  }
  if (!out.isEmpty()) out.appendUtf8(plusSeparator ? " + " : spaceAfterComma ? ", " : ",");
  if (withNames) {
    out.appendUtf8(name.prefix);
    out.appendUtf8(name.name);
    out.appendChar('=');
  }
  appendQuotedValue(xml, name.hexValue, out.getUtf8Sb_rw(), log);
  xml.GetParent2();
  return true;
}

}  // namespace velmora
