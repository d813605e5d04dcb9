#include <algorithm>
#include <cstdint>
#include <string_view>

#include "velmora/support/text/byte_codecs.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

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

// Dates are read without taking memory: one that memory ran out for would count as long past, and a
// notBefore in the past makes a certificate valid.

// The text of a GeneralizedTime of any length in little room: of a run of digits the first kDigits
// are kept. Only a fraction may have more, of which nine count, so that what is kept stands for the
// same date, or is as little of a date, as the whole. The text is counted by its length, so that a
// NUL inside does not shorten it to a date.
class DateText {
 public:
  explicit DateText(std::string_view base64) noexcept {
    constexpr size_t kStep = 64;  // whole groups of four characters
    for (; !base64.empty(); base64.remove_prefix(std::min(kStep, base64.size()))) {
      unsigned char octets[kStep / 4 * 3 + 3];
      const size_t count = base64Decode(base64.substr(0, kStep), false, octets).written;
      for (size_t i = 0; i < count; ++i) put(static_cast<char>(octets[i]));
    }
  }

  std::string_view view() const noexcept { return {m_text, m_size}; }

 private:
  static constexpr size_t kDigits = 72;
  static constexpr size_t kRoom = 100;  // no date that is shortened so fills it

  void put(char c) noexcept {
    m_run = c >= '0' && c <= '9' ? m_run + 1 : 0;
    if (m_run <= kDigits && m_size < kRoom) m_text[m_size++] = c;
  }

  char m_text[kRoom];
  size_t m_size = 0;
  size_t m_run = 0;
};

// Reads the date on which the handle stands. A date whose text is none leaves `t` as it is and
// counts as read all the same: with its long past default it makes the certificate an expired one.
bool readDate(ClsXml& date, VelmoraSysTime& t, LogBase& log) {
  if (date.tagEquals("utctime")) {
    t.fromX509(date.contentView(), false, log);
    return true;
  }
  if (date.tagEquals("universal")) {  // the form that a GeneralizedTime is carried in
    t.fromX509(DateText(date.contentView()).view(), true, log);
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
  const TreeVisit validity(m_certXml, "sequence|sequence[2]|$");
  if (!validity || !(from ? m_certXml->FirstChild2() : m_certXml->GetChild2(1))) {
    // The text is part of the interface, its slip and its "From" for either date included.
    log.LogError("Failed to get X509 certificate Valid-From date/timme");
    return false;
  }
  const bool read = readDate(*m_certXml, t, log);
  if (!read) reportStrangeDate(*m_certXml, log);
  return read;
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
