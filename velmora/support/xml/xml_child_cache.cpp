#include "velmora/support/xml/xml_child_cache.h"

#include <algorithm>

namespace velmora {

XmlIndex XmlChildCache::child(const XmlDocument& document, XmlIndex parent, uint32_t n) noexcept {
  const uint32_t count = document.childCount(parent);
  if (n >= count) return kNoXmlIndex;
  XmlIndex at = document.firstChild(parent);
  uint32_t position = 0;
  const auto start = [&](XmlIndex from, uint32_t fromPosition) {
    const auto distance = [n](uint32_t p) { return p < n ? n - p : p - n; };
    if (distance(fromPosition) >= distance(position)) return;
    at = from;
    position = fromPosition;
  };
  start(document.lastChild(parent), count - 1);
  Place* const place = n < kNear ? nullptr : find(document, parent, Kind::kChild, nullptr);
  if (place != nullptr) start(place->child, place->n);
  for (; position < n; ++position) at = document.node(at).next;
  for (; position > n; --position) at = document.node(at).previous;
  if (n >= kNear) keep({parent, at, n, Kind::kChild}, place);
  return at;
}

XmlIndex XmlChildCache::childNamed(const XmlDocument& document, XmlIndex parent,
                                   const XmlNameKey& key, uint32_t n) noexcept {
  XmlIndex at = document.firstChild(parent);
  uint32_t left = n;
  Place* const place = n < kNear ? nullptr : find(document, parent, Kind::kNamed, &key);
  if (place != nullptr && place->n <= n) {
    at = place->child;
    left = n - place->n;
  }
  for (; at != kNoXmlIndex; at = document.node(at).next) {
    if (!document.hasName(at, key)) continue;
    if (left == 0) break;
    --left;
  }
  if (n >= kNear && at != kNoXmlIndex) keep({parent, at, n, Kind::kNamed}, place);
  return at;
}

uint32_t XmlChildCache::countNamed(const XmlDocument& document, XmlIndex parent,
                                   const XmlNameKey& key) noexcept {
  const Place* place = find(document, parent, Kind::kCount, &key);
  if (place != nullptr) return place->n;
  uint32_t count = 0;
  XmlIndex last = kNoXmlIndex;
  for (XmlIndex at = document.firstChild(parent); at != kNoXmlIndex; at = document.node(at).next) {
    if (!document.hasName(at, key)) continue;
    ++count;
    last = at;
  }
  if (count >= kNear) keep({parent, last, count, Kind::kCount}, nullptr);
  return count;
}

XmlChildCache::Place* XmlChildCache::find(const XmlDocument& document, XmlIndex parent, Kind kind,
                                          const XmlNameKey* key) noexcept {
  if (m_document != &document || m_changes != document.changes()) {
    m_document = &document;
    m_changes = document.changes();
    m_count = 0;
  }
  Place* const end = m_places + m_count;
  Place* const place = std::find_if(m_places + 0, end, [&](const Place& p) {
    return p.parent == parent && p.kind == kind &&
           (key == nullptr || document.hasName(p.child, *key));
  });
  return place == end ? nullptr : place;
}

// Puts a place in front: instead of the one that was found for the same question, else of the one
// that was not used for longest.
void XmlChildCache::keep(const Place& place, Place* found) noexcept {
  if (found == nullptr) {
    if (m_count < kPlaces) ++m_count;
    found = m_places + m_count - 1;
  }
  std::copy_backward(m_places + 0, found, found + 1);
  m_places[0] = place;
}

}  // namespace velmora
