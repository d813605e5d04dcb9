#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/log/refuse.h"
#include "velmora/support/trust/trusted_roots.h"
#include "velmora/x509/internal/signature_algorithms.h"
#include "velmora/x509/velmora_x509.h"

// The steps of one verification, from the names to the trusted roots. The algorithms are in
// signature_algorithms.cpp.

namespace velmora {
namespace {

// What a certificate is known by among the trusted roots. A text that ran out of memory is marked.
struct CertificateName {
  XString subjectDn;
  XString serialNumber;

  void read(VelmoraX509& cert, LogBase& log) {
    cert.getDN(true, false, subjectDn, log, 0);
    cert.get_SerialNumber(serialNumber, log);
  }
  bool failed() const { return subjectDn.failed() || serialNumber.failed(); }
};

void logIssuer(VelmoraX509& issuer, LogBase& log) {
  CertificateName name;
  name.read(issuer, log);
  log.LogDataX("issuerDN", name.subjectDn);
  log.LogDataX("issuerSerialNumber", name.serialNumber);
}

// The certificate whose key is to have signed `cert`; null, with an error, when there is none.
VelmoraX509* chooseKeyCertificate(VelmoraX509& cert, VelmoraX509* issuer, bool selfSigned,
                                  LogBase& log) {
  if (selfSigned) {
    if (log.m_verbose) {
      log.LogInfo("Verifying the signature of a self-signed/root certificate.");
    }
    return issuer != nullptr ? issuer : &cert;
  }
  if (issuer == nullptr) {
    log.LogError("Cannot verify certificate without issuer's public key.");
  } else if (log.m_verbose) {
    logIssuer(*issuer, log);
  }
  return issuer;
}

bool verifyWithKeyOf(VelmoraX509& keyCert, const DataBuffer& certDer, LogBase& log) {
  DataBuffer keyBytes;
  if (!keyCert.get_PublicKey(keyBytes, log)) {
    return refuse("Failed to get issuer public key.", log);
  }
  CertificateSignature parts;
  _vmPublicKey key;
  return readCertificateSignature(certDer, parts, log) &&
         loadIssuerKey(parts, keyBytes, key, log) && verifyWithKey(parts, key, log);
}

// Whether `cert` has the key of the root that was registered under its name.
bool hasKeyOfRoot(VelmoraX509& cert, DataBuffer& rootDer, LogBase& log) {
  VelmoraX509 root;
  if (!root.loadX509Der(rootDer, log)) return refuse("Failed to load root certificate DER.", log);
  DataBuffer rootKey;
  DataBuffer certKey;
  if (!root.get_PublicKey(rootKey, log) || !cert.get_PublicKey(certKey, log)) {
    return refuse("Cannot compare public keys to validate root certificate.", log);
  }
  if (!rootKey.equals(certKey)) {
    return refuse(
        "The public key of the root cert in the chain is not the same as the public key of the "
        "explicitly trusted root cert.",
        log);
  }
  log.LogInfo(
      "The public key was successfully validated against the public key of the explicitly trusted "
      "root cert.");
  return true;
}

bool isTrusted(VelmoraX509& cert, const CertificateName& name, LogBase& log) {
  DataBuffer rootDer;
  bool implicitlyTrusted = true;
  if (!TrustedRoots::isTrustedRoot(nullptr, name.serialNumber.view(), name.subjectDn.view(),
                                   rootDer, implicitlyTrusted, log)) {
    return refuse("This is not a trusted root certificate.", log);
  }
  if (implicitlyTrusted) {
    if (log.m_verbose) log.LogInfo("This is an implicitly trusted root certificate.");
    return true;
  }
  if (log.m_verbose) log.LogInfo("This is an explicitly trusted root certificate.");
  return hasKeyOfRoot(cert, rootDer, log);
}

}  // namespace

bool VelmoraX509::verifyCertSignature(VelmoraX509* issuer, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "verifyX509CertSignature");
  CertificateName name;
  name.read(*this, log);
  if (log.m_verbose) log.LogDataX("certSubject", name.subjectDn);
  bool selfSigned = false;
  // With a name that lacks something a root could pass for another one, or for no root at all.
  if (!compareNames(selfSigned, log) || name.failed()) return refuse(kOutOfMemory, log);
  VelmoraX509* keyCert = chooseKeyCertificate(*this, issuer, selfSigned, log);
  return keyCert != nullptr && verifyWithKeyOf(*keyCert, m_certDer, log) &&
         (!selfSigned || isTrusted(*this, name, log));
}

}  // namespace velmora
