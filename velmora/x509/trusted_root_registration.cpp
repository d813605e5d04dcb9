#include "velmora/x509/trusted_root_registration.h"

#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/log/refuse.h"
#include "velmora/support/trust/trusted_roots.h"

namespace velmora {
namespace {

// The texts by which verification asks for a root: the subject as it renders without and with the
// option keyword that changes such a text.
class RootTexts {
 public:
  bool read(VelmoraX509& root, LogBase& log) {
    LogNull quiet;
    const bool hasSerial = root.get_SerialNumber(m_serialNumber, quiet);
    root.getDN(true, false, m_subjectDn, quiet, 0);
    quiet.m_optionKeywords.append("DN_NoSpaceAfterComma");
    root.getDN(true, false, m_compactSubjectDn, quiet, 0);
    if (m_serialNumber.failed() || m_subjectDn.failed() || m_compactSubjectDn.failed() ||
        quiet.m_optionKeywords.failed()) {
      return refuse(kOutOfMemory, log);
    }
    return hasSerial || refuse("The serial number of the root cannot be read.", log);
  }

  TrustedRoots::Name name() const {
    return {m_serialNumber.view(), m_subjectDn.view(), m_compactSubjectDn.view()};
  }

 private:
  XString m_serialNumber;
  XString m_subjectDn;
  XString m_compactSubjectDn;
};

}  // namespace

bool addTrustedRoot(VelmoraX509& root, const char* set, LogBase& log) {
  LogContextExitor context(log, "addTrustedRoot");
  CritSecExitor lock(&root);
  if (!root.isIssuerSelf(log)) {
    return refuse("A trusted root has to be issued by itself.", log);
  }
  DataBuffer publicKey;
  if (!root.get_PublicKey(publicKey, log)) {
    return refuse("The public key of the root cannot be read.", log);
  }
  RootTexts texts;
  DataBuffer der;
  root.getCertDer(der);
  if (der.failed()) return refuse(kOutOfMemory, log);
  return texts.read(root, log) && TrustedRoots::addRoot(set, texts.name(), der, publicKey, log);
}

bool trustRootImplicitly(VelmoraX509& root, const char* set, LogBase& log) {
  LogContextExitor context(log, "trustRootImplicitly");
  CritSecExitor lock(&root);
  RootTexts texts;
  return texts.read(root, log) && TrustedRoots::trustImplicitly(set, texts.name(), log);
}

bool removeTrustedRoot(VelmoraX509& root, const char* set, LogBase& log) {
  LogContextExitor context(log, "removeTrustedRoot");
  CritSecExitor lock(&root);
  RootTexts texts;
  return texts.read(root, log) && TrustedRoots::removeRoot(set, texts.name());
}

}  // namespace velmora
