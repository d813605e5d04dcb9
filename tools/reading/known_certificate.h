#pragma once

#include <array>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/reading/input.h"

namespace velmora::tool {

/// A certificate that is kept, with what looking for its issuer and judging it needs.
struct KnownCertificate {
  explicit KnownCertificate(const Certificate& typed) : certificate(typed) {}

  Certificate certificate;
  mutable LoadedCertificate loaded;  // its questions change nothing, and have locks of their own
  std::string source;                // as the user named it
  size_t index = 0;                  // within the source
  std::string place;                 // both, safe to print: "FILE: certificate 2"
  std::string subject;               // in style 0, as it is

  // Keys by which names are compared: every attribute of every RDN in order, octet by octet; string
  // types that spell one text alike make no difference. Empty for a name that is empty or
  // malformed, which equals no other.
  std::string subjectKey;
  std::string issuerKey;
  bool selfIssued = false;             // the two are equal, as the library's texts of the names are
  std::string subjectKeyIdentifier;    // octets; empty when absent
  std::string authorityKeyIdentifier;  // likewise

  std::vector<std::string> unknownCritical;       // OIDs, the first few
  std::vector<std::string> uncheckedConstraints;  // OIDs of extensions not looked into, likewise
  bool repeatsExtension = false;
};

using Certificates = std::vector<const KnownCertificate*>;

/// Certificates that may be found as issuers. It does not own them.
class CertificateIndex {
 public:
  void add(const KnownCertificate& certificate);

  /// Those that may be taken for the issuer of a certificate, at most `most`: their whole name has
  /// to be its issuer's, and the key identifiers have to be equal where both are there. Such that
  /// have an equal one come first, else in the order in which they were added.
  Certificates issuersOf(const KnownCertificate& certificate, size_t most) const;

  /// Whether any has the name of a certificate's issuer, whatever its key identifier.
  bool hasIssuerNameOf(const KnownCertificate& certificate) const;

  bool holds(const KnownCertificate& certificate) const { return m_all.contains(&certificate); }

 private:
  struct SameName {
    Certificates all;
    std::map<std::string, Certificates> byKeyIdentifier;
  };
  // Ordered maps, since hostile names cannot make them slow.
  std::map<std::string, SameName> m_bySubject;
  std::set<const KnownCertificate*> m_all;
};

/// Certificates, each kept once however often it was given.
class CertificatePool {
 public:
  /// Keeps a certificate. Null, with `reason` set, when it cannot be read.
  const KnownCertificate* add(const InputCertificate& input, const char*& reason);

  const CertificateIndex& index() const noexcept { return m_index; }

 private:
  std::deque<KnownCertificate> m_certificates;
  std::map<std::array<unsigned char, 32>, const KnownCertificate*> m_byDigest;  // SHA-256
  CertificateIndex m_index;
};

}  // namespace velmora::tool
