#pragma once

#include "velmora/support/text/data_buffer.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::bench {

/// Reads certificates with this library, keeping from one to the next what may be kept.
class VelmoraReader {
 public:
  void load(const DataBuffer& der) {
    m_certificate = VelmoraX509::createOwnedX509();
    m_certificate->loadX509DerAlt(der.data(), static_cast<unsigned int>(der.size()), nullptr,
                                  m_log);
  }

  void unload() { m_certificate.reset(); }

  /// Both names as one line of UTF-8, the serial number in hexadecimal, both dates in parts, the
  /// version, and the dotted OIDs of the two signature algorithms and the key's.
  void readFields() {
    VelmoraX509& certificate = *m_certificate;
    certificate.getDN(true, true, m_subject, m_log, 0);
    certificate.getDN(false, true, m_issuer, m_log, 0);
    m_serial.weakClear();
    certificate.get_SerialNumber(m_serial, m_log);
    certificate.get_Valid_To_or_From_UTC(true, m_notBefore, m_log);
    certificate.get_Valid_To_or_From_UTC(false, m_notAfter, m_log);
    certificate.get_Version(m_version, m_log);
    certificate.get_Signature(m_innerAlgorithm, m_log);
    certificate.get_SignatureAlgorithm(m_outerAlgorithm, m_log);
    certificate.get_PublicKeyAlgorithm(m_keyAlgorithm, m_log);
  }

  /// What else can be asked: three attributes of the subject, both key identifiers, the alternative
  /// names in a form to read, the e-mail addresses, two extension values, the public key, the SHA-1
  /// thumbprint and the SHA-256 pin in base64.
  void readRest() {
    VelmoraX509& certificate = *m_certificate;
    certificate.get_SubjectCN(m_commonName, m_log);
    certificate.get_SubjectO(m_organization, m_log);
    certificate.get_SubjectC(m_country, m_log);
    certificate.getSubjectKeyIdentifier(m_subjectKeyId, m_log);
    certificate.getAuthorityKeyIdentifier(m_authorityKeyId, m_log);
    certificate.getSubjectAlternativeNameXml(m_names, m_log);
    certificate.getEmailAddress(m_email, m_log);
    certificate.getExtensionDerDataByOid("2.5.29.19", m_basicConstraints, m_log);
    certificate.getExtensionDerDataByOid("2.5.29.15", m_keyUsage, m_log);
    certificate.get_PublicKey(m_publicKey, m_log);
    m_thumbprint.weakClear();
    certificate.get_Sha1ThumbprintX(m_thumbprint, m_log);
    m_pin.weakClear();
    certificate.getSpkiFingerprint(m_sha256, m_base64, m_pin, m_log);
  }

  /// The ASN.1 XML of the extensions that are not among the rest and that a typed certificate
  /// answers: the nearest to an answer that there is here.
  void readExtensions() {
    for (const char* oid :
         {"2.5.29.37", "2.5.29.18", "1.3.6.1.5.5.7.1.1", "1.3.6.1.5.5.7.1.11", "2.5.29.31",
          "2.5.29.46", "2.5.29.32", "2.5.29.33", "2.5.29.36", "2.5.29.54", "2.5.29.30",
          "1.3.6.1.4.1.11129.2.4.2", "1.3.6.1.5.5.7.1.24", "1.3.6.1.5.5.7.48.1.5", "2.5.29.56"}) {
      m_certificate->getExtensionAsnXmlByOid(oid, m_extension, m_log);
    }
  }

 private:
  RefOwner<VelmoraX509> m_certificate;
  LogNull m_log;
  XString m_subject, m_issuer, m_serial, m_version;
  XString m_innerAlgorithm, m_outerAlgorithm, m_keyAlgorithm;
  VelmoraSysTime m_notBefore, m_notAfter;
  StringBuffer m_sha256{"sha256"}, m_base64{"base64"};
  XString m_commonName, m_organization, m_country, m_names, m_email, m_thumbprint, m_pin;
  StringBuffer m_subjectKeyId, m_authorityKeyId, m_extension;
  DataBuffer m_basicConstraints, m_keyUsage, m_publicKey;
};

}  // namespace velmora::bench
