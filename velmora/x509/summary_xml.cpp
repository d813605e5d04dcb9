#include "velmora/support/core/known_oids.h"
#include "velmora/support/time/vm_date_parser.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {
namespace {

using Getter = bool (VelmoraX509::*)(XString&, LogBase&);

struct NameField {
  const char* tag;
  const char* oid;
};

constexpr NameField kNameFields[] = {
    {"CN", known_oid::commonName.dotted()},
    {"O", known_oid::organization.dotted()},
    {"OU", known_oid::organizationalUnit.dotted()},
    {"C", known_oid::country.dotted()},
    {"S", known_oid::state.dotted()},
    {"L", known_oid::locality.dotted()},
};

// Writes the elements of one summary. A getter that fails leaves an element without text; where
// memory ran out, the summary is not complete.
class SummaryWriter {
 public:
  SummaryWriter(VelmoraX509& cert, ClsXml& root, LogBase& log)
      : m_cert(cert), m_root(root), m_log(log) {}

  bool appendSubject() {
    const _clsOwner subject(m_root.newChild("subject", nullptr, nullptr));
    if (!subject) return false;
    // The certificate's own serial number; the issuer's "Serial" is an attribute of its name.
    appendField(*subject, "Serial", &VelmoraX509::get_SubjectSerial);
    for (const NameField& field : kNameFields) {
      m_cert.get_SubjectValue(field.oid, m_text, m_log);
      appendText(*subject, field.tag);
    }
    return true;
  }

  bool appendIssuer() {
    const _clsOwner issuer(m_root.newChild("issuer", nullptr, nullptr));
    if (!issuer) return false;
    m_cert.get_IssuerValue(known_oid::serialNumber.dotted(), m_text, m_log);
    appendText(*issuer, "Serial");
    for (const NameField& field : kNameFields) {
      m_cert.get_IssuerValue(field.oid, m_text, m_log);
      appendText(*issuer, field.tag);
    }
    return true;
  }

  void appendSubjectKeyIdentifier() {
    const bool found = m_cert.getSubjectKeyIdentifier(m_text.getUtf8Sb_rw(), m_log);
    appendTextIf(found, "subjectKeyIdentifier");
  }

  // False when an element could not be made. A key without an XML stops nothing: the rest is of use
  // all the same.
  bool appendPublicKey() {
    const _clsOwner publicKey(m_root.newChild("publicKey", nullptr, nullptr));
    if (!publicKey) return false;
    appendField(*publicKey, "alg", &VelmoraX509::get_PublicKeyAlgorithm);
    StringBuffer keyXml;
    const bool hasXml = m_cert.get_PublicKeyXml(keyXml, m_log) && !keyXml.failed();
    require(hasXml);
    if (!hasXml) return true;
    const _clsOwner keyTree(ClsXml::createNewCls());
    if (!keyTree) return false;
    require(keyTree->loadXml(keyXml, true, m_log) && publicKey->addChildTree(-1, *keyTree, m_log));
    return true;
  }

  bool appendSignature() {
    const _clsOwner signature(m_root.newChild("signature", nullptr, nullptr));
    if (!signature) return false;
    appendField(*signature, "algOid", &VelmoraX509::get_SignatureAlgorithm);
    DataBuffer octets;
    m_cert.get_SignatureValue(octets, m_log);
    octets.encodeDB("base64", m_text.getUtf8Sb_rw());
    appendText(*signature, "sigBase64");
    return true;
  }

  void appendDate(const char* tag, bool from) {
    VelmoraSysTime t;
    m_cert.get_Valid_To_or_From_UTC(from, t, m_log);
    _vmDateParser::generateDateRFC822(t, m_text.getUtf8Sb_rw());
    appendText(m_root, tag);
  }

  void appendVersion() { appendField(m_root, "certVersion", &VelmoraX509::get_Version); }

  void appendRfc822Name() {
    LogNull noLog;
    const bool found = m_cert.getRfc822Name(m_text, noLog) && !m_text.isEmpty();
    appendTextIf(found, "rfc822Name");
  }

  void appendCompressedDer(const DataBuffer& der) {
    const _clsOwner element(m_root.newChild("compressedDer", nullptr, nullptr));
    require(element && element->setBinaryContent(der, true, false, nullptr, m_log));
  }

  bool complete() const { return m_complete; }

 private:
  void require(bool done) { m_complete = m_complete && done; }

  void appendText(ClsXml& parent, const char* tag) {
    require(!m_text.failed() && parent.appendNewChild2(tag, m_text.view()));
    m_text.weakClear();
  }

  void appendTextIf(bool found, const char* tag) {
    if (found) return appendText(m_root, tag);
    require(!m_text.failed());
    m_text.weakClear();
  }

  void appendField(ClsXml& parent, const char* tag, Getter getter) {
    (m_cert.*getter)(m_text, m_log);
    appendText(parent, tag);
  }

  VelmoraX509& m_cert;
  ClsXml& m_root;
  LogBase& m_log;
  XString m_text;  // of the element that is being written
  bool m_complete = true;
};

}  // namespace

bool VelmoraX509::toXmlInfo(ClsXml& root, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "x509ToXmlInfo");
  SummaryWriter summary(*this, root, log);
  if (!summary.appendSubject() || !summary.appendIssuer()) return false;
  summary.appendSubjectKeyIdentifier();
  if (!summary.appendPublicKey() || !summary.appendSignature()) return false;
  summary.appendDate("validFromUTC", true);
  summary.appendDate("validToUTC", false);
  summary.appendVersion();
  summary.appendRfc822Name();
  summary.appendCompressedDer(m_certDer);
  return summary.complete();
}

}  // namespace velmora
