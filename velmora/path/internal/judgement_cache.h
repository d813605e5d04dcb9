#pragma once

// What was computed with public keys, kept from one verification to the next.

#include <array>
#include <compare>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <shared_mutex>

#include "velmora/certificate/issuer_key.h"

namespace velmora {

using Sha256 = std::array<std::byte, 32>;

/// What was computed with public keys: which key signed which octets and which did not, and keys
/// made ready. It holds nothing that an option could change, and is found by content alone, so that
/// no answer depends on it. Links that hold and links that do not are kept apart, so that nobody
/// without a trusted key can push out those that hold; at most twice kMostKeys and kMostLinks of
/// each. Any thread may ask.
class JudgementCache {
 public:
  static constexpr size_t kMostKeys = 256;
  static constexpr size_t kMostLinks = 4096;

  /// The key of a SubjectPublicKeyInfo with this digest, made ready. Throws std::bad_alloc.
  std::shared_ptr<const IssuerKey> key(Bytes subjectPublicKeyInfo, const Sha256& digest);

  /// What came of checking with the key the certificate with this fingerprint; nothing when that is
  /// not known.
  std::optional<SignatureCheck> find(const Sha256& key, const Sha256& certificate) const;

  /// Keeps what came of it, but for memory that ran out. Throws std::bad_alloc, and then nothing
  /// has changed.
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
  using Keys = std::map<Sha256, std::shared_ptr<const IssuerKey>>;
  using Links = std::map<Link, SignatureCheck>;

  // Two generations: a full one pushes out the one before.
  mutable std::shared_mutex m_mutex;
  Keys m_keys;
  Keys m_olderKeys;
  Links m_good;
  Links m_olderGood;
  Links m_bad;
  Links m_olderBad;
};

}  // namespace velmora
