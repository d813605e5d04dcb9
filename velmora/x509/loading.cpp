#include <algorithm>
#include <climits>

#include "velmora/x509/internal/tree_maker.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {
namespace {

// One progress line, wherever a batch of certificates comes from: its text is part of the
// interface.
constexpr const char* kProgressLine = "Loading PKCS7 (p7b) certificate...";

// Drops bytes for whose tree memory ran out. The tree that is there is another certificate's, for
// which a signature in these bytes must not vouch.
void forget(DataBuffer& der) {
  der.clear();
  der.markFailed();
}

}  // namespace

bool VelmoraX509::loadX509Der(DataBuffer& der, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "loadX509Der");
  // A buffer that ran out of memory may hold a part of its certificate alone: none of it is loaded.
  const size_t size = der.failed() ? 0 : std::min<size_t>(der.size(), UINT_MAX);
  return loadX509DerAlt(der.data(), static_cast<unsigned int>(size), nullptr, log);
}

bool VelmoraX509::loadX509DerAlt(const unsigned char* der, unsigned int n, SystemCerts* store,
                                 LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "loadX509DerAlt");
  m_publicKeyDer.clear();
  m_keyId64.clear();
  m_spkiDer.clear();
  m_certDer.assign(der, der != nullptr ? n : 0);

  TreeMaker maker;
  if (m_certDer.failed() || !maker.convert(m_certDer, log)) {
    log.LogError("Failed to convert DER to XML.");
    if (maker.ranOutOfMemory()) forget(m_certDer);
    return false;
  }
  if (!maker.load(m_certXml, log)) {
    forget(m_certDer);
    log.LogError("Failed to load X509 XML.");
    return false;
  }
  ClsXml* firstChild = m_certXml->GetChild(0);
  if (firstChild == nullptr) {
    log.LogError("Cert XML is empty.");
    return false;
  }
  const bool isBundle = firstChild->tagEquals("oid");
  firstChild->deleteSelf();
  return !isBundle || loadBundle(store, log);
}

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT SignedData }
// SignedData ::= SEQUENCE { version INTEGER, digestAlgorithms SET, contentInfo ContentInfo,
//   certificates [0] IMPLICIT SET OF Certificate OPTIONAL, ... }
bool VelmoraX509::loadBundle(SystemCerts* store, LogBase& log) {
  XString path("contextSpecific|sequence|contextSpecific|$");
  XString unused;
  const TreeVisit bundle = TreeVisit::fromRoot(*m_certXml, m_certXml->VelmoraPath(path, unused));
  if (!bundle) {
    log.LogError("Unrecognized PKCS7 cert format.");
    return false;
  }
  const bool success = becomeFirstOfBundle(store, log);
  if (log.m_verbose) log.LogDataLong("success", success ? 1 : 0);
  return success;
}

// The handle stands on the certificates of a bundle. One that cannot be encoded is passed over, but
// without the first there is nothing to become.
bool VelmoraX509::becomeFirstOfBundle(SystemCerts* store, LogBase& log) {
  const int count = m_certXml->get_NumChildren();
  if (log.m_verbose) log.LogDataLong("numPkcs7Certs", count);
  StringBuffer firstXml;
  DataBuffer firstDer;
  DataBuffer laterDer;
  for (int i = 0; i < count; ++i) {
    if (log.m_verbose) log.LogInfo(kProgressLine);
    const TreeVisit member = TreeVisit::toChild(*m_certXml, i);
    if (i == 0) m_certXml->getXml(true, firstXml, log);
    DataBuffer& der = i == 0 ? firstDer : laterDer;
    der.clear();
    const bool encoded = DerXmlCodec::xmlToDer(*m_certXml, der, log);
    if (encoded && store != nullptr) store->addCertDer(der, log);
  }
  if (firstDer.empty() || firstDer.failed()) return false;
  m_certDer.swap(firstDer);
  // The flag is reserved and has no effect; a bundle as a whole is loaded with true.
  if (loadTree(m_certXml, firstXml, false, log)) return true;
  forget(m_certDer);
  return false;
}

bool VelmoraX509::loadX509_fromXml(ClsXml* xml, ExtPtrArrayRc& out, LogBase& log) {
  LogContextExitor context(log, "loadX509_fromXml");
  if (xml == nullptr) return false;
  const int count = xml->get_NumChildren();
  if (log.m_verbose) log.LogDataLong("numCerts", count);
  StringBuffer scratch;
  for (int i = 0; i < count; ++i) {
    if (log.m_verbose) log.LogInfo(kProgressLine);
    const TreeVisit child = TreeVisit::toChild(*xml, i);
    if (!child) return false;
    const TreeVisit root = TreeVisit::toChild(*xml, 0);
    if (!root || !appendFromXml(*xml, scratch, out, log)) return false;
  }
  return true;
}

// Appends a certificate made of the tree at `root`, which is copied.
bool VelmoraX509::appendFromXml(ClsXml& root, StringBuffer& scratch, ExtPtrArrayRc& out,
                                LogBase& log) {
  scratch.weakClear();
  if (!root.getXml(true, scratch, log)) return false;
  RefOwner<VelmoraX509> cert = createOwnedX509();
  if (!cert || cert->m_certXml == nullptr) return false;
  if (!DerXmlCodec::xmlToDer(root, cert->m_certDer, log)) return false;
  // The tree is made of the bytes, not of the text given: that may spell an element in a way which
  // the getters pass over, and a signature would then speak for fields that nobody sees.
  TreeMaker maker;
  if (!maker.convert(cert->m_certDer, log)) return false;
  if (!maker.load(cert->m_certXml, log)) {
    // The tree is given up here and once more by the destructor; the extra count pays for that.
    cert->m_certXml->incRefCount();
    cert->m_certXml->decRefCount();
    return false;
  }
  if (log.m_verbose) {
    XString name;
    cert->getDN(true, true, name, log, 0);
    log.LogDataX("xDn", name);
  }
  return out.appendRefCounted(cert.release());
}

}  // namespace velmora
