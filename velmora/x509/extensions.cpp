#include <string_view>

#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/core/known_oids.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

// Extensions (RFC 5280 §4.1.2.9 and §4.2):
//
//   extensions [3] EXPLICIT SEQUENCE OF Extension
//   Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
//     extnValue OCTET STRING }
//   SubjectKeyIdentifier ::= OCTET STRING
//   AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] IMPLICIT OCTET STRING OPTIONAL,
//     authorityCertIssuer [1] ..., authorityCertSerialNumber [2] ... }

namespace velmora {
namespace {

constexpr std::string_view kKeyIdentifierOpen = "<contextSpecific tag=\"0\" constructed=\"0\">";
constexpr std::string_view kKeyIdentifierClose = "</contextSpecific>";

// Moves the handle from TBSCertificate to the list in the first [tag] that holds one; where there
// is none it stays.
bool moveToListIn(ClsXml& at, const char* tag) {
  if (!at.FirstChild2()) return false;
  do {
    if (at.tagEquals("contextSpecific") && at.hasAttrWithValue("tag", tag) &&
        at.findChild2("sequence")) {
      return true;
    }
  } while (at.NextSibling2());
  at.getParent2();
  return false;
}

// Moves the handle from the root to the list, or somewhere when there is none. Every step goes to a
// child at its place: whoever asks for a certificate chooses what stands deeper, in names and in
// the parameters of the key. Where no [3] holds a list, a [0] may.
bool moveToList(ClsXml& tree) {
  if (!tree.findChild2("sequence")) return false;
  return moveToListIn(tree, "3") || moveToListIn(tree, "0");
}

// The first [0] of an identifier that holds more than that.
void extractKeyIdentifier(const StringBuffer& identifier, StringBuffer& out) {
  out.clear();
  if (identifier.failed()) out.markFailed();
  const std::string_view xml = identifier.view();
  size_t start = xml.find(kKeyIdentifierOpen);
  if (start == std::string_view::npos) return;
  start += kKeyIdentifierOpen.size();
  const size_t end = xml.find(kKeyIdentifierClose, start);
  if (end != std::string_view::npos) out.appendN(xml.data() + start, end - start);
}

}  // namespace

bool VelmoraX509::getExtensionDerDataByOid(const char* oid, DataBuffer& out, LogBase&) {
  out.clear();
  CritSecExitor lock(this);
  if (m_certXml == nullptr) return false;
  const TreeVisit list = TreeVisit::fromRoot(*m_certXml, moveToList(*m_certXml));
  if (!list) return false;
  StringBuffer path;
  path.append3("/C/oid,", oid, "|..|octets|*");
  LogNull noLog;
  XString base64;
  const bool found = !path.failed() && m_certXml->velmoraPath(path.view(), base64, noLog);
  if (found) out.appendEncoded(base64.view(), "base64");
  // An extension for which memory ran out must not pass for an absent one.
  if (path.failed() || base64.failed()) out.markFailed();
  return found;
}

bool VelmoraX509::getExtensionDataByOid(const char* oid, DataBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  return getExtensionDerDataByOid(oid, out, log);
}

bool VelmoraX509::getExtensionTextByOid(const char* oid, StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  DataBuffer value;
  const bool found = getExtensionDerDataByOid(oid, value, log);
  return out.append(value) && found;
}

bool VelmoraX509::getExtensionAsnXmlByOid(const char* oid, StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  out.weakClear();
  DataBuffer value;
  const bool found = getExtensionDerDataByOid(oid, value, log);
  if (value.failed()) out.markFailed();
  return found && !value.failed() && DerXmlCodec::derToXml(value, false, true, out, nullptr, log);
}

bool VelmoraX509::getSubjectKeyIdentifier(StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "getSubjectKeyIdentifier");
  out.clear();
  if (!getExtensionAsnXmlByOid(known_oid::subjectKeyIdentifier.dotted(), out, log)) return false;
  out.replaceFirstOccurance("<octets>", "", false);
  out.replaceFirstOccurance("</octets>", "", false);
  out.trim2();
  return !out.isEmpty();
}

bool VelmoraX509::getAuthorityKeyIdentifier(StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "getAuthorityKeyIdentifier");
  out.clear();
  if (!getExtensionAsnXmlByOid(known_oid::authorityKeyIdentifier.dotted(), out, log)) return false;
  const StringBuffer xml(out.view());
  out.replaceFirstOccurance("<octets>", "", false);
  out.replaceFirstOccurance("</octets>", "", false);
  out.replaceFirstOccurance("<sequence><contextSpecific tag=\"0\" constructed=\"0\">", "", false);
  out.replaceFirstOccurance("</contextSpecific></sequence>", "", false);
  // What still holds markup is not the identifier alone: there are other fields, or no [0] at all.
  if (out.containsChar('<')) extractKeyIdentifier(xml, out);
  out.trim2();
  const bool success = !out.isEmpty();
  if (!success && !xml.isEmpty()) log.LogDataSb("authKeyIdXml", xml);
  return success;
}

}  // namespace velmora
