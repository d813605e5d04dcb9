#pragma once

// Octets as bytes, characters and unsigned chars.

#include <span>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora {

// The octets of this floor, which are std::byte, in the types of others; octetsOf, the third of
// these, comes with the DER cursor.

inline Bytes bytesOf(std::span<const unsigned char> octets) noexcept {
  return std::as_bytes(octets);
}
inline std::string_view charactersOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace velmora
