#pragma once

// What the text and the JSON of "show" both tell, so that they cannot tell different things.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/reading/place.h"
#include "tools/render/name_text.h"

namespace velmora::tool {

/// What stands in the place of the version (RFC 5280 §4.1.2.1).
struct ShownVersion {
  /// As people count it, one more than the INTEGER, which may be padded; 1 when the field is
  /// absent. None when there is no INTEGER, or one of more octets than every reader of JSON keeps
  /// exactly.
  std::optional<int64_t> number;
  /// Of such a long INTEGER the size of its content; else 0.
  size_t longOctets = 0;
};

/// What both forms of "show" tell, read leniently: of several extensions with one OID the first
/// counts. It does not outlive the certificate.
struct ShownCertificate {
  explicit ShownCertificate(const Certificate& certificate);
  ShownCertificate(const ShownCertificate&) = delete;
  ShownCertificate& operator=(const ShownCertificate&) = delete;

  /// What is wrong with the version, and with extensions beside it; empty as a rule. Safe to print.
  std::string_view versionWarning() const;

  Attributes subject;
  Attributes issuer;
  ShownVersion version;
  Result<std::chrono::sys_seconds> notBefore;
  Result<std::chrono::sys_seconds> notAfter;
  PublicKey key;
  std::vector<Extension> extensions;
  std::optional<Bytes> subjectKeyId;
  std::optional<Bytes> authorityKeyId;
  std::vector<GeneralName> alternativeNames;  // of the subject
  std::vector<std::string_view> emails;       // of the subject and its names, each once
};

}  // namespace velmora::tool
