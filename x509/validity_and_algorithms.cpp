#include <cstdint>
#include <string_view>

#include "support/text/byte_codecs.h"
#include "x509/velmora_x509.h"

// The simple fields of a certificate (RFC 5280 §4.1):
//
//   Certificate ::= SEQUENCE { tbsCertificate TBSCertificate,
//     signatureAlgorithm AlgorithmIdentifier, signatureValue BIT STRING }
//   TBSCertificate ::= SEQUENCE { version [0] EXPLICIT INTEGER DEFAULT v1, serialNumber INTEGER,
//     signature AlgorithmIdentifier, issuer Name, validity Validity, subject Name,
//     subjectPublicKeyInfo SubjectPublicKeyInfo, ... }
//   Validity ::= SEQUENCE { notBefore Time, notAfter Time }
//   Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }

namespace velmora {
namespace {

// Reads one field into `result`, which stays as it is when the field is missing. Without a log: a
// missing field is no error.
bool readField(ClsXml* tree, std::string_view path, XString& result) {
  LogNull noLog;
  return tree != nullptr && tree->velmoraPath(path, result, noLog);
}

// Moves a handle from the validity element to one of its two dates.
bool moveToDate(ClsXml& validity, bool from) {
  return from ? validity.FirstChild2() : validity.GetChild2(1);
}

// Allocates nothing: a date that memory ran out for would count as one long past, and a notBefore
// in the past makes a certificate valid. The text goes on counted by its length, so that a NUL
// inside does not shorten it to a date.
void readGeneralizedTime(std::string_view base64, VelmoraSysTime& t, LogBase& log) {
  constexpr size_t kLongestDate = 96;  // base64; far more than any date takes
  unsigned char text[kLongestDate / 4 * 3 + 3];
  size_t size = 0;
  if (base64.size() <= kLongestDate) size = base64Decode(base64, false, text).written;
  t.fromX509({reinterpret_cast<const char*>(text), size}, true, log);
}

// Reads the date on which the handle stands. A date whose text is none leaves `t` as it is and
// counts as read all the same: with its long past default it makes the certificate an expired one.
bool readDate(ClsXml& date, VelmoraSysTime& t, LogBase& log) {
  if (date.tagEquals("utctime")) {
    t.fromX509(date.contentView(), false, log);
    return true;
  }
  if (date.tagEquals("universal")) {  // the form that a GeneralizedTime is carried in
    readGeneralizedTime(date.contentView(), t, log);
    return true;
  }
  return false;
}

void reportStrangeDate(ClsXml& date, LogBase& log) {
  log.LogError("Unexpected date/time content.");
  date.GetParent2();
  StringBuffer xml;
  date.getXml(false, xml, log);
  log.LogDataSb("dateTimeXml", xml);
}

}  // namespace

bool VelmoraX509::get_Version(XString& out, LogBase&) {
  CritSecExitor lock(this);
  out.weakClear();
  if (!readField(m_certXml, "sequence|contextSpecific|int|*", out)) return false;
  // The field counts from 0. Its text is hexadecimal, read as decimal; below 10 the two agree.
  const int64_t version = int64_t{out.intValue()} + 1;
  out.weakClear();
  out.appendInt(version);
  return true;
}

bool VelmoraX509::get_SerialNumber(XString& out, LogBase&) {
  CritSecExitor lock(this);
  XString serial;
  const bool found = readField(m_certXml, "sequence|int|*", serial);
  serial.canonicalizeHexString();
  out.appendX(serial);  // also passes on the mark of a serial number that memory ran out for
  return found;
}

// Despite its name no attribute of the subject, but the certificate's serial number. The tree's
// form is the canonical one of get_SerialNumber already.
bool VelmoraX509::get_SubjectSerial(XString& out, LogBase&) {
  CritSecExitor lock(this);
  out.weakClear();
  return readField(m_certXml, "sequence|int|*", out);
}

bool VelmoraX509::get_SignatureValue(DataBuffer& out, LogBase&) {
  CritSecExitor lock(this);
  out.clear();
  XString digits;
  const bool found = readField(m_certXml, "bits|*", digits);
  if (digits.failed()) out.markFailed();
  out.appendEncoded(digits.view(), "hex");
  return found;
}

// The property is named after the field of tbsCertificate, which holds an algorithm and no
// signature octets.
bool VelmoraX509::get_Signature(XString& out, LogBase&) {
  CritSecExitor lock(this);
  return readField(m_certXml, "sequence|sequence|oid|*", out);
}

bool VelmoraX509::get_SignatureAlgorithm(XString& out, LogBase&) {
  out.weakClear();
  CritSecExitor lock(this);
  return readField(m_certXml, "sequence[1]|oid|*", out);
}

bool VelmoraX509::get_PublicKeyAlgorithm(XString& out, LogBase&) {
  out.weakClear();
  CritSecExitor lock(this);
  return readField(m_certXml, "sequence|sequence[4]|sequence|oid|*", out);
}

bool VelmoraX509::get_Valid_To_or_From_UTC(bool from, VelmoraSysTime& t, LogBase& log) {
  CritSecExitor lock(this);
  const _clsOwner date(m_certXml != nullptr ? m_certXml->getChildWithTagUtf8("sequence|sequence[2]")
                                            : nullptr);
  if (date.get() == nullptr || !moveToDate(*date, from)) {
    // Applications look for this text, its slip and its "From" for either date included.
    log.LogError("Failed to get X509 certificate Valid-From date/timme");
    return false;
  }
  if (readDate(*date, t, log)) return true;
  reportStrangeDate(*date, log);
  return false;
}

bool VelmoraX509::isCertExpired(LogBase& log) {
  CritSecExitor lock(this);
  VelmoraSysTime notBefore;
  VelmoraSysTime notAfter;
  get_Valid_To_or_From_UTC(true, notBefore, log);
  get_Valid_To_or_From_UTC(false, notAfter, log);
  VelmoraSysTime now;
  now.getCurrentGmt();
  if (now.is_after_by_compare(notAfter, false)) return true;
  return notBefore.is_after_by_compare(now, false);
}

}  // namespace velmora
