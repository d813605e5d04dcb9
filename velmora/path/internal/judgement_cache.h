#pragma once

// What was computed with public keys, kept from one verification to the next.

#include <array>
#include <atomic>
#include <compare>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "velmora/certificate/issuer_key.h"
#include "velmora/path/internal/striped_shared_mutex.h"

namespace velmora {

using Sha256 = std::array<std::byte, 32>;

/// What was computed with public keys: which key signed which octets and which did not, and keys
/// made ready. It holds nothing that an option could change, and is found by content alone, so that
/// no answer depends on it. Links that hold and links that do not are kept apart, so that nobody
/// without a trusted key can push out those that hold; at most twice kMostKeys and kMostLinks of
/// each. A key is prepared (IssuerKey::prepare) when it is asked for the eighth time, by the thread
/// that asks, while others go on without; of more than `mostPrepared` such keys the first becomes a
/// plain one again. Any thread may ask; from the eighth time on threads who ask for what is known
/// write to nothing that they share.
class JudgementCache {
 public:
  static constexpr size_t kMostKeys = 256;
  static constexpr size_t kMostLinks = 4096;
  static constexpr unsigned kUsesToPrepare = 8;

  explicit JudgementCache(size_t mostPrepared) noexcept : m_mostPrepared(mostPrepared) {}

  /// The key of a SubjectPublicKeyInfo with this digest, made ready, to check one signature with.
  /// To be asked for keys only that something trusted vouches for. Throws std::bad_alloc.
  std::shared_ptr<const IssuerKey> key(Bytes subjectPublicKeyInfo, const Sha256& digest);

  /// What came of checking with the key the certificate with this fingerprint; nothing when that is
  /// not known.
  std::optional<SignatureCheck> find(const Sha256& key, const Sha256& certificate) const;

  /// Keeps what came of it, but for memory that ran out. Throws std::bad_alloc, and then it is not
  /// kept, and what was kept longest may be forgotten.
  void keep(const Sha256& key, const Sha256& certificate, const SignatureCheck& check);

 private:
  struct Link {
    Sha256 key;
    Sha256 certificate;
    friend bool operator<(const Link& a, const Link& b) noexcept {
      const int byKey = std::memcmp(a.key.data(), b.key.data(), a.key.size());
      return byKey != 0 ? byKey < 0 : a.certificate < b.certificate;
    }
  };
  // References to one key for each stripe of threads, with a count of its own each.
  using Handles = std::array<std::shared_ptr<const IssuerKey>, StripedSharedMutex::kStripes>;
  struct KeptKey {
    explicit KeptKey(std::shared_ptr<const IssuerKey> key) noexcept : plain(std::move(key)) {}
    const std::shared_ptr<const IssuerKey> plain;
    // To the prepared key, or to the plain one where nothing can be prepared; null before the
    // eighth use and when it had to make room.
    std::unique_ptr<const Handles> handles;
    std::atomic<unsigned> uses = 1;  // before the handles
  };
  using Keys = std::map<Sha256, KeptKey>;
  using Links = std::map<Link, SignatureCheck>;

  KeptKey* find(const Sha256& digest);
  static Handles handlesTo(const std::shared_ptr<const IssuerKey>& key);
  std::shared_ptr<const IssuerKey> handOut(Bytes subjectPublicKeyInfo, const Sha256& digest,
                                           const std::shared_ptr<const IssuerKey>& plain) noexcept;
  void makeRoom();

  const size_t m_mostPrepared;

  // Two generations: a full one pushes out the one before.
  mutable StripedSharedMutex m_mutex;
  Keys m_keys;
  Keys m_olderKeys;
  std::vector<Sha256> m_prepared;  // the digests of those keys, in the order in which they came
  Links m_good;
  Links m_olderGood;
  Links m_bad;
  Links m_olderBad;
};

}  // namespace velmora
