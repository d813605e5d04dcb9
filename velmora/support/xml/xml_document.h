#pragma once

// The arrays that a document consists of.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/core/pod_array.h"
#include "velmora/support/xml/xml_names.h"

namespace velmora {

/// Index of a node or an attribute in its document's arrays.
using XmlIndex = uint32_t;
inline constexpr XmlIndex kNoXmlIndex = 0xFFFFFFFF;

/// A piece of the document's text.
struct XmlText {
  uint32_t offset;
  uint32_t size;
};

/// What has a name: its number, or for XmlName::kOther a piece of the document's text.
struct XmlNamed {
  uint16_t nameSize;
  XmlName nameId;
  uint32_t nameOffset;  // used when nameId is kOther
};

struct XmlAttribute : XmlNamed {
  XmlText value;
  XmlIndex next;
};

/// What the two words of an element mean.
enum class XmlNodeKind : uint8_t {
  kLeaf,    // its content's offset and size
  kParent,  // its last child and how many it has; the first is the next element of the array
  kWide     // the index of its XmlNodeDetails
};

/// One element. Indexes are kNoXmlIndex where there is nothing to point at. Small, because nearly
/// every element of a certificate has either content or children, neither attributes nor a name of
/// its own, and its first child right behind it; what else there may be of an element stands apart.
/// Without initial values, because a document fills the slots of its array one by one.
struct XmlNode {
  XmlName nameId;
  XmlNodeKind kind;
  uint32_t word[2];
  XmlIndex next;
  XmlIndex parent;
  XmlIndex previous;
};

/// All that an element may have.
struct XmlNodeDetails {
  XmlNamed name;  // used when its number is kOther, as is the element's own
  XmlText content;
  uint32_t childCount;
  XmlIndex firstChild;
  XmlIndex lastChild;
  XmlIndex firstAttribute;
};

/// A tag or attribute name to look for: known ones compare as numbers, others as text.
struct XmlNameKey {
  explicit XmlNameKey(std::string_view name) noexcept : id(xmlNameOf(name)), text(name) {}

  XmlName id;
  std::string_view text;
};

/// One XML document: all elements, attributes and characters in growable arrays, linked by indexes,
/// so that reading a document costs a few allocations whatever it holds and destroying one walks
/// nothing. Node 0 is the root and always exists. Text that is replaced stays behind unused until
/// the document goes. Counted, because several handles may stand on one document; the handles that
/// share it must not be used concurrently while one of them changes it.
class VELMORA_API XmlDocument final : public RefCountedObject {
 public:
  /// A document with an empty root whose name is "unnamed", counted once; null when memory ran out.
  static XmlDocument* create() noexcept;

  const XmlNode& node(XmlIndex i) const noexcept { return m_nodes[i]; }
  const XmlAttribute& attribute(XmlIndex i) const noexcept { return m_attributes[i]; }
  std::string_view text(XmlText piece) const noexcept {
    return {m_text.data() + piece.offset, piece.size};
  }
  std::string_view content(XmlIndex i) const noexcept { return text(contentOf(i)); }
  std::string_view name(XmlIndex i) const noexcept {
    const XmlNode& node = m_nodes[i];
    return node.nameId == XmlName::kOther ? nameOf(detailsOf(node).name) : xmlNameText(node.nameId);
  }
  XmlIndex firstChild(XmlIndex i) const noexcept {
    const XmlNode& node = m_nodes[i];
    if (node.kind == XmlNodeKind::kWide) return detailsOf(node).firstChild;
    return node.kind == XmlNodeKind::kParent ? i + 1 : kNoXmlIndex;
  }
  XmlIndex lastChild(XmlIndex i) const noexcept {
    const XmlNode& node = m_nodes[i];
    if (node.kind == XmlNodeKind::kWide) return detailsOf(node).lastChild;
    return node.kind == XmlNodeKind::kParent ? node.word[0] : kNoXmlIndex;
  }
  uint32_t childCount(XmlIndex i) const noexcept {
    const XmlNode& node = m_nodes[i];
    if (node.kind == XmlNodeKind::kWide) return detailsOf(node).childCount;
    return node.kind == XmlNodeKind::kParent ? node.word[1] : 0;
  }
  XmlIndex firstAttribute(XmlIndex i) const noexcept {
    const XmlNode& node = m_nodes[i];
    return node.kind == XmlNodeKind::kWide ? detailsOf(node).firstAttribute : kNoXmlIndex;
  }
  std::string_view attributeName(XmlIndex i) const noexcept { return nameOf(m_attributes[i]); }
  size_t attributeCount() const noexcept { return m_attributes.size(); }

