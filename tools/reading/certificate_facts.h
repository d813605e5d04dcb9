#pragma once

#include <string_view>

#include "tools/reading/certificate_tree.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

/// What is told of a certificate beyond the single fields.

inline constexpr std::string_view kSubjectKeyIdentifier = "2.5.29.14";
inline constexpr std::string_view kSubjectAltName = "2.5.29.17";
inline constexpr std::string_view kAuthorityKeyIdentifier = "2.5.29.35";

/// The version as get_Version has it; a certificate without the field is one of version 1.
void readVersion(VelmoraX509& certificate, XString& version, LogBase& log);

/// Which key identifier (RFC 5280 §4.2.1.1 and §4.2.1.2).
enum class KeyIdentifier { kSubject, kAuthority };

/// The octets of the key identifier; false when the certificate has none.
bool readKeyIdentifier(const CertificateTree& tree, KeyIdentifier which, DataBuffer& octets);

/// The octets of the SHA-256 of some bytes.
void sha256(std::span<const unsigned char> bytes, DataBuffer& digest);

}  // namespace velmora::tool
