#include "support/asn1/vm_asn1.h"
#include "support/key/vm_public_key.h"
#include "x509/velmora_x509.h"

// The subject public key (RFC 5280 §4.1.2.7):
//
//   SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING
//   }

namespace velmora {
namespace {

constexpr const char* kSpkiPath = "sequence|sequence[4]|$";
constexpr const char* kKeyBitsPath = "sequence|sequence[4]|bits|*";

constexpr const char* kDsa = "1.2.840.10040.4.1";
constexpr const char* kEcPublicKey = "1.2.840.10045.2.1";
constexpr const char* kGost94 = "1.2.804.2.1.1.1.1.3.1.1";

void reportGost(const XString& oid, LogBase& log) {
  LogContextExitor context(log, "unsupportedAlgorithm");
  log.LogDataX("oid", oid);
  log.LogData("algorithmName", "Gost34310WithGost34311");
  log.LogError("Velmora does not support Gost34310WithGost34311");
}

}  // namespace

// Appends the DER of the subtree at the tree's handle to `out`.
bool VelmoraX509::encodeSubtree(DataBuffer& out, LogBase& log) {
  const RefOwner<_vmAsn1> node(_vmAsn1::xml_to_asn(*m_certXml, log));
  return node && node->EncodeToDer(out, false, log);
}

// The whole SubjectPublicKeyInfo, for keys that mean nothing without their parameters.
bool VelmoraX509::getSpkiAsKey(DataBuffer& out, LogBase& log) {
  LogNull noLog;
  XString unused;
  m_certXml->velmoraPath(kSpkiPath, unused, noLog);
  const bool success = encodeSubtree(out, log);
  m_certXml->GetRoot2();
  return success;
}

// The octets of the BIT STRING, as they stand; they go into the cache too.
bool VelmoraX509::getKeyBits(DataBuffer& out) {
  LogNull noLog;
  XString digits;
  if (!m_certXml->velmoraPath(kKeyBitsPath, digits, noLog)) return false;
  if (!out.appendEncoded(digits.view(), "hex")) return false;
  if (m_publicKeyDer.append(out)) return true;
  m_publicKeyDer.clear();  // a marked cache could never be filled
  return false;
}

bool VelmoraX509::get_PublicKey(DataBuffer& out, LogBase& log) {
  LogContextExitor context(log, "x509_getPublicKey");
  CritSecExitor lock(this);
  out.clear();
  if (!m_publicKeyDer.empty()) return out.append(m_publicKeyDer);
  if (m_certXml == nullptr) return false;
  XString oid;
  get_PublicKeyAlgorithm(oid, log);
  if (oid.failed()) return false;  // an unknown algorithm would put the wrong form into the cache
  if (oid.equalsUtf8(kDsa) || oid.equalsUtf8(kEcPublicKey)) {
    if (log.m_verbose) log.LogInfo("Returning DSA or ECDSA public key DER from X.509 cert...");
    return getSpkiAsKey(out, log);
  }
  if (oid.equalsUtf8(kGost94)) {
    reportGost(oid, log);
    return false;
  }
  return getKeyBits(out);
}

bool VelmoraX509::get_PublicKeyForOCSP(DataBuffer& out, LogBase& log) {
  LogContextExitor context(log, "get_PublicKeyForOCSP");
  CritSecExitor lock(this);
  out.clear();
  if (!m_publicKeyDer.empty()) return out.append(m_publicKeyDer);
  if (m_certXml == nullptr) return false;
  XString oid;
  get_PublicKeyAlgorithm(oid, log);
  if (oid.failed()) return false;  // an unknown algorithm would put the wrong form into the cache
  if (oid.equalsUtf8(kDsa)) {
    if (log.m_verbose) log.LogInfo("Returning DSA public key from X.509 cert...");
    return getSpkiAsKey(out, log);
  }
  if (oid.equalsUtf8(kEcPublicKey)) {
    if (log.m_verbose) log.LogInfo("Returning ECDSA public key from X.509 cert...");
    return getEcPoint(out, log);
  }
  if (oid.equalsUtf8(kGost94)) {
    reportGost(oid, log);
    return false;
  }
  return getKeyBits(out);
}

// The EC point alone. It stays out of the cache, which get_PublicKey would take for its own form.
bool VelmoraX509::getEcPoint(DataBuffer& out, LogBase& log) {
  LogNull noLog;
  XString digits;
  if (!m_certXml->velmoraPath(kKeyBitsPath, digits, noLog)) {
    log.LogError("Failed to get ECDSA public key.");
    return false;
  }
  out.appendEncoded(digits.view(), "hex");
  return true;
}

bool VelmoraX509::get_PublicKeyXml(StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  out.clear();
  LogNull noLog;
  XString unused;
  if (m_certXml == nullptr || !m_certXml->velmoraPath(kSpkiPath, unused, noLog)) return false;
  m_certXml->getXml(false, out, log);
  m_certXml->GetRoot2();
  return true;
}

bool VelmoraX509::getVelmoraKeyId64(StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  // The name under which logs have always shown this.
  LogContextExitor context(log, "x509GetKeyModulus");
  out.weakClear();
  if (!m_keyId64.isEmpty()) return out.append(m_keyId64);
  DataBuffer keyDer;
  if (!get_PublicKey(keyDer, log)) return false;
  _vmPublicKey key;
  if (!key.loadAnyDer(keyDer, log)) return false;
  return key.getVelmoraKeyId64(out, log);  // not kept: only a load may change m_keyId64
}

}  // namespace velmora