  bool hasName(XmlIndex i, const XmlNameKey& key) const noexcept {
    return m_nodes[i].nameId == key.id && (key.id != XmlName::kOther || name(i) == key.text);
  }
  /// The first child with that name, or kNoXmlIndex.
  XmlIndex firstChildNamed(XmlIndex parent, const XmlNameKey& key) const noexcept;
  /// The attribute of that name, or kNoXmlIndex.
  XmlIndex findAttribute(XmlIndex node, const XmlNameKey& key) const noexcept;
  /// The element after `at` in document order inside the subtree at `top`, or kNoXmlIndex.
  XmlIndex following(XmlIndex at, XmlIndex top) const noexcept {
    const XmlIndex child = firstChild(at);
    if (child != kNoXmlIndex) return child;
    while (at != top && m_nodes[at].next == kNoXmlIndex) at = m_nodes[at].parent;
    return at == top ? kNoXmlIndex : m_nodes[at].next;
  }

  /// The first element inside the subtree at `top`, itself excluded, that has the name and that
  /// `accepts` (called with its index) takes; or kNoXmlIndex.
  template <class Accepts>
  XmlIndex firstBelow(XmlIndex top, const XmlNameKey& key, Accepts accepts) const noexcept {
    // The elements of a document as it was read stand in document order, each subtree as one run.
    if (m_changes == 0) {
      const XmlIndex end = endOfRun(top);
      for (XmlIndex at = top + 1; at < end; ++at) {
        if (hasName(at, key) && accepts(at)) return at;
      }
      return kNoXmlIndex;
    }
    XmlIndex at = following(top, top);
    while (at != kNoXmlIndex && !(hasName(at, key) && accepts(at))) at = following(at, top);
    return at;
  }

  // Changes. Each is done whole, or gives false (kNoXmlIndex) and leaves the document as it was:
  // for a name that XML could not read back, for memory, for a document beyond 4 GiB of text or
  // 2^31 elements. Texts may lie in this document; what is not UTF-8 in them becomes U+FFFD.

  static constexpr int kMaxAttributes = 256;  // of one element

  bool setName(XmlIndex node, std::string_view name) noexcept;
  bool setContent(XmlIndex node, std::string_view content) noexcept;
  /// Adds an attribute after the others; one of that name keeps its place and takes the value.
  bool setAttribute(XmlIndex node, std::string_view name, std::string_view value) noexcept;
  XmlIndex appendChild(XmlIndex parent, std::string_view name, std::string_view content) noexcept;
  /// Copies the whole of `source`, which may be this document, as the child of `parent` that stands
  /// before its child `before` (kNoXmlIndex: as the last).
  bool insertCopy(XmlIndex parent, XmlIndex before, const XmlDocument& source) noexcept;

  /// A number that changes whenever elements are added or renamed.
  uint64_t changes() const noexcept { return m_changes; }

 private:
  friend class XmlParser;
  friend class XmlTreeBuilder;

  XmlDocument() noexcept = default;

  const XmlNodeDetails& detailsOf(const XmlNode& node) const noexcept {
    return m_details[node.word[0]];
  }
  XmlText contentOf(XmlIndex i) const noexcept {
    const XmlNode& node = m_nodes[i];
    if (node.kind == XmlNodeKind::kLeaf) return {node.word[0], node.word[1]};
    return node.kind == XmlNodeKind::kWide ? detailsOf(node).content : XmlText{0, 0};
  }
  std::string_view nameOf(const XmlNamed& named) const noexcept {
    return named.nameId == XmlName::kOther ? text({named.nameOffset, named.nameSize})
                                           : xmlNameText(named.nameId);
  }
  bool matches(const XmlNamed& named, const XmlNameKey& key) const noexcept {
    return named.nameId == key.id && (key.id != XmlName::kOther || nameOf(named) == key.text);
  }
  XmlIndex endOfRun(XmlIndex top) const noexcept {
    while (top != 0 && m_nodes[top].next == kNoXmlIndex) top = m_nodes[top].parent;
    return top == 0 ? static_cast<XmlIndex>(m_nodes.size()) : m_nodes[top].next;
  }
  void trim() noexcept;
  bool store(std::string_view text, XmlText& piece) noexcept;
  bool storeRepaired(std::string_view text, XmlText& piece) noexcept;
  bool storeName(std::string_view name, XmlNamed& named) noexcept;
  bool makeRoom(size_t nodes, size_t details, size_t attributes, size_t characters) noexcept;
  bool makeRoomFor(const XmlDocument& source) noexcept;
  XmlNodeDetails* widen(XmlIndex node) noexcept;
  void addNode(const XmlNamed& name, XmlText content) noexcept;
  bool isNextBehind(XmlIndex node, XmlIndex parent) const noexcept;
  void link(XmlIndex node, XmlIndex parent, XmlIndex before) noexcept;
  XmlIndex copyElement(const XmlDocument& source, XmlIndex from) noexcept;
  void copyAttributes(const XmlDocument& source, XmlIndex from, XmlIndex to) noexcept;
  XmlNamed copyName(const XmlDocument& source, const XmlNamed& named) noexcept;
  XmlText copyText(const XmlDocument& source, XmlText piece) noexcept;

  PodArray<XmlNode> m_nodes;
  PodArray<XmlNodeDetails> m_details;
  PodArray<XmlAttribute> m_attributes;
  PodArray<char> m_text;  // a zero byte follows each content
  uint64_t m_changes = 0;
};

}  // namespace velmora
