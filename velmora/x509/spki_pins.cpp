#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/log/refuse.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {

// Fills the cache that pins are made from; nothing is left in it on failure.
bool VelmoraX509::fillSpkiDer(LogBase& log) {
  const TreeVisit spki(m_certXml, kSpkiPath);
  if (!spki) {
    log.LogError("No SubjectPublicKeyInfo found in ASN.1");
    return false;
  }
  if (encodeSpki(m_spkiDer, log)) return true;
  if (m_spkiDer.failed()) log.LogError(kOutOfMemory);
  m_spkiDer.clear();
  log.LogError("Error encoding SubjectPublicKeyInfo to DER.");
  return false;
}

bool VelmoraX509::getSpkiFingerprint(const StringBuffer& hashAlg, const StringBuffer& encoding,
                                     XString& out, LogBase& log) {
  LogContextExitor context(log, "getSpkiFingerprint");
  CritSecExitor lock(this);
  if (m_spkiDer.empty() && !fillSpkiDer(log)) return false;
  // A name with a NUL inside is that of no encoding, whatever stands before the NUL.
  if (!encoding.equals(encoding.getString())) return false;
  DataBuffer digest;
  _vmHash::doHash(m_spkiDer.data(), static_cast<unsigned int>(m_spkiDer.size()),
                  _vmHash::hashId(hashAlg.view()), digest);
  const bool encoded = digest.encodeDB(encoding.getString(), out.getUtf8Sb_rw());
  return encoded || !(digest.failed() || out.failed()) ? encoded : refuse(kOutOfMemory, log);
}

bool VelmoraX509::matchesPinSet(XString& pinSet, LogBase& log) {
  LogContextExitor context(log, "matchesPinSet");
  CritSecExitor lock(this);
  ExtPtrArraySb fields;
  if (!pinSet.getUtf8Sb().split(fields, ',', true, false)) log.LogError(kOutOfMemory);
  if (fields.getSize() <= 2) {
    log.LogError("Not enough strings in the pinset.");
    log.LogDataX("pinset", pinSet);
    return false;
  }
  const StringBuffer& hashAlg = *fields.sbAt(0);
  const StringBuffer& encoding = *fields.sbAt(1);
  // The result is not looked at: without a fingerprint there is an empty text, which equals no pin,
  // since split leaves no empty ones.
  XString fingerprint;
  getSpkiFingerprint(hashAlg, encoding, fingerprint, log);
  if (log.m_detail) {
    log.LogDataSb("hashAlg", hashAlg);
    log.LogDataSb("encoding", encoding);
  }
  const bool ignoreCase = encoding.beginsWithIgnoreCase("hex");
  if (ignoreCase) fingerprint.getUtf8Sb_rw().toLowerCase();
  if (log.m_detail) log.LogDataX("server_spki_fingerprint", fingerprint);
  for (int i = 2; i < fields.getSize(); ++i) {
    StringBuffer& pin = *fields.sbAt(i);
    if (ignoreCase) pin.toLowerCase();
    if (log.m_detail) log.LogDataSb("acceptablePin", pin);
    if (!pin.equals(fingerprint.getUtf8Sb())) continue;
    if (log.m_detail) log.LogDataX("spki_pinning_match", fingerprint);
    return true;
  }
  log.LogError("No SPKI pinning match found.");
  return false;
}

}  // namespace velmora
