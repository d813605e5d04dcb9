#pragma once

// What names and constraints are compared by: keys of which one starts the other where the name is
// within the constraint.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/certificate/general_name.h"
#include "velmora/path/internal/name_constraints.h"

namespace velmora {

NameForm formOf(const GeneralName& name) noexcept;

/// The first `bits` of an address, a character for each, behind one that tells IPv4 from IPv6: the
/// key of a prefix starts those of its addresses.
std::string addressKey(const IpAddress& address, size_t bits);

/// A mailbox, taken apart; nothing when it is none, or its domain is no DNS name.
struct Mailbox {
  std::string localPart;
  std::string domainKey;
};
std::optional<Mailbox> readMailbox(std::string_view text, bool allowsUtf8);

/// The host of a URI (RFC 3986 §3.2.2), when it is there and is a DNS name. What programs read in
/// different ways gives nothing: a backslash, a second "@", characters that belong in no authority.
std::optional<std::string_view> hostOf(std::string_view uri) noexcept;

}  // namespace velmora
