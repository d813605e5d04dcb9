#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/reading/certificate_tree.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

/// What both forms of "show" tell beyond the single fields.

inline constexpr std::string_view kSubjectKeyIdentifier = "2.5.29.14";
inline constexpr std::string_view kSubjectAltName = "2.5.29.17";
inline constexpr std::string_view kAuthorityKeyIdentifier = "2.5.29.35";

/// The version as get_Version has it; a certificate without the field is one of version 1.
void readVersion(VelmoraX509& certificate, XString& version, LogBase& log);

/// Whether subject and issuer are the same name (nameKey), which no empty or malformed one is.
bool isSelfIssued(const CertificateTree& tree);

/// The SHA-256 of the SubjectPublicKeyInfo in base64 (RFC 7469).
void readSpkiPin(VelmoraX509& certificate, XString& pin, LogBase& log);

/// Which key identifier (RFC 5280 §4.2.1.1 and §4.2.1.2).
enum class KeyIdentifier { kSubject, kAuthority };

/// The octets of the key identifier; false when the certificate has none.
bool readKeyIdentifier(const CertificateTree& tree, KeyIdentifier which, DataBuffer& octets);

/// The subject alternative names, as a list of general names; none when there are none or the
/// extension is no list.
XmlHandle alternativeNames(const CertificateTree& tree);

/// The e-mail addresses of the subject and those among the alternative names, in this order, each
/// once, as octets.
std::vector<std::string> emailAddresses(const CertificateTree& tree);

/// The octets of the SHA-256 of some bytes.
void sha256(std::span<const unsigned char> bytes, DataBuffer& digest);

}  // namespace velmora::tool
