#include "velmora/support/hash/vm_hash.h"

#include "velmora/support/core/known_oids.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

template <class Digest>
void hashOnce(const void* data, size_t size, unsigned char* out) noexcept {
  Digest digest;
  digest.update(data, size);
  digest.finish(out);
}

struct HashAlgorithm {
  int id;
  std::string_view bits;  // the name after "SHA"
  std::string_view oid;
  size_t digestSize;
  void (*hash)(const void* data, size_t size, unsigned char* digest) noexcept;
};

constexpr HashAlgorithm kAlgorithms[] = {
    {_vmHash::kSha1, "1", known_oid::sha1.dotted(), Sha1Digest::kDigestSize, hashOnce<Sha1Digest>},
    {_vmHash::kSha256, "256", known_oid::sha256.dotted(), Sha256Digest::kDigestSize,
     hashOnce<Sha256Digest>},
    {_vmHash::kSha384, "384", known_oid::sha384.dotted(), Sha384Digest::kDigestSize,
     hashOnce<Sha384Digest>},
    {_vmHash::kSha512, "512", known_oid::sha512.dotted(), Sha512Digest::kDigestSize,
     hashOnce<Sha512Digest>},
};

template <class Predicate>
const HashAlgorithm* findAlgorithm(Predicate matches) noexcept {
  for (const HashAlgorithm& algorithm : kAlgorithms) {
    if (matches(algorithm)) return &algorithm;
  }
  return nullptr;
}

const HashAlgorithm* algorithmById(int hashId) noexcept {
  return findAlgorithm([hashId](const HashAlgorithm& a) { return a.id == hashId; });
}

int idOf(const HashAlgorithm* algorithm) noexcept {
  return algorithm != nullptr ? algorithm->id : _vmHash::kUnknown;
}

}  // namespace

void _vmHash::doHash(const void* data, unsigned int size, int hashId, DataBuffer& out) noexcept {
  unsigned char digest[kMaxDigestSize];
  const size_t written = hashTo(data, size, hashId, digest);
  if (written != 0) out.append(digest, written);
}

size_t _vmHash::hashTo(const void* data, size_t size, int hashId, unsigned char* digest) noexcept {
  const HashAlgorithm* algorithm = algorithmById(hashId);
  if (algorithm == nullptr) return 0;
  algorithm->hash(data, size, digest);
  return algorithm->digestSize;
}

size_t _vmHash::digestSize(int hashId) noexcept {
  const HashAlgorithm* algorithm = algorithmById(hashId);
  return algorithm != nullptr ? algorithm->digestSize : 0;
}

int _vmHash::hashId(const char* name) noexcept {
  return name != nullptr ? hashId(std::string_view(name)) : kUnknown;
}

int _vmHash::hashId(std::string_view name) noexcept {
  if (!equalsIgnoringAsciiCase(name.substr(0, 3), "sha")) return kUnknown;
  name.remove_prefix(3);
  if (name.starts_with('-')) name.remove_prefix(1);
  return idOf(findAlgorithm([name](const HashAlgorithm& a) { return a.bits == name; }));
}

int _vmHash::oidToHashAlg(std::string_view oid) noexcept {
  return idOf(findAlgorithm([oid](const HashAlgorithm& a) { return a.oid == oid; }));
}

int _vmHash::oidToHashAlg(const StringBuffer& oid) noexcept {
  return oid.failed() ? kUnknown : oidToHashAlg(oid.view());
}

}  // namespace velmora
