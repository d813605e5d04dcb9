#include "velmora/support/hash/sha_digest.h"

#include <algorithm>
#include <cstring>

#include "velmora/support/core/words.h"

namespace velmora {

template <class Variant>
ShaDigest<Variant>::ShaDigest(const ShaPath& path) noexcept : m_path(&path) {
  reset();
}

template <class Variant>
void ShaDigest<Variant>::reset() noexcept {
  m_length = 0;
  std::copy(std::begin(Variant::kInitial), std::end(Variant::kInitial), m_state);
}

template <class Variant>
void ShaDigest<Variant>::update(const void* data, size_t size) noexcept {
  if (size == 0) return;
  const auto* bytes = static_cast<const unsigned char*>(data);
  const size_t pending = m_length % kBlockSize;
  m_length += size;
  if (pending != 0) {
    const size_t taken = std::min(size, kBlockSize - pending);
    std::memcpy(m_pending + pending, bytes, taken);
    if (pending + taken < kBlockSize) return;
    compress(m_pending, 1);
    bytes += taken;
    size -= taken;
  }
  const size_t blocks = size / kBlockSize;
  if (blocks != 0) compress(bytes, blocks);
  std::memcpy(m_pending, bytes + blocks * kBlockSize, size % kBlockSize);
}

template <class Variant>
void ShaDigest<Variant>::finish(unsigned char* digest) noexcept {
  // FIPS 180-4 §5.1: a 1 bit, zeros, and the length in bits, in two words, at the end of a block.
  constexpr size_t kLengthOffset = kBlockSize - 2 * sizeof(Word);
  size_t used = m_length % kBlockSize;
  m_pending[used++] = 0x80;
  if (used > kLengthOffset) {
    std::memset(m_pending + used, 0, kBlockSize - used);
    compress(m_pending, 1);
    used = 0;
  }
  std::memset(m_pending + used, 0, kBlockSize - used);
  // A 64-bit count of bytes reaches three bits into the upper word of SHA-512's 128-bit length.
  if constexpr (sizeof(Word) == 8) storeBigEndian(m_pending + kLengthOffset, m_length >> 61);
  storeBigEndian(m_pending + kBlockSize - 8, m_length << 3);
  compress(m_pending, 1);
  unsigned char words[sizeof m_state];
  for (size_t i = 0; i < Variant::kStateWords; ++i) {
    storeBigEndian(words + i * sizeof(Word), m_state[i]);
  }
  std::memcpy(digest, words, kDigestSize);
  reset();
}

template <class Variant>
void ShaDigest<Variant>::hashData(const DataBuffer& data, DataBuffer& out) noexcept {
  if (data.failed()) {
    out.markFailed();  // a digest of shortened bytes must not pass for theirs
    return;
  }
  unsigned char digest[kDigestSize];
  ShaDigest hash;
  hash.update(data.data(), data.size());
  hash.finish(digest);
  out.append(digest, kDigestSize);
}

template class ShaDigest<Sha1Variant>;
template class ShaDigest<Sha256Variant>;
template class ShaDigest<Sha384Variant>;
template class ShaDigest<Sha512Variant>;

}  // namespace velmora
