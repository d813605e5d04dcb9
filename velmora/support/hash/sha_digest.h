#pragma once

// SHA-1 and SHA-2 of data that comes in pieces.

#include <cstddef>
#include <cstdint>

#include "velmora/support/core/export.h"
#include "velmora/support/hash/sha_path.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// What distinguishes the hashes of FIPS 180-4: word and digest size, the initial hash value of
/// §5.3, and the compression function.
struct Sha1Variant {
  using Word = uint32_t;
  static constexpr size_t kStateWords = 5;
  static constexpr size_t kDigestSize = 20;
  static constexpr auto kCompress = &ShaPath::sha1;
  static constexpr Word kInitial[kStateWords] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476,
                                                 0xc3d2e1f0};
};

struct Sha256Variant {
  using Word = uint32_t;
  static constexpr size_t kStateWords = 8;
  static constexpr size_t kDigestSize = 32;
  static constexpr auto kCompress = &ShaPath::sha256;
  static constexpr Word kInitial[kStateWords] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                                 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
};

struct Sha384Variant {
  using Word = uint64_t;
  static constexpr size_t kStateWords = 8;
  static constexpr size_t kDigestSize = 48;
  static constexpr auto kCompress = &ShaPath::sha512;
  static constexpr Word kInitial[kStateWords] = {
      0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17, 0x152fecd8f70e5939,
      0x67332667ffc00b31, 0x8eb44a8768581511, 0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4};
};

struct Sha512Variant {
  using Word = uint64_t;
  static constexpr size_t kStateWords = 8;
  static constexpr size_t kDigestSize = 64;
  static constexpr auto kCompress = &ShaPath::sha512;
  static constexpr Word kInitial[kStateWords] = {
      0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
      0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};
};

/// A hash of FIPS 180-4 over bytes that come in pieces of any size. Allocates nothing and cannot
/// fail; copying it forks the stream. Not safe for concurrent use.
template <class Variant>
class ShaDigest {
 public:
  static constexpr size_t kDigestSize = Variant::kDigestSize;

  explicit ShaDigest(const ShaPath& path = fastestShaPath()) noexcept;

  /// Forgets what was hashed so far.
  void reset() noexcept;

  /// Hashes `size` more bytes; `data` may be null when there are none.
  void update(const void* data, size_t size) noexcept;

  /// Writes the digest, kDigestSize bytes, of everything since the last reset, and resets.
  void finish(unsigned char* digest) noexcept;

  /// Appends the digest of `data` to `out`, which may be the same buffer. When memory ran out, here
  /// or already in `data`, `out` is marked as failed and otherwise unchanged.
  static void hashData(const DataBuffer& data, DataBuffer& out) noexcept;

 private:
  using Word = typename Variant::Word;
  static constexpr size_t kBlockSize = 16 * sizeof(Word);

  void compress(const unsigned char* blocks, size_t count) noexcept {
    (m_path->*Variant::kCompress)(m_state, blocks, count);
  }

  const ShaPath* m_path;
  uint64_t m_length;  // bytes hashed
  Word m_state[Variant::kStateWords];
  unsigned char m_pending[kBlockSize];  // the first m_length % kBlockSize bytes are in use
};

using Sha1Digest = ShaDigest<Sha1Variant>;
using Sha256Digest = ShaDigest<Sha256Variant>;
using Sha384Digest = ShaDigest<Sha384Variant>;
using Sha512Digest = ShaDigest<Sha512Variant>;

extern template class VELMORA_API ShaDigest<Sha1Variant>;
extern template class VELMORA_API ShaDigest<Sha256Variant>;
extern template class VELMORA_API ShaDigest<Sha384Variant>;
extern template class VELMORA_API ShaDigest<Sha512Variant>;

}  // namespace velmora
