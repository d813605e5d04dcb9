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

bool JudgementCache::isKnown(const Sha256& key, const Sha256& certificate) const {
  const Link link{key, certificate};
  const std::shared_lock lock(m_mutex);
  return m_links.contains(link) || m_olderLinks.contains(link);
}

void JudgementCache::keep(const Sha256& key, const Sha256& certificate) {
  const std::unique_lock lock(m_mutex);
  if (m_links.size() >= kMostLinks) m_olderLinks = std::exchange(m_links, {});
  m_links.insert({key, certificate});
}

}  // namespace velmora
