#pragma once

#include <string>
#include <type_traits>

#include "support/asn1/vm_asn1.h"
#include "tests/x509/x509_test.h"

namespace velmora::test {

/// What one getter gave; filling it in takes no memory but the getter's.
struct Answer {
  bool result = false;
  XString text;
  DataBuffer bytes;

  void clear() {
    result = false;
    text.clear();
    bytes.clear();
  }
  bool failed() const { return text.failed() || bytes.failed(); }
  std::string str() const {
    return (result ? "true " : "false ") + std::string(text.view()) + std::string(bytes.view());
  }
};

/// Any getter of one output.
template <auto Get>
void ask(VelmoraX509& cert, LogBase& log, Answer& answer) {
  using Operation = decltype(Get);
  const auto call = [&](auto& out) {
    if constexpr (std::is_invocable_r_v<bool, Operation, VelmoraX509&, decltype(out), LogBase&>) {
      answer.result = (cert.*Get)(out, log);
    } else {
      (cert.*Get)(out, log);
      answer.result = true;
    }
  };
  if constexpr (std::is_invocable_v<Operation, VelmoraX509&, XString&, LogBase&>) {
    call(answer.text);
  } else if constexpr (std::is_invocable_v<Operation, VelmoraX509&, StringBuffer&, LogBase&>) {
    call(answer.text.getUtf8Sb_rw());
  } else {
    call(answer.bytes);
  }
}

template <bool ForSubject>
void askDnAsn(VelmoraX509& cert, LogBase& log, Answer& answer) {
  const RefOwner<_vmAsn1> name(cert.getDnAsn(ForSubject, log));
  answer.result = name && name->EncodeToDer(answer.bytes, false, log);
}

template <bool From>
void askDate(VelmoraX509& cert, LogBase& log, Answer& answer) {
  VelmoraSysTime t;
  answer.result = cert.get_Valid_To_or_From_UTC(From, t, log);
  t.appendIso8601(answer.text.getUtf8Sb_rw());
}

inline void askSummary(VelmoraX509& cert, LogBase& log, Answer& answer) {
  const _clsOwner root(ClsXml::createNewCls());
  answer.result =
      root && cert.toXmlInfo(*root, log) && root->getXml(true, answer.text.getUtf8Sb_rw(), log);
}

struct NamedGetter {
  const char* name;
  void (*ask)(VelmoraX509&, LogBase&, Answer&);
};

/// Every operation that reads a certificate.
inline constexpr NamedGetter kGetters[] = {
    {"get_Version", ask<&VelmoraX509::get_Version>},
    {"get_SerialNumber", ask<&VelmoraX509::get_SerialNumber>},
    {"get_SubjectSerial", ask<&VelmoraX509::get_SubjectSerial>},
    {"get_SignatureValue", ask<&VelmoraX509::get_SignatureValue>},
    {"get_Signature", ask<&VelmoraX509::get_Signature>},
    {"get_SignatureAlgorithm", ask<&VelmoraX509::get_SignatureAlgorithm>},
    {"get_PublicKeyAlgorithm", ask<&VelmoraX509::get_PublicKeyAlgorithm>},
    {"notBefore", askDate<true>},
    {"notAfter", askDate<false>},
    {"!isCertExpired", [](auto& cert, auto& log, auto& a) { a.result = !cert.isCertExpired(log); }},
    {"getDN",
     [](auto& cert, auto& log, auto& a) { a.result = cert.getDN(true, true, a.text, log, 1); }},
    {"getDN_reverseOrder",
     [](auto& cert, auto& log, auto& a) {
       a.result = cert.getDN_reverseOrder(false, true, 0, a.text, log);
     }},
    {"getDnJson", [](auto& cert, auto& log,
                     auto& a) { a.result = cert.getDnJson(true, a.text.getUtf8Sb_rw(), log, 2); }},
    {"get_IssuerE", ask<&VelmoraX509::get_IssuerE>},
    {"get_SubjectCN", ask<&VelmoraX509::get_SubjectCN>},
    {"get_SubjectE", ask<&VelmoraX509::get_SubjectE>},
    {"issuer", askDnAsn<false>},
    {"subject", askDnAsn<true>},
    {"getExtensionDerDataByOid",
     [](auto& cert, auto& log, auto& a) {
       a.result = cert.getExtensionDerDataByOid("2.5.29.17", a.bytes, log);
     }},
    {"getExtensionTextByOid",
     [](auto& cert, auto& log, auto& a) {
       a.result = cert.getExtensionTextByOid("2.5.29.17", a.text.getUtf8Sb_rw(), log);
     }},
    {"getExtensionAsnXmlByOid",
     [](auto& cert, auto& log, auto& a) {
       a.result = cert.getExtensionAsnXmlByOid("2.5.29.17", a.text.getUtf8Sb_rw(), log);
     }},
    {"getSubjectKeyIdentifier", ask<&VelmoraX509::getSubjectKeyIdentifier>},
    {"getAuthorityKeyIdentifier", ask<&VelmoraX509::getAuthorityKeyIdentifier>},
    {"getSubjectAlternativeNameXml", ask<&VelmoraX509::getSubjectAlternativeNameXml>},
    {"getRfc822Name", ask<&VelmoraX509::getRfc822Name>},
    {"getEmailAddress", ask<&VelmoraX509::getEmailAddress>},
    {"get_PublicKey", ask<&VelmoraX509::get_PublicKey>},
    {"get_PublicKeyForOCSP", ask<&VelmoraX509::get_PublicKeyForOCSP>},
    {"get_PublicKeyXml", ask<&VelmoraX509::get_PublicKeyXml>},
    {"getVelmoraKeyId64", ask<&VelmoraX509::getVelmoraKeyId64>},
    {"getSpkiFingerprint",
     [](auto& cert, auto& log, auto& a) {
       const StringBuffer hash(std::string_view("sha256"));
       const StringBuffer encoding(std::string_view("hex"));
       a.result = !hash.failed() && !encoding.failed() &&
                  cert.getSpkiFingerprint(hash, encoding, a.text, log);
     }},
    {"getCertHash",
     [](auto& cert, auto& log, auto& a) { a.result = cert.getCertHash(7, a.bytes, log); }},
    {"getXml", ask<&VelmoraX509::getXml>},
    {"get_Sha1Thumbprint", ask<&VelmoraX509::get_Sha1Thumbprint>},
    {"get_Sha1ThumbprintX", ask<&VelmoraX509::get_Sha1ThumbprintX>},
    {"getCertDer",
     [](auto& cert, auto&, auto& a) {
       cert.getCertDer(a.bytes);
       a.result = true;
     }},
    {"toXmlInfo", askSummary},
};

}  // namespace velmora::test
