#pragma once

// The general names of alternative names, name constraints, distribution points and access
// descriptions (RFC 5280 §4.2.1.6), each kind a type of its own. All of them own what they hold,
// but a Name, which shares the octets of its certificate.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/name.h"
#include "velmora/certificate/oid.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// dNSName [2]: ASCII, as it stands there. It may hold anything, a NUL or spaces included.
struct DnsName {
  std::string text;  // without any change
  friend bool operator==(const DnsName&, const DnsName&) = default;
};

/// rfc822Name [1]: ASCII, as it stands there.
struct EmailAddress {
  std::string text;  // without any change
  friend bool operator==(const EmailAddress&, const EmailAddress&) = default;
};

/// uniformResourceIdentifier [6]: ASCII, as it stands there.
struct Uri {
  std::string text;  // without any change
  friend bool operator==(const Uri&, const Uri&) = default;
};

/// iPAddress [7] of 4 octets (IPv4) or 16 (IPv6), in network order; the octets beyond are 0.
struct VELMORA_API IpAddress {
  std::array<std::byte, 16> octets{};  // the first `size` of them count
  uint8_t size = 4;                    // 4 or 16

  /// "192.0.2.17", or IPv6 as RFC 5952 writes it: "2001:db8::1".
  std::string text() const;

  friend constexpr bool operator==(const IpAddress&, const IpAddress&) noexcept = default;
};

/// iPAddress [7] in name constraints: an address and the mask behind it (RFC 5280 §4.2.1.10).
struct VELMORA_API IpRange {
  IpAddress address;  // as it stands there, bits beyond the mask included
  IpAddress mask;     // of the same size

  /// "192.0.2.0/24", or with a mask whose ones are not all in front "192.0.2.0/255.0.255.0".
  std::string text() const;

  friend constexpr bool operator==(const IpRange&, const IpRange&) noexcept = default;
};

/// registeredID [8].
struct RegisteredId {
  Oid id;        // empty for one of more than Oid::kMaxSize octets
  Octets rawId;  // its content octets
};

/// otherName [0]: the OID of its type and the DER of its value (RFC 5280 §4.2.1.6).
struct VELMORA_API OtherName {
  Oid type;        // empty for one of more than Oid::kMaxSize octets
  Octets rawType;  // its content octets
  Octets value;    // the DER of one element, without the [0] around it

  /// The value in UTF-8 when it is a UTF8String, IA5String or PrintableString; else malformedText.
  Result<std::string> text() const;
};

/// A general name without a type here: x400Address [3] and ediPartyName [5], which are well-formed
/// whatever they hold, and those that are not of their own syntax, so that nothing is left out.
struct RawName {
  uint8_t tag = 0;         // the number of its context-specific tag; 0xFF for what has none below 9
  bool malformed = false;  // a name of one of the other kinds that is none, or of no kind
  Octets der;              // the general name whole
  uint32_t offset = 0;     // of it, from the start of the certificate
};

/// The Name of directoryName [4] is that inside the explicit tag.
using GeneralName = std::variant<DnsName, EmailAddress, Uri, IpAddress, IpRange, Name, RegisteredId,
                                 OtherName, RawName>;

}  // namespace velmora
