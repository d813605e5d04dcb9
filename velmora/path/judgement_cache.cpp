#include "velmora/path/internal/judgement_cache.h"

#include <mutex>
#include <new>
#include <shared_mutex>
#include <utility>

namespace velmora {

JudgementCache::KeptKey* JudgementCache::find(const Sha256& digest) {
  for (Keys* keys : {&m_keys, &m_olderKeys}) {
    if (const auto found = keys->find(digest); found != keys->end()) return &found->second;
  }
  return nullptr;
}

std::shared_ptr<const IssuerKey> JudgementCache::key(Bytes subjectPublicKeyInfo,
                                                     const Sha256& digest) {
  std::shared_ptr<const IssuerKey> plain;
  {
    const std::shared_lock lock(m_mutex);
    if (KeptKey* const kept = find(digest)) {
      if (kept->handles != nullptr) return (*kept->handles)[StripedSharedMutex::stripe()];
      const bool isCounted = kept->uses.load(std::memory_order_relaxed) < kUsesToPrepare;
      if (!isCounted || ++kept->uses != kUsesToPrepare) return kept->plain;
      plain = kept->plain;
    }
  }
  if (plain != nullptr) return handOut(subjectPublicKeyInfo, digest, plain);
  auto made = std::make_shared<const IssuerKey>(subjectPublicKeyInfo);
  const std::unique_lock lock(m_mutex);
  if (m_keys.size() >= kMostKeys) m_olderKeys = std::exchange(m_keys, {});
  return m_keys.try_emplace(digest, std::move(made)).first->second.plain;
}

JudgementCache::Handles JudgementCache::handlesTo(const std::shared_ptr<const IssuerKey>& key) {
  struct alignas(StripedSharedMutex::kCacheLine) Reference {
    std::shared_ptr<const IssuerKey> key;
  };
  Handles handles;
  for (auto& each : handles) {
    const auto own = std::make_shared<const Reference>(Reference{key});
    each = std::shared_ptr<const IssuerKey>(own, own->key.get());
  }
  return handles;
}

// Prepares another object, since others check with the plain one meanwhile.
std::shared_ptr<const IssuerKey> JudgementCache::handOut(
    Bytes subjectPublicKeyInfo, const Sha256& digest,
    const std::shared_ptr<const IssuerKey>& plain) noexcept try {
  std::shared_ptr<const IssuerKey> best = plain;
  if (m_mostPrepared != 0) {
    auto made = std::make_shared<IssuerKey>(subjectPublicKeyInfo);
    if (made->prepare()) best = std::move(made);
  }
  auto handles = std::make_unique<const Handles>(handlesTo(best));
  const bool isPrepared = best != plain;
  const std::unique_lock lock(m_mutex);
  if (isPrepared) makeRoom();
  if (KeptKey* const kept = find(digest)) {
    if (isPrepared) m_prepared.push_back(digest);
    kept->handles = std::move(handles);
  }
  return best;
} catch (const std::bad_alloc&) {
  return plain;
}

void JudgementCache::makeRoom() {
  if (m_prepared.size() < m_mostPrepared) return;
  if (KeptKey* const first = find(m_prepared.front())) {
    first->handles.reset();
    first->uses = 0;
  }
  m_prepared.erase(m_prepared.begin());
}

std::optional<SignatureCheck> JudgementCache::find(const Sha256& key,
                                                   const Sha256& certificate) const {
  const Link link{key, certificate};
  const std::shared_lock lock(m_mutex);
  for (const Links* links : {&m_good, &m_olderGood, &m_bad, &m_olderBad}) {
    if (const auto found = links->find(link); found != links->end()) return found->second;
  }
  return std::nullopt;
}

void JudgementCache::keep(const Sha256& key, const Sha256& certificate,
                          const SignatureCheck& check) {
  if (check.fault == SignatureFault::outOfMemory) return;
  const bool isGood = check.verdict == SignatureVerdict::good;
  const std::unique_lock lock(m_mutex);
  Links& links = isGood ? m_good : m_bad;
  if (links.size() >= kMostLinks) (isGood ? m_olderGood : m_olderBad) = std::exchange(links, {});
  links.emplace(Link{key, certificate}, check);
}

}  // namespace velmora
