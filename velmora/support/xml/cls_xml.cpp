#include "velmora/support/xml/cls_xml.h"

#include <charconv>
#include <new>

#include "velmora/support/text/ascii.h"
#include "velmora/support/xml/internal/xml_parser.h"
#include "velmora/support/xml/internal/xml_path.h"
#include "velmora/support/xml/internal/xml_writer.h"

namespace velmora {

ClsXml* ClsXml::createNewCls() noexcept {
  RefOwner<XmlDocument> document(XmlDocument::create());
  return document ? newHandle(*document, 0) : nullptr;
}

ClsXml* ClsXml::newHandle(XmlDocument& document, XmlIndex node) noexcept {
  ClsXml* handle = new (std::nothrow) ClsXml(document, node);
  if (handle != nullptr) handle->incRefCount();
  return handle;
}

ClsXml::ClsXml(XmlDocument& document, XmlIndex node) noexcept
    : m_document(&document), m_node(node) {
  m_document->incRefCount();
}

ClsXml::~ClsXml() {
  m_document->decRefCount();
}

// Whole documents.

bool ClsXml::loadXml(const StringBuffer& xml, bool autoTrim, LogBase& log) {
  return loadXml(xml.view(), autoTrim, log);
}

bool ClsXml::loadXml(std::string_view xml, bool, LogBase& log) {
  XmlFault fault;
  XmlDocument* const loaded = XmlParser::parse(xml, fault);
  if (loaded == nullptr) {
    log.LogError(fault.message);
    log.LogDataLong("offset", static_cast<int64_t>(fault.offset));
    return false;
  }
  takeDocument(*loaded);
  return true;
}

void ClsXml::takeDocument(XmlDocument& counted) noexcept {
  m_document->decRefCount();
  m_document = &counted;
  m_node = 0;
  m_cache = XmlChildCache();
}

bool ClsXml::getXml(bool, StringBuffer& out, LogBase&) const {
  return writeXml(*m_document, m_node, out);
}

bool ClsXml::GetXml(XString& out) const {
  out.weakClear();
  return writeXml(*m_document, 0, out.getUtf8Sb_rw());
}

// Path queries.

bool ClsXml::VelmoraPath(XString& path, XString& result) {
  LogNull log;
  return velmoraPath(path.view(), result, log);
}

bool ClsXml::velmoraPath(std::string_view path, XString& result, LogBase&) {
  if (path.empty()) return false;
  const char end = path.back();
  if (XmlPath::lastStep(path) != path.size() - 1 || (end != '*' && end != '$')) return false;
  const XmlIndex reached = path.size() == 1 ? m_node : reach(path.substr(0, path.size() - 2));
  if (reached == kNoXmlIndex) return false;
  if (end == '*') return result.setFromUtf8(m_document->content(reached));
  return moveTo(reached);
}

ClsXml* ClsXml::getChildWithTagUtf8(const char* path) const {
  return handleOn(reach(viewOrEmpty(path)));
}

bool ClsXml::getChildContentUtf8(const char* path, StringBuffer& out, bool) const {
  const XmlIndex reached = reach(viewOrEmpty(path));
  if (reached != kNoXmlIndex) return out.setString(m_document->content(reached));
  out.weakClear();
  return false;
}

int ClsXml::numChildrenHavingTag(const char* path, LogBase&) const {
  const std::string_view steps = viewOrEmpty(path);
  const size_t last = XmlPath::lastStep(steps);
  const XmlIndex parent = last == 0 ? m_node : reach(steps.substr(0, last - 1));
  if (parent == kNoXmlIndex) return 0;
  const XmlNameKey key(steps.substr(last));
  return static_cast<int>(m_cache.countNamed(*m_document, parent, key));
}

XmlIndex ClsXml::reach(std::string_view steps) const noexcept {
  return XmlPath(*m_document, m_cache, m_j).reach(m_node, steps);
}

// Moves and new handles.

bool ClsXml::moveTo(XmlIndex node) noexcept {
  if (node == kNoXmlIndex) return false;
  m_node = node;
  return true;
}

ClsXml* ClsXml::handleOn(XmlIndex node) const noexcept {
  return node == kNoXmlIndex ? nullptr : newHandle(*m_document, node);
}

XmlIndex ClsXml::childAt(int i) const noexcept {
  return i < 0 ? kNoXmlIndex : m_cache.child(*m_document, m_node, static_cast<uint32_t>(i));
}

ClsXml* ClsXml::GetChild(int i) const {
  return handleOn(childAt(i));
}

bool ClsXml::getChild2(int i) noexcept {
  return moveTo(childAt(i));
}

bool ClsXml::FirstChild2() noexcept {
  return moveTo(m_document->firstChild(m_node));
}

bool ClsXml::LastChild2() noexcept {
  return moveTo(m_document->lastChild(m_node));
}

bool ClsXml::NextSibling2() noexcept {
  return moveTo(here().next);
}

bool ClsXml::PreviousSibling2() noexcept {
  return moveTo(here().previous);
}

bool ClsXml::getParent2() noexcept {
  return moveTo(here().parent);
}

bool ClsXml::GetRoot2() noexcept {
  return moveTo(0);
}

bool ClsXml::findChild2(const char* tag) noexcept {
  return moveTo(m_document->firstChildNamed(m_node, XmlNameKey(viewOrEmpty(tag))));
}

// Questions about the element at the handle.

int ClsXml::get_NumChildren() const noexcept {
  return static_cast<int>(m_document->childCount(m_node));
}

std::string_view ClsXml::tagView() const noexcept {
  return m_document->name(m_node);
}

std::string_view ClsXml::contentView() const noexcept {
  return m_document->content(m_node);
}

bool ClsXml::tagEquals(const char* tag) const noexcept {
  return tagView() == viewOrEmpty(tag);
}

bool ClsXml::contentEquals(const char* text) const noexcept {
  return contentView() == viewOrEmpty(text);
}

bool ClsXml::hasChildWithTag(const char* tag) const noexcept {
  return m_document->firstChildNamed(m_node, XmlNameKey(viewOrEmpty(tag))) != kNoXmlIndex;
}

bool ClsXml::hasAttrWithValue(const char* name, const char* value) const noexcept {
  const XmlIndex found = m_document->findAttribute(m_node, XmlNameKey(viewOrEmpty(name)));
  return found != kNoXmlIndex &&
         m_document->text(m_document->attribute(found).value) == viewOrEmpty(value);
}

int ClsXml::getAttrValueInt(const char* name) const noexcept {
  const XmlIndex found = m_document->findAttribute(m_node, XmlNameKey(viewOrEmpty(name)));
  if (found == kNoXmlIndex) return 0;
  const std::string_view value = m_document->text(m_document->attribute(found).value);
  int number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  return error == std::errc() && stop == end ? number : 0;
}

bool ClsXml::get_Content(StringBuffer& out) const {
  return out.setString(contentView());
}

bool ClsXml::get_Content(XString& out) const {
  return out.setFromUtf8(contentView());
}

bool ClsXml::getContentSb(StringBuffer& out) const {
  return out.append(contentView());
}

const char* ClsXml::getContentPtr_careful() const noexcept {
  const std::string_view content = contentView();
  return content.empty() ? "" : content.data();
}

}  // namespace velmora
