#pragma once

// Keeps loops over children linear.

#include <cstddef>
#include <cstdint>

#include "velmora/support/core/export.h"
#include "velmora/support/xml/xml_document.h"

namespace velmora {

/// Where a handle last found the n-th child of an element, so that a loop over n is linear also for
/// elements of very many children. Remembers the latest places, one for each level of a few nested
/// loops, and forgets them when the document changes. Internal to the XML floor.
class VELMORA_API XmlChildCache {
 public:
  /// The n-th child from 0, or kNoXmlIndex.
  XmlIndex child(const XmlDocument& document, XmlIndex parent, uint32_t n) noexcept;

  /// The n-th from 0 of the children with that name, or kNoXmlIndex.
  XmlIndex childNamed(const XmlDocument& document, XmlIndex parent, const XmlNameKey& key,
                      uint32_t n) noexcept;

  /// How many children have that name.
  uint32_t countNamed(const XmlDocument& document, XmlIndex parent, const XmlNameKey& key) noexcept;

 private:
  enum class Kind : uint8_t { kChild, kNamed, kCount };

  struct Place {
    XmlIndex parent;
    XmlIndex child;  // for kCount any child of the name that was counted
    uint32_t n;
    Kind kind;
  };

  // Places so near to the start that walking there costs nothing are not kept, so that short inner
  // loops do not displace a long outer one.
  static constexpr uint32_t kNear = 16;
  static constexpr size_t kPlaces = 4;

  Place* find(const XmlDocument& document, XmlIndex parent, Kind kind,
              const XmlNameKey* key) noexcept;
  void keep(const Place& place, Place* found) noexcept;

  const XmlDocument* m_document = nullptr;
  uint64_t m_changes = 0;
  size_t m_count = 0;
  Place m_places[kPlaces];  // the latest first
};

}  // namespace velmora
