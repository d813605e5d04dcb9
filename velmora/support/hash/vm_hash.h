#pragma once

// SHA-1 and SHA-2 by number, name and OID.

#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// Hashing by identifier: the small integers by which certificates, keys and pin sets name SHA-1,
/// SHA-256, SHA-384 and SHA-512 (FIPS 180-4). 0 stands for an unknown hash. Stateless; every
/// operation may be called from any thread.
class VELMORA_API _vmHash {
 public:
  /// No hash.
  static constexpr int kUnknown = 0;
  /// SHA-1.
  static constexpr int kSha1 = 1;
  /// SHA-384.
  static constexpr int kSha384 = 2;
  /// SHA-512.
  static constexpr int kSha512 = 3;
  /// SHA-256.
  static constexpr int kSha256 = 7;

  /// The octets of the longest digest, that of SHA-512.
  static constexpr size_t kMaxDigestSize = 64;

  /// Appends the digest of `size` bytes to `out`; nothing for an unknown identifier. The bytes may
  /// lie in `out` itself. When memory ran out `out` is marked and otherwise unchanged.
  static void doHash(const void* data, unsigned int size, int hashId, DataBuffer& out) noexcept;

  /// Writes the digest of `size` bytes to `digest`, which has room for kMaxDigestSize bytes, and
  /// returns its size; 0, with nothing written, for an unknown identifier. Allocates nothing.
  static size_t hashTo(const void* data, size_t size, int hashId, unsigned char* digest) noexcept;

  /// Bytes in a digest; 0 for an unknown identifier.
  static size_t digestSize(int hashId) noexcept;

  /// The identifier for a name such as "sha1" or "SHA-256", in any letter case, with or without the
  /// hyphen; 0 for any other text and for null.
  static int hashId(const char* name) noexcept;
  static int hashId(std::string_view name) noexcept;
  static int hashId(const StringBuffer& name) noexcept { return hashId(name.view()); }

  /// The identifier for the dotted OID of a hash; 0 for any other text.
  static int oidToHashAlg(std::string_view oid) noexcept;
  static int oidToHashAlg(const StringBuffer& oid) noexcept;
};

}  // namespace velmora
