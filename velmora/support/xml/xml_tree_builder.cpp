#include "velmora/support/xml/xml_tree_builder.h"

#include <charconv>
#include <new>

namespace velmora {

bool XmlTreeBuilder::expect(size_t nodes, size_t characters) noexcept {
  if (nodes > m_nodes.capacity() && !m_nodes.grow(0, nodes)) return false;
  return characters <= m_text.capacity() || growText(characters);
}

bool XmlTreeBuilder::attribute(XmlName name, std::string_view value) noexcept {
  if ((m_attributeCount == m_attributes.capacity() &&
       !m_attributes.grow(m_attributeCount, m_attributeCount + 1)) ||
      (m_detailCount == m_details.capacity() &&
       !m_details.grow(m_detailCount, m_detailCount + 1))) {
    return false;
  }
  const auto index = static_cast<XmlIndex>(m_attributeCount++);
  XmlAttribute* const attributes = m_attributes.data();
  XmlNode& node = m_nodes.data()[m_open];
  if (node.kind == XmlNodeKind::kWide) {
    attributes[index - 1].next = index;
  } else {
    node.kind = XmlNodeKind::kWide;
    node.word[0] = static_cast<uint32_t>(m_detailCount);
    m_details.data()[m_detailCount++] = {{0, node.nameId, 0}, {0, 0},      0,
                                         kNoXmlIndex,         kNoXmlIndex, index};
  }
  attributes[index] = {{static_cast<uint16_t>(xmlNameText(name).size()), name, 0},
                       {offsetOf(m_at), static_cast<uint32_t>(value.size())},
                       kNoXmlIndex};
  std::memcpy(m_at, value.data(), value.size());
  m_at += value.size();
  m_contentStart = m_at;
  return true;
}

bool XmlTreeBuilder::attribute(XmlName name, uint32_t value) noexcept {
  if (value < 10) {
    const char digit = static_cast<char>('0' + value);
    return attribute(name, {&digit, 1});
  }
  char digits[10];
  const char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return attribute(name, {digits, static_cast<size_t>(end - digits)});
}

XmlDocument* XmlTreeBuilder::finish() noexcept {
  RefOwner<XmlDocument> document(new (std::nothrow) XmlDocument);
  if (!document) return nullptr;
  document->incRefCount();
  if (!m_nodes.moveTo(document->m_nodes, m_nodeCount) ||
      !m_details.moveTo(document->m_details, m_detailCount) ||
      !m_attributes.moveTo(document->m_attributes, m_attributeCount) ||
      !m_text.moveTo(document->m_text, static_cast<size_t>(m_at - m_text.data()))) {
    return nullptr;
  }
  document->trim();
  return document.release();
}

bool XmlTreeBuilder::growText(size_t needed) noexcept {
  const auto used = static_cast<size_t>(m_at - m_text.data());
  const size_t start = offsetOf(m_contentStart);
  if (!m_text.grow(used, used + needed)) return false;
  m_at = m_text.data() + used;
  m_contentStart = m_text.data() + start;
  m_end = m_text.data() + m_text.capacity();
  return true;
}

}  // namespace velmora
