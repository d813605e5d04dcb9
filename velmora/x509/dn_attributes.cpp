#include <utility>

#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/core/known_oids.h"
#include "velmora/support/text/encoding_convert.h"
#include "velmora/x509/internal/dn_names.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

// Single attributes of the issuer and subject names (RFC 5280 §4.1.2.4):
//
//   AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }

namespace velmora {
namespace {

enum class Found { kNothing, kText, kUtf16 };

// Replaces base64 by the text that its octets are in UTF-16, big-endian.
void decodeUtf16(XString& value) {
  DataBuffer units;
  units.appendEncoded(value.view(), "base64");
  if (!vmIsBigEndian()) units.byteSwap21();
  value.weakClear();
  value.appendUtf16N_xe(std::as_const(units).data(), static_cast<unsigned int>(units.size() / 2));
  if (units.failed()) value.markFailed();
}

// Reads the value of the attribute type `oid`, below the name at the handle, and leaves the handle
// somewhere below it. The string types that carry their text come first, one query each, in the
// order in which names commonly hold them; what is carried as octets is read as UTF-16. A value for
// which memory ran out is marked, so that it does not pass for an absent one.
Found readValue(ClsXml& name, const char* oid, XString& value) {
  StringBuffer path;
  path.append3("/C/oid,", oid, "|..|$");
  if (path.failed()) value.markFailed();
  LogNull noLog;
  // Every query would start with the same search, so it is made once.
  if (value.failed() || !name.velmoraPath(path.view(), value, noLog)) return Found::kNothing;
  for (const char* content : {"printable|*", "utf8|*", "ia5|*", "t61|*"}) {
    if (name.velmoraPath(content, value, noLog)) return Found::kText;
    if (value.failed()) return Found::kNothing;
  }
  if (!name.velmoraPath("universal|*", value, noLog)) return Found::kNothing;
  decodeUtf16(value);
  return Found::kUtf16;
}

}  // namespace

bool VelmoraX509::get_IssuerValue(const char* oid, XString& value, LogBase& log) {
  value.weakClear();
  CritSecExitor lock(this);
  if (m_certXml == nullptr) return false;
  const TreeVisit issuer(m_certXml, namePath(false));
  if (!issuer) {
    log.LogError("Cannot get certificate issuer value (1)");
    return false;
  }
  return readValue(*m_certXml, oid, value) != Found::kNothing;
}

bool VelmoraX509::get_SubjectValue(const char* oid, XString& value, LogBase& log) {
  value.weakClear();
  CritSecExitor lock(this);
  const TreeVisit subject(m_certXml, namePath(true));
  if (!subject) {
    log.LogError("Navigation to the certificate subject failed.");
    return false;
  }
  const Found found = readValue(*m_certXml, oid, value);
  // Only subjects leave this trace: what stands on the log is part of the interface.
  if (found == Found::kUtf16) log.LogData("bmpStr", value.view());
  return found != Found::kNothing;
}

_vmAsn1* VelmoraX509::getDnAsn(bool forSubject, LogBase& log) {
  CritSecExitor lock(this);
  const TreeVisit name(m_certXml, namePath(forSubject));
  return name ? _vmAsn1::xml_to_asn(*m_certXml, log) : nullptr;
}

bool VelmoraX509::get_IssuerC(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::country.dotted(), value, log);
}
bool VelmoraX509::get_IssuerS(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::state.dotted(), value, log);
}
bool VelmoraX509::get_IssuerL(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::locality.dotted(), value, log);
}
bool VelmoraX509::get_IssuerO(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::organization.dotted(), value, log);
}
bool VelmoraX509::get_IssuerOU(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::organizationalUnit.dotted(), value, log);
}
bool VelmoraX509::get_IssuerCN(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::commonName.dotted(), value, log);
}
bool VelmoraX509::get_IssuerE(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::emailAddress.dotted(), value, log);
}
bool VelmoraX509::get_IssuerSerial(XString& value, LogBase& log) {
  return get_IssuerValue(known_oid::serialNumber.dotted(), value, log);
}
bool VelmoraX509::get_SubjectC(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::country.dotted(), value, log);
}
bool VelmoraX509::get_SubjectS(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::state.dotted(), value, log);
}
bool VelmoraX509::get_SubjectL(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::locality.dotted(), value, log);
}
bool VelmoraX509::get_SubjectO(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::organization.dotted(), value, log);
}
bool VelmoraX509::get_SubjectOU(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::organizationalUnit.dotted(), value, log);
}
bool VelmoraX509::get_SubjectCN(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::commonName.dotted(), value, log);
}
bool VelmoraX509::get_SubjectE(XString& value, LogBase& log) {
  return get_SubjectValue(known_oid::emailAddress.dotted(), value, log);
}

}  // namespace velmora
