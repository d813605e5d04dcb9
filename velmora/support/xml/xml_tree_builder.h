#pragma once

// Makes a document element by element, without a text in between.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "velmora/support/core/pod_array.h"
#include "velmora/support/xml/xml_document.h"

namespace velmora {

/// An array under construction: on the stack while it is small, so that what stays in the end is
/// one block of just the right size.
template <class T, size_t Local>
class XmlGrowingArray {
 public:
  XmlGrowingArray() noexcept = default;
  XmlGrowingArray(const XmlGrowingArray&) = delete;
  XmlGrowingArray& operator=(const XmlGrowingArray&) = delete;

  T* data() noexcept { return m_data; }
  size_t capacity() const noexcept { return m_capacity; }

  /// Makes room for `total` elements, of which the first `used` are kept.
  bool grow(size_t used, size_t total) noexcept {
    PodArray<T> larger;
    if (larger.extend(total < 2 * m_capacity ? 2 * m_capacity : total) == nullptr) return false;
    std::memcpy(static_cast<void*>(larger.data()), m_data, used * sizeof(T));
    m_heap.swap(larger);
    m_data = m_heap.data();
    m_capacity = m_heap.size();
    return true;
  }

  /// Hands the first `used` elements out; false when memory ran out.
  bool moveTo(PodArray<T>& out, size_t used) noexcept {
    if (m_data == m_local) {
      if (used == 0) return true;
      if (!out.reserve(used)) return false;
      std::memcpy(static_cast<void*>(out.extend(used)), m_local, used * sizeof(T));
      return true;
    }
    m_heap.truncate(used);
    out.swap(m_heap);
    return true;
  }

 private:
  T m_local[Local];
  PodArray<T> m_heap;
  T* m_data = m_local;
  size_t m_capacity = Local;
};

/// Builds a document whose elements have numbered names, in document order: for a source that is
/// itself the proof that what it builds is in order. Nothing is checked: neither depth, nor that
/// contents are UTF-8, nor that each element that was opened is closed. At most 2^31 elements and 4
/// GiB of characters. Each element is opened, gets its attributes, then either content or children,
/// and is closed. Internal to the XML and ASN.1 floors.
class XmlTreeBuilder {
 public:
  /// Makes room at the start for what is expected in all, when it is a lot; false when memory ran
  /// out.
  bool expect(size_t nodes, size_t characters) noexcept;

  /// Makes sure that one more element can be opened with short attributes, and `characters` of
  /// content be written; false when memory ran out.
  bool room(size_t characters) noexcept {
    const size_t needed = characters + kAttributeText + 1;  // and a closing zero
    return (m_nodeCount != m_nodes.capacity() || m_nodes.grow(m_nodeCount, m_nodeCount + 1)) &&
           (static_cast<size_t>(m_end - m_at) >= needed || growText(needed));
  }

  void open(XmlName name) noexcept {
    const auto index = static_cast<XmlIndex>(m_nodeCount++);
    XmlNode* const nodes = m_nodes.data();
    if (m_open != kNoXmlIndex) {
      XmlNode& above = nodes[m_open];
      const bool isWide = above.kind == XmlNodeKind::kWide;
      ++(isWide ? m_details.data()[above.word[0]].childCount : above.word[1]);
    }
    if (m_last != kNoXmlIndex) nodes[m_last].next = index;
    nodes[index] = {name, XmlNodeKind::kLeaf, {0, 0}, kNoXmlIndex, m_open, m_last};
    m_open = index;
    m_last = kNoXmlIndex;
    m_contentStart = m_at;
  }

  /// What the values of an element's attributes come to at most, in characters.
  static constexpr size_t kAttributeText = 20;

  /// Of the element that was opened last, which has no content yet; false when memory ran out.
  bool attribute(XmlName name, std::string_view value) noexcept;
  bool attribute(XmlName name, uint32_t value) noexcept;

  /// Where content is written to, and how many characters were.
  char* at() noexcept { return m_at; }
  void advance(size_t count) noexcept { m_at += count; }

  /// Closes the element that is open innermost.
  void close() noexcept {
    XmlNode& node = m_nodes.data()[m_open];
    if (node.kind == XmlNodeKind::kWide) {
      closeWide(m_details.data()[node.word[0]]);
    } else if (m_last != kNoXmlIndex) {
      node.kind = XmlNodeKind::kParent;
      node.word[0] = m_last;  // the children have been counted in the other
    } else {
      const XmlText content = takeContent();
      node.word[0] = content.offset;
      node.word[1] = content.size;
    }
    m_last = m_open;
    m_open = node.parent;
  }

  /// The document, counted once for the caller; null when memory ran out. To be called once, when
  /// the root is closed.
  XmlDocument* finish() noexcept;

 private:
  // Most certificates fit.
  static constexpr size_t kLocalNodes = 160;
  static constexpr size_t kLocalDetails = 16;
  static constexpr size_t kLocalAttributes = 32;
  static constexpr size_t kLocalText = 5120;

  void closeWide(XmlNodeDetails& details) noexcept {
    details.content = takeContent();
    details.firstChild = m_last == kNoXmlIndex ? kNoXmlIndex : m_open + 1;
    details.lastChild = m_last;
  }

  // What was written since the element was opened, or the child before closed.
  XmlText takeContent() noexcept {
    if (m_at == m_contentStart) return {0, 0};
    const XmlText content = {offsetOf(m_contentStart),
                             static_cast<uint32_t>(m_at - m_contentStart)};
    *m_at++ = 0;
    m_contentStart = m_at;
    return content;
  }

  uint32_t offsetOf(const char* at) noexcept { return static_cast<uint32_t>(at - m_text.data()); }
  bool growText(size_t needed) noexcept;

  XmlGrowingArray<XmlNode, kLocalNodes> m_nodes;
  XmlGrowingArray<XmlNodeDetails, kLocalDetails> m_details;
  XmlGrowingArray<XmlAttribute, kLocalAttributes> m_attributes;
  XmlGrowingArray<char, kLocalText> m_text;
  size_t m_nodeCount = 0;
  size_t m_detailCount = 0;
  size_t m_attributeCount = 0;
  XmlIndex m_open = kNoXmlIndex;
  XmlIndex m_last = kNoXmlIndex;  // the child before, of the one that is open
  char* m_at = m_text.data();
  char* m_end = m_text.data() + kLocalText;
  char* m_contentStart = m_at;
};

}  // namespace velmora
