#pragma once

// Follows path queries.

#include <string_view>

#include "velmora/support/xml/xml_child_cache.h"
#include "velmora/support/xml/xml_document.h"

namespace velmora {

/// The path language of ClsXml (described there), evaluated in place: nothing is copied and nothing
/// allocated. Internal to the XML floor.
class XmlPath {
 public:
  /// `j` is the index that "[j]" stands for.
  XmlPath(const XmlDocument& document, XmlChildCache& cache, int j) noexcept
      : m_document(document), m_cache(cache), m_j(j) {}

  /// The element that all steps reach from `from`; kNoXmlIndex when one of them finds nothing.
  XmlIndex reach(XmlIndex from, std::string_view steps) const noexcept;

  /// Where the last step begins, behind the last "|"; 0 when there is one step only.
  static size_t lastStep(std::string_view path) noexcept { return path.rfind('|') + 1; }

 private:
  XmlIndex take(XmlIndex from, std::string_view step) const noexcept;
  XmlIndex indexedChild(XmlIndex from, std::string_view step, size_t bracket) const noexcept;
  XmlIndex belowWithContent(XmlIndex from, std::string_view arguments) const noexcept;
  XmlIndex belowWithAttribute(XmlIndex from, std::string_view arguments) const noexcept;

  const XmlDocument& m_document;
  XmlChildCache& m_cache;
  int m_j;
};

}  // namespace velmora
