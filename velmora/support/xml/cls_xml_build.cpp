#include "velmora/support/text/ascii.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

bool ClsXml::put_TagUtf8(const char* tag) {
  return m_document->setName(m_node, viewOrEmpty(tag));
}

bool ClsXml::put_ContentUtf8(const char* text) {
  return put_ContentUtf8(viewOrEmpty(text));
}

bool ClsXml::put_ContentUtf8(std::string_view text) {
  return m_document->setContent(m_node, text);
}

bool ClsXml::addAttribute(const char* name, const char* value) {
  return addAttribute(name, viewOrEmpty(value));
}

bool ClsXml::addAttribute(const char* name, std::string_view value) {
  return m_document->setAttribute(m_node, viewOrEmpty(name), value);
}

ClsXml* ClsXml::newChild(const char* tag, const char* content, LogBase*) {
  // The handle first, so that nothing has to be taken back when there is no memory for it.
  RefOwner<ClsXml> handle(newHandle(*m_document, m_node));
  if (!handle) return nullptr;
  const XmlIndex child = m_document->appendChild(m_node, viewOrEmpty(tag), viewOrEmpty(content));
  return handle->moveTo(child) ? handle.release() : nullptr;
}

bool ClsXml::appendNewChild2(const char* tag, const char* content) {
  return appendNewChild2(tag, viewOrEmpty(content));
}

bool ClsXml::appendNewChild2(const char* tag, std::string_view content) {
  return m_document->appendChild(m_node, viewOrEmpty(tag), content) != kNoXmlIndex;
}

bool ClsXml::addChildTree(int index, ClsXml& tree, LogBase& log) {
  if (m_document->insertCopy(m_node, childAt(index), *tree.m_document)) return true;
  log.LogError("Failed to add an XML tree: out of memory.");
  return false;
}

}  // namespace velmora
