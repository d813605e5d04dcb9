#pragma once

#include <string>
#include <type_traits>

#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/x509/velmora_x509.h"

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
  StringBuffer& utf8() { return text.getUtf8Sb_rw(); }
  bool failed() const { return text.failed() || bytes.failed(); }
  std::string str() const {
    return (result ? "true " : "false ") + std::string(text.view()) + "|" +
           std::string(bytes.view());
  }
};

/// Any getter of one output.
template <auto Get>
bool get(VelmoraX509& x, LogBase& log, Answer& a) {
  const auto call = [&](auto& out) { return (x.*Get)(out, log); };
  if constexpr (std::is_invocable_v<decltype(Get), VelmoraX509&, XString&, LogBase&>) {
    return call(a.text);
  } else if constexpr (std::is_invocable_v<decltype(Get), VelmoraX509&, StringBuffer&, LogBase&>) {
    return call(a.utf8());
  } else {
    return call(a.bytes);
  }
}

template <bool ForSubject>
bool getName(VelmoraX509& x, LogBase& log, Answer& a) {
  const RefOwner<_vmAsn1> name(x.getDnAsn(ForSubject, log));
  return name && name->EncodeToDer(a.bytes, false, log);
}

template <bool From>
bool getDate(VelmoraX509& x, LogBase& log, Answer& a) {
  VelmoraSysTime t;
  const bool found = x.get_Valid_To_or_From_UTC(From, t, log);
  t.appendIso8601(a.utf8());
  return found;
}

inline bool getFingerprint(VelmoraX509& x, LogBase& log, Answer& a) {
  const StringBuffer hash(std::string_view("sha256"));
  const StringBuffer encoding(std::string_view("hex"));
  return !hash.failed() && !encoding.failed() && x.getSpkiFingerprint(hash, encoding, a.text, log);
}

// `last` is the last digit of the pin; that of der::Certificate's key is 2.
template <char last>
bool matchesPin(VelmoraX509& x, LogBase& log, Answer&) {
  XString pins(std::string_view(
      "sha256,hexlower,00,adadd54f4b930d5ed50ac321ef6879803e7591278a968b7788e451ac0afb12b"));
  pins.appendChar(last);
  return x.matchesPinSet(pins, log);
}

inline bool getSummary(VelmoraX509& x, LogBase& log, Answer& a) {
  const _clsOwner root(ClsXml::createNewCls());
  return root && x.toXmlInfo(*root, log) && root->getXml(true, a.utf8(), log);
}

struct NamedGetter {
  const char* name;
  bool (*get)(VelmoraX509& x, LogBase& log, Answer& a);

  void ask(VelmoraX509& x, LogBase& log, Answer& a) const { a.result = get(x, log, a); }
};

inline constexpr const char* kSan = "2.5.29.17";

/// Every operation that reads a certificate.
inline constexpr NamedGetter kGetters[] = {
    {"get_Version", get<&VelmoraX509::get_Version>},
    {"get_SerialNumber", get<&VelmoraX509::get_SerialNumber>},
    {"get_SubjectSerial", get<&VelmoraX509::get_SubjectSerial>},
    {"get_SignatureValue", get<&VelmoraX509::get_SignatureValue>},
    {"get_Signature", get<&VelmoraX509::get_Signature>},
    {"get_SignatureAlgorithm", get<&VelmoraX509::get_SignatureAlgorithm>},
    {"get_PublicKeyAlgorithm", get<&VelmoraX509::get_PublicKeyAlgorithm>},
    {"notBefore", getDate<true>},
    {"notAfter", getDate<false>},
    {"!isCertExpired", [](auto& x, auto& log, auto&) { return !x.isCertExpired(log); }},
    {"getDN", [](auto& x, auto& log, auto& a) { return x.getDN(true, true, a.text, log, 1); }},
    {"getDN_reverseOrder",
     [](auto& x, auto& log, auto& a) { return x.getDN_reverseOrder(false, true, 0, a.text, log); }},
    {"getDnJson", [](auto& x, auto& log, auto& a) { return x.getDnJson(true, a.utf8(), log, 2); }},
    {"get_IssuerE", get<&VelmoraX509::get_IssuerE>},
    {"get_SubjectCN", get<&VelmoraX509::get_SubjectCN>},
    {"get_SubjectE", get<&VelmoraX509::get_SubjectE>},
    {"issuer", getName<false>},
    {"subject", getName<true>},
    {"getExtensionDerDataByOid",
     [](auto& x, auto& log, auto& a) { return x.getExtensionDerDataByOid(kSan, a.bytes, log); }},
    {"getExtensionDataByOid",
     [](auto& x, auto& log, auto& a) { return x.getExtensionDataByOid(kSan, a.bytes, log); }},
    {"getExtensionTextByOid",
     [](auto& x, auto& log, auto& a) { return x.getExtensionTextByOid(kSan, a.utf8(), log); }},
    {"getExtensionAsnXmlByOid",
     [](auto& x, auto& log, auto& a) { return x.getExtensionAsnXmlByOid(kSan, a.utf8(), log); }},
    {"getSubjectKeyIdentifier", get<&VelmoraX509::getSubjectKeyIdentifier>},
    {"getAuthorityKeyIdentifier", get<&VelmoraX509::getAuthorityKeyIdentifier>},
    {"getSubjectAlternativeNameXml", get<&VelmoraX509::getSubjectAlternativeNameXml>},
    {"getRfc822Name", get<&VelmoraX509::getRfc822Name>},
    {"getEmailAddress", get<&VelmoraX509::getEmailAddress>},
    {"get_PublicKey", get<&VelmoraX509::get_PublicKey>},
    {"get_PublicKeyForOCSP", get<&VelmoraX509::get_PublicKeyForOCSP>},
    {"get_PublicKeyXml", get<&VelmoraX509::get_PublicKeyXml>},
    {"getVelmoraKeyId64", get<&VelmoraX509::getVelmoraKeyId64>},
    {"getSpkiFingerprint", getFingerprint},
    {"matchesPinSet", matchesPin<'2'>},
    {"matchesPinSet, another pin", matchesPin<'3'>},
    {"getCertHash", [](auto& x, auto& log, auto& a) { return x.getCertHash(7, a.bytes, log); }},
    {"matchesIssuerCnAndSerial",
     [](auto& x, auto& log, auto&) { return x.matchesIssuerCnAndSerial("Root", "01", log); }},
    {"isIssuerSelf", [](auto& x, auto& log, auto&) { return x.isIssuerSelf(log); }},
    {"getXml", get<&VelmoraX509::getXml>},
    {"saveXml", get<&VelmoraX509::saveXml>},
    {"size", [](auto& x, auto&, auto& a) { return a.utf8().appendInt(x.getCertDerSize()); }},
    {"get_Sha1Thumbprint",
     [](auto& x, auto& log, auto& a) { return x.get_Sha1Thumbprint(a.bytes, log), true; }},
    {"get_Sha1ThumbprintX",
     [](auto& x, auto& log, auto& a) { return x.get_Sha1ThumbprintX(a.text, log), true; }},
    {"getCertDer", [](auto& x, auto&, auto& a) { return x.getCertDer(a.bytes), true; }},
    {"toXmlInfo", getSummary},
};

}  // namespace velmora::test
