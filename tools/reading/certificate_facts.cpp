#include "tools/reading/certificate_facts.h"

#include "tools/reading/whole.h"
#include "velmora/support/hash/vm_hash.h"

namespace velmora::tool {

void readVersion(VelmoraX509& certificate, XString& version, LogBase& log) {
  if (!certificate.get_Version(version, log)) version.setFromUtf8("1");
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

void sha256(std::span<const unsigned char> bytes, DataBuffer& digest) {
  _vmHash::doHash(bytes.data(), static_cast<unsigned int>(bytes.size()), _vmHash::kSha256, digest);
}

}  // namespace velmora::tool
