#pragma once

// Octets in the types that the rows of a certificate need: characters, digests, hexadecimal,
// base64.

#include <array>
#include <span>
#include <string_view>

#include "velmora/certificate/bytes.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/string_buffer.h"

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

/// Appends them in base64.
inline void appendBase64(Bytes bytes, StringBuffer& out) noexcept {
  char* const digits = out.extend(base64Length(bytes.size()));
  if (digits != nullptr) base64Encode(octetsOf(bytes).data(), bytes.size(), digits);
}

/// Appends them as hexadecimal digits in upper case.
inline void appendHex(Bytes bytes, StringBuffer& out) noexcept {
  char* const digits = out.extend(2 * bytes.size());
  if (digits != nullptr) hexEncodeUpper(octetsOf(bytes).data(), bytes.size(), digits);
}

}  // namespace velmora::tool
