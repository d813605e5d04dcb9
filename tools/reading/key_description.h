#pragma once

#include <optional>
#include <string>

#include "velmora/support/xml/cls_xml.h"

namespace velmora::tool {

/// What a public key is, read from its SubjectPublicKeyInfo without judging it: also keys that no
/// signature may be checked with have a type and a size.
struct KeyDescription {
  std::string type;              // "RSA", "RSA-PSS", "DSA", "EC", "Ed25519" or the dotted OID
  std::optional<unsigned> bits;  // of the modulus, of the prime p, or of the field
  std::string curve;             // of an EC key: its name or dotted OID; empty when explicit
};

/// Describes the SubjectPublicKeyInfo at the handle, which is back afterwards. The type is empty
/// when there is no algorithm.
KeyDescription describeKey(ClsXml& publicKey);

}  // namespace velmora::tool
