#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/certificate_tree.h"
#include "tools/input.h"
#include "tools/key_description.h"

namespace velmora::tool {

/// A certificate that is kept, with what looking for its issuer and judging it needs.
struct KnownCertificate {
  mutable LoadedCertificate loaded;  // its questions change nothing, and have locks of their own
  std::string source;                // as the user named it
  size_t index = 0;                  // within the source
  std::string place;                 // both, safe to print: "FILE: certificate 2"
  std::string subject;               // in style 0, as it is

  // Keys by which names are compared: every attribute of every RDN in order, octet by octet. Empty
  // for a name that is empty or malformed, which equals no other.
  std::string subjectKey;
  std::string issuerKey;
  bool selfIssued = false;             // as the library tells it
  std::string subjectKeyIdentifier;    // octets; empty when absent
  std::string authorityKeyIdentifier;  // likewise

  bool isVersion3 = false;
  KeyDescription key;
  XmlHandle keyAlgorithm;    // AlgorithmIdentifier of the key; may be none
  XmlHandle outerAlgorithm;  // of the signature; may be none
  bool sameAlgorithms = false;

  /// A field of an extension that may be absent, or there and malformed.
  template <class Value>
  struct Field {
    bool present = false;
    std::optional<Value> value;  // none when malformed
  };
  struct BasicConstraints {
    bool isCa = false;
    std::optional<uint64_t> pathLength;
  };
  Field<BasicConstraints> basicConstraints;
  Field<bool> mayCertify;                         // keyCertSign of keyUsage
  std::vector<std::string> unknownCritical;       // OIDs
  std::vector<std::string> uncheckedConstraints;  // OIDs of critical extensions not looked into
  bool repeatsExtension = false;
};

/// Certificates, each kept once however often it was given, to be found by their subjects.
class CertificatePool {
 public:
  /// Keeps a certificate. Null, with `reason` set, when it cannot be read.
  const KnownCertificate* add(const InputCertificate& input, const char*& reason);

  /// The certificates with this subject, in the order in which they came.
  const std::vector<const KnownCertificate*>& withSubject(const std::string& subjectKey) const;

 private:
  std::deque<KnownCertificate> m_certificates;
  std::unordered_map<std::string, const KnownCertificate*> m_byDigest;
  std::unordered_map<std::string, std::vector<const KnownCertificate*>> m_bySubject;
  std::vector<const KnownCertificate*> m_none;
};

}  // namespace velmora::tool
