#include "velmora/path/internal/judgement_cache.h"

#include <mutex>
#include <utility>

namespace velmora {

std::shared_ptr<const IssuerKey> JudgementCache::key(Bytes subjectPublicKeyInfo,
                                                     const Sha256& digest) {
  {
    const std::shared_lock lock(m_mutex);
    for (const Keys* keys : {&m_keys, &m_olderKeys}) {
      if (const auto found = keys->find(digest); found != keys->end()) return found->second;
    }
  }
  auto made = std::make_shared<const IssuerKey>(subjectPublicKeyInfo);
  const std::unique_lock lock(m_mutex);
  if (m_keys.size() >= kMostKeys) m_olderKeys = std::exchange(m_keys, {});
  return m_keys.emplace(digest, std::move(made)).first->second;
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
