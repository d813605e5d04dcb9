#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/x509/internal/signature_algorithms.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {
namespace {

// Certificate ::= SEQUENCE { tbsCertificate TBSCertificate, ... }
bool encodeToBeSigned(_vmAsn1& certificate, DataBuffer& out, LogBase& log) {
  _vmAsn1* tbsCertificate = certificate.getAsnPart(0);
  return tbsCertificate != nullptr && tbsCertificate->EncodeToDer(out, false, log);
}

}  // namespace

int VelmoraX509::getCertDerSize() {
  CritSecExitor lock(this);
  return static_cast<int>(m_certDer.size());
}

void VelmoraX509::getCertDer(DataBuffer& out) {
  CritSecExitor lock(this);
  out.append(m_certDer);
}

bool VelmoraX509::saveXml(XString& out, LogBase&) {
  CritSecExitor lock(this);
  return m_certXml != nullptr && m_certXml->SaveXml(out);
}

bool VelmoraX509::getXml(XString& out, LogBase&) {
  CritSecExitor lock(this);
  return m_certXml != nullptr && m_certXml->GetXml(out);
}

void VelmoraX509::get_Sha1Thumbprint(DataBuffer& out, LogBase&) {
  CritSecExitor lock(this);
  Sha1Digest::hashData(m_certDer, out);
}

void VelmoraX509::get_Sha1ThumbprintX(XString& out, LogBase&) {
  CritSecExitor lock(this);
  DataBuffer digest;
  Sha1Digest::hashData(m_certDer, digest);
  XString hex;
  hex.appendHexDataNoWS(digest.data(), digest.size());
  hex.canonicalizeHexString();
  out.appendX(hex);
  if (digest.failed()) out.markFailed();
}

bool VelmoraX509::getCertHash(int hashAlg, DataBuffer& out, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "getCertHash");
  out.clear();
  RefOwner<_vmAsn1> certificate(decodeCertificate(m_certDer, log));
  if (!certificate) return false;
  DataBuffer toBeSigned;
  encodeToBeSigned(*certificate, toBeSigned, log);
  certificate.reset();
  if (toBeSigned.empty()) {
    log.LogError("Failed to get certificate DER.");
    return false;
  }
  _vmHash::doHash(toBeSigned.data(), static_cast<unsigned int>(toBeSigned.size()), hashAlg, out);
  return !out.empty();
}

}  // namespace velmora
