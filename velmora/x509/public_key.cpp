#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/core/known_oids.h"
#include "velmora/support/key/vm_public_key.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

// The subject public key (RFC 5280 §4.1.2.7):
//
//   SubjectPublicKeyInfo ::= SEQUENCE {
//     algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }

namespace velmora {
namespace {

constexpr const char* kKeyBitsPath = "sequence|sequence[4]|bits|*";

// Always false.
bool refuseGost(const XString& oid, LogBase& log) {
  LogContextExitor context(log, "unsupportedAlgorithm");
  log.LogDataX("oid", oid);
  log.LogData("algorithmName", "Gost34310WithGost34311");
  log.LogError("Velmora does not support Gost34310WithGost34311");
  return false;
}

}  // namespace

// Appends the DER of the SubjectPublicKeyInfo, on which the handle stands.
bool VelmoraX509::encodeSpki(DataBuffer& out, LogBase& log) {
  const RefOwner<_vmAsn1> spki(_vmAsn1::xml_to_asn(*m_certXml, log));
  return spki && spki->EncodeToDer(out, false, log);
}

bool VelmoraX509::get_PublicKey(DataBuffer& out, LogBase& log) {
  LogContextExitor context(log, "x509_getPublicKey");
  CritSecExitor lock(this);
  return readPublicKey(false, out, log);
}

bool VelmoraX509::get_PublicKeyForOCSP(DataBuffer& out, LogBase& log) {
  LogContextExitor context(log, "get_PublicKeyForOCSP");
  CritSecExitor lock(this);
  return readPublicKey(true, out, log);
}

// Keys that mean nothing without their parameters are the whole SubjectPublicKeyInfo, except that
// an OCSP request hashes the point of an EC key alone.
bool VelmoraX509::readPublicKey(bool forOcsp, DataBuffer& out, LogBase& log) {
  out.clear();
  if (!m_publicKeyDer.empty()) return out.append(m_publicKeyDer);
  if (m_certXml == nullptr) return false;
  XString oid;
  get_PublicKeyAlgorithm(oid, log);
  if (oid.failed()) return false;  // an unknown algorithm would put the wrong form into the cache
  const bool isEc = oid.equalsUtf8(known_oid::ecPublicKey.dotted());
  if (isEc && forOcsp) return getEcPoint(out, log);
  if (isEc || oid.equalsUtf8(known_oid::dsa.dotted())) {
    if (log.m_verbose) {
      log.LogInfo(forOcsp ? "Returning DSA public key from X.509 cert..."
                          : "Returning DSA or ECDSA public key DER from X.509 cert...");
    }
    const TreeVisit spki(m_certXml, kSpkiPath);
    return spki && encodeSpki(out, log);
  }
  if (oid.equalsUtf8(known_oid::gost34310WithGost34311.dotted())) return refuseGost(oid, log);
  return getKeyBits(out);
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

// The EC point alone. It stays out of the cache, which get_PublicKey would take for its own form.
bool VelmoraX509::getEcPoint(DataBuffer& out, LogBase& log) {
  if (log.m_verbose) log.LogInfo("Returning ECDSA public key from X.509 cert...");
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
  const TreeVisit spki(m_certXml, kSpkiPath);
  if (!spki) return false;
  m_certXml->getXml(false, out, log);
  return true;
}

bool VelmoraX509::getVelmoraKeyId64(StringBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  // The name of the context is part of the interface.
  LogContextExitor context(log, "x509GetKeyModulus");
  out.weakClear();
  if (!m_keyId64.isEmpty()) return out.append(m_keyId64);
  DataBuffer keyDer;
  if (!get_PublicKey(keyDer, log)) return false;
  _vmPublicKey key;
  if (!key.loadAnyDer(keyDer, log)) return false;
  return key.getVelmoraKeyId64(out, log);  // not kept, see m_keyId64
}

}  // namespace velmora
