#pragma once

// Octets in the types that the rows of a certificate need: characters, digests, hexadecimal,
// base64.

#include <array>
#include <span>
#include <string_view>

#include "tools/terminal/print.h"
#include "velmora/certificate/bytes.h"
#include "velmora/support/text/byte_codecs.h"

namespace velmora::tool {

/// Octets of the typed face as what lies below it takes them.
inline std::span<const unsigned char> octetsOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

/// The same as characters.
inline std::string_view charactersOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline bool isSame(Bytes a, Bytes b) noexcept {
  return charactersOf(a) == charactersOf(b);
}

/// The digest of some octets, by a digest of support/hash.
template <class Digest>
std::array<std::byte, Digest::kDigestSize> digestOf(
    std::span<const unsigned char> octets) noexcept {
  std::array<std::byte, Digest::kDigestSize> digest;
  Digest hash;
  hash.update(octets.data(), octets.size());
  hash.finish(reinterpret_cast<unsigned char*>(digest.data()));
  return digest;
}

/// Octets as items of print(): in base64, and as hexadecimal digits in upper case.
struct Base64 {
  Bytes octets;
};
struct Hex {
  Bytes octets;
};

inline void appendItem(Base64 item, StringBuffer& out) noexcept {
  char* const digits = out.extend(base64Length(item.octets.size()));
  if (digits != nullptr) base64Encode(octetsOf(item.octets).data(), item.octets.size(), digits);
}
inline void appendItem(Hex item, StringBuffer& out) noexcept {
  char* const digits = out.extend(2 * item.octets.size());
  if (digits != nullptr) hexEncodeUpper(octetsOf(item.octets).data(), item.octets.size(), digits);
}

}  // namespace velmora::tool
