#pragma once

// The names of OIDs, and OIDs by their names.

#include <span>
#include <string_view>

#include "velmora/support/core/export.h"

namespace velmora {

/// An OID of the table. The texts live as long as the program.
struct NamedOid {
  std::string_view dotted;  // decimal arcs
  std::string_view name;    // as oidName gives it
};

/// The OID with these content octets (X.690 §8.19); both texts are empty when it is not in the
/// table.
VELMORA_API NamedOid namedOid(std::span<const unsigned char> content) noexcept;

/// The name by which the standards know a dotted OID: attribute types, algorithms, curves,
/// extensions, key purposes, access methods, certificate policies and their qualifiers, and types
/// of other names, such as "subjectAltName" for "2.5.29.17". Empty for an OID that is not in the
/// table. The text lives as long as the program. Stateless; any thread may call it.
VELMORA_API std::string_view oidName(std::string_view dotted) noexcept;

/// The same for content octets.
inline std::string_view oidName(std::span<const unsigned char> content) noexcept {
  return namedOid(content).name;
}

/// The other way round: the dotted OID that oidName gives exactly this name; empty for any other
/// text.
VELMORA_API std::string_view oidOfName(std::string_view name) noexcept;

}  // namespace velmora
