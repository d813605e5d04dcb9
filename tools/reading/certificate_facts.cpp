#include "tools/reading/certificate_facts.h"

#include <set>

#include "tools/reading/general_name.h"
#include "tools/reading/name_key.h"
#include "tools/reading/whole.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/x509/dn_names.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kEmailAddress = "1.2.840.113549.1.9.1";

// Addresses in the order in which they are added, each once; an empty text is none. Whoever asks
// for a certificate chooses them, so that they must not decide how long it takes to find one again:
// a tree takes the same for all, where the texts of one hash would fill one bucket.
class AddressList {
 public:
  void add(std::string_view address) {
    if (address.empty()) return;
    std::string text(address);
    if (m_known.insert(text).second) m_addresses.push_back(std::move(text));
  }
  std::vector<std::string> take() { return std::move(m_addresses); }

 private:
  std::vector<std::string> m_addresses;
  std::set<std::string> m_known;
};

void addFromSubject(ClsXml& subject, AddressList& addresses) {
  LogNull log;
  StringBuffer value;
  eachAttribute(subject, [&](size_t, std::string_view oid) {
    if (oid != kEmailAddress) return;
    value.weakClear();
    appendDnValue(subject, false, value, log);
    addresses.add(whole(value).view());
  });
}

void addFromAlternativeNames(ClsXml& names, AddressList& addresses) {
  GeneralName name;
  eachChild(names, [&] {
    if (!isPrimitiveContext(names, 1)) return;
    readGeneralName(names, name);
    addresses.add(name.text.view());
  });
}

}  // namespace

void readVersion(VelmoraX509& certificate, XString& version, LogBase& log) {
  if (!certificate.get_Version(version, log)) version.setFromUtf8("1");
}

bool isSelfIssued(const CertificateTree& tree) {
  const std::string subject = nameKey(*tree.subject());
  return !subject.empty() && subject == nameKey(*tree.issuer());
}

// Every certificate has a SubjectPublicKeyInfo: what can fail is memory alone.
void readSpkiPin(VelmoraX509& certificate, XString& pin, LogBase& log) {
  const StringBuffer hash("sha256");
  const StringBuffer encoding("base64");
  pin.weakClear();
  const bool read = certificate.getSpkiFingerprint(whole(hash), whole(encoding), pin, log);
  if (!read) throw std::bad_alloc();
}

bool readKeyIdentifier(const CertificateTree& tree, KeyIdentifier which, DataBuffer& octets) {
  const bool ofSubject = which == KeyIdentifier::kSubject;
  const XmlHandle at = tree.extension(ofSubject ? kSubjectKeyIdentifier : kAuthorityKeyIdentifier);
  octets.clear();
  bool found = false;
  if (!at) return false;
  if (ofSubject) {
    found = at->tagEquals("octets") && octets.appendEncoded(at->contentView(), "base64");
    whole(octets);
    return found;
  }
  eachChild(*at, [&] {
    if (found || !isPrimitiveContext(*at, 0)) return;
    found = octets.appendEncoded(at->contentView(), "base64");
  });
  whole(octets);
  return found;
}

XmlHandle alternativeNames(const CertificateTree& tree) {
  XmlHandle names = tree.extension(kSubjectAltName);
  if (names && (!names->tagEquals("sequence") || names->get_NumChildren() == 0)) names.reset();
  return names;
}

std::vector<std::string> emailAddresses(const CertificateTree& tree) {
  AddressList addresses;
  addFromSubject(*tree.subject(), addresses);
  if (const XmlHandle names = alternativeNames(tree)) {
    addFromAlternativeNames(*names, addresses);
  }
  return addresses.take();
}

void sha256(std::span<const unsigned char> bytes, DataBuffer& digest) {
  _vmHash::doHash(bytes.data(), static_cast<unsigned int>(bytes.size()), _vmHash::kSha256, digest);
}

}  // namespace velmora::tool
