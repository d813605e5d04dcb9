#include "velmora/x509/velmora_x509.h"

#include "velmora/support/core/known_oids.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/log/refuse.h"

// Who issued a certificate, told by comparing texts (RFC 5280 §4.1.2.4, §4.2.1.1 and §4.2.1.2).

namespace velmora {

// Names that hold a NUL are compared to their end. False when memory ran out, since a name that
// lacks something would pass for another one.
bool VelmoraX509::compareNames(bool& same, LogBase& log) {
  XString issuerDn;
  XString subjectDn;
  getDN(false, false, issuerDn, log, 0);
  getDN(true, false, subjectDn, log, 0);
  same = issuerDn.equalsX(subjectDn);
  return !issuerDn.failed() && !subjectDn.failed();
}

bool VelmoraX509::isIssuerSelf(LogBase& log) {
  CritSecExitor lock(this);
  bool same = false;
  return compareNames(same, log) && same;
}

bool VelmoraX509::isIssuedBy(VelmoraX509& issuer, LogBase& log) {
  StringBuffer authorityKeyId;
  StringBuffer issuerKeyId;
  if (getAuthorityKeyIdentifier(authorityKeyId, log) &&
      issuer.getSubjectKeyIdentifier(issuerKeyId, log)) {
    if (authorityKeyId.failed() || issuerKeyId.failed()) return refuse(kOutOfMemory, log);
    return authorityKeyId.equals(issuerKeyId);
  }
  // An identifier for which memory ran out is not absent: the names, which tell less, must not
  // decide in its place.
  if (authorityKeyId.failed() || issuerKeyId.failed()) return refuse(kOutOfMemory, log);
  XString ownText;
  XString issuerText;
  // An attribute of a name against a certificate's serial number: where issuers of one common name
  // put the one into the other, it tells them apart.
  get_IssuerValue(known_oid::serialNumber.dotted(), ownText, log);
  issuer.get_SerialNumber(issuerText, log);
  if (ownText.failed() || issuerText.failed()) return refuse(kOutOfMemory, log);
  if (!ownText.isEmpty() && !ownText.equalsX(issuerText)) return false;
  ownText.clear();
  issuerText.clear();
  get_IssuerValue(known_oid::commonName.dotted(), ownText, log);
  issuer.get_SubjectValue(known_oid::commonName.dotted(), issuerText, log);
  if (ownText.failed() || issuerText.failed()) return refuse(kOutOfMemory, log);
  return ownText.equalsX(issuerText);
}

bool VelmoraX509::matchesIssuerCnAndSerial(const char* issuerCn, const char* serialHex,
                                           LogBase& log) {
  CritSecExitor lock(this);
  XString serial;
  get_SerialNumber(serial, log);
  XString wanted;
  wanted.appendUtf8(serialHex);
  wanted.canonicalizeHexString();
  if (!serial.equalsIgnoreCaseUsAscii(wanted)) return false;
  XString commonName;
  get_IssuerValue(known_oid::commonName.dotted(), commonName, log);
  return commonName.equalsUtf8(issuerCn);
}

}  // namespace velmora
