#pragma once

// Host names and mailboxes, as targets, alternative names and name constraints share them.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/certificate/general_name.h"
#include "velmora/certificate/result.h"

namespace velmora {

/// The offset of what makes a text no DNS name: a character that is no ASCII letter or digit,
/// hyphen or underscore (which no rule of hosts allows and many internal names have), an empty
/// label, so also one that starts or ends with a dot, a label over 63 octets, a name over 253.
/// Nothing when it is one. Linear.
std::optional<size_t> dnsNameFault(std::string_view text) noexcept;

/// Whether the last label consists of digits alone, which only addresses do.
bool hasNumericLastLabel(std::string_view text) noexcept;

/// The labels of a DNS name from the last to the first in small letters, a dot behind each:
/// "com.example.". A name stands below another, or is the same, exactly if its key starts with the
/// other's. The empty text has the empty key, with which all keys start.
std::string dnsKey(std::string_view name);

/// What the local part of a mailbox means (RFC 5321 §4.1.2): a dot-string is itself, a quoted
/// string what it quotes, so that "\"joe\"" and "joe" are the same; nothing for what is neither,
/// such as atoms between dots that are empty.
/// With `allowsUtf8` octets beyond ASCII are letters (RFC 6531 §3.3).
std::optional<std::string> localPartOf(std::string_view text, bool allowsUtf8);

/// An address as people write it: four decimal numbers without leading zeros, or IPv6 (RFC 4291
/// §2.2) without a zone. Error notAHost with the offset of the character at fault.
Result<IpAddress> readIpv4(std::string_view text) noexcept;
Result<IpAddress> readIpv6(std::string_view text) noexcept;

}  // namespace velmora
