#include "velmora/support/xml/xml_document.h"

#include <cstring>
#include <functional>
#include <new>

#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/text/unicode.h"
#include "velmora/support/xml/xml_chars.h"

namespace velmora {
namespace {

constexpr size_t kMaxCharacters = 0xFFFFFFFF;
constexpr size_t kMaxNodes = 0x7FFFFFFF;  // child counts are given as int

constexpr XmlNamed kUnnamed = {7, XmlName::kUnnamed, 0};

// What may stay unused of an array before it is worth a copy: a share of it, or so many bytes. The
// pages of a large array that were never written to cost nothing, and moving the others would.
constexpr size_t kSpareShare = 8;
constexpr size_t kSpareBytes = 64;
constexpr size_t kLargeBytes = 1 << 20;

template <class T>
void trimSpare(PodArray<T>& array) noexcept {
  if (array.capacity() * sizeof(T) > kLargeBytes) return;
  const size_t spare = array.capacity() - array.size();
  if (spare > array.size() / kSpareShare && spare * sizeof(T) > kSpareBytes) array.shrinkToFit();
}

// Whether an array can take that many more elements without growing.
template <class T>
bool growableBy(PodArray<T>& array, size_t count, size_t limit) noexcept {
  const size_t size = array.size();
  if (count > limit || size > limit - count) return false;
  if (count != 0 && array.extend(count) == nullptr) return false;
  array.truncate(size);
  return true;
}

// The text with U+FFFD in place of what is not UTF-8.
bool appendRepaired(std::string_view text, StringBuffer& out) noexcept {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = at + text.size();
  while (at != end) {
    if (!appendCodePointUtf8(readUtf8(at, end), out)) return false;
  }
  return true;
}

}  // namespace

XmlDocument* XmlDocument::create() noexcept {
  RefOwner<XmlDocument> document(new (std::nothrow) XmlDocument);
  if (!document) return nullptr;
  document->incRefCount();
  if (!document->makeRoom(1, 0, 0, 0)) return nullptr;
  document->addNode(kUnnamed, XmlText{0, 0});
  return document.release();
}

XmlIndex XmlDocument::firstChildNamed(XmlIndex parent, const XmlNameKey& key) const noexcept {
  XmlIndex child = firstChild(parent);
  while (child != kNoXmlIndex && !hasName(child, key)) child = m_nodes[child].next;
  return child;
}

XmlIndex XmlDocument::findAttribute(XmlIndex node, const XmlNameKey& key) const noexcept {
  XmlIndex at = firstAttribute(node);
  while (at != kNoXmlIndex && !matches(m_attributes[at], key)) at = m_attributes[at].next;
  return at;
}

// Changes.

bool XmlDocument::setName(XmlIndex node, std::string_view name) noexcept {
  XmlNamed named;
  if (!storeName(name, named)) return false;
  if (named.nameId == XmlName::kOther) {
    XmlNodeDetails* const details = widen(node);
    if (details == nullptr) return false;
    details->name = named;
  }
  m_nodes[node].nameId = named.nameId;
  ++m_changes;
  return true;
}

bool XmlDocument::setContent(XmlIndex node, std::string_view content) noexcept {
  XmlText piece;
  if (!storeRepaired(content, piece)) return false;
  if (m_nodes[node].kind == XmlNodeKind::kLeaf) {
    m_nodes[node].word[0] = piece.offset;
    m_nodes[node].word[1] = piece.size;
    return true;
  }
  XmlNodeDetails* const details = widen(node);
  if (details != nullptr) details->content = piece;
  return details != nullptr;
}

bool XmlDocument::setAttribute(XmlIndex node, std::string_view name,
                               std::string_view value) noexcept {
  const XmlIndex existing = findAttribute(node, XmlNameKey(name));
  XmlAttribute added;
  added.next = kNoXmlIndex;
  if (existing == kNoXmlIndex && !storeName(name, added)) return false;
  if (!storeRepaired(value, added.value)) return false;
  if (existing != kNoXmlIndex) {
    m_attributes[existing].value = added.value;
    return true;
  }
  XmlNodeDetails* const details = makeRoom(0, 0, 1, 0) ? widen(node) : nullptr;
  if (details == nullptr) return false;
  const auto index = static_cast<XmlIndex>(m_attributes.size());
  XmlIndex* end = &details->firstAttribute;
  for (int count = 0; *end != kNoXmlIndex; end = &m_attributes[*end].next) {
    if (++count == kMaxAttributes) return false;
  }
  *end = index;
  return m_attributes.push_back(added);
}

XmlIndex XmlDocument::appendChild(XmlIndex parent, std::string_view name,
                                  std::string_view content) noexcept {
  XmlNamed named;
  XmlText piece;
  if (!storeName(name, named) || !storeRepaired(content, piece)) return kNoXmlIndex;
  if (!makeRoom(1, 2, 0, 0)) return kNoXmlIndex;
  const auto child = static_cast<XmlIndex>(m_nodes.size());
  addNode(named, piece);
  link(child, parent, kNoXmlIndex);
  return child;
}

bool XmlDocument::insertCopy(XmlIndex parent, XmlIndex before, const XmlDocument& source) noexcept {
  if (!makeRoomFor(source)) return false;
  const XmlIndex root = copyElement(source, 0);
  // The copy hangs under `parent` only when it is whole, so that a document that is copied into
  // itself comes to an end.
  XmlIndex from = 0;
  for (XmlIndex above = root;;) {
    if (source.firstChild(from) != kNoXmlIndex) {
      from = source.firstChild(from);
    } else {
      for (; from != 0 && source.m_nodes[from].next == kNoXmlIndex; above = m_nodes[above].parent) {
        from = source.m_nodes[from].parent;
      }
      if (from == 0) break;
      from = source.m_nodes[from].next;
      above = m_nodes[above].parent;
    }
    const XmlIndex copy = copyElement(source, from);
    link(copy, above, kNoXmlIndex);
    above = copy;
  }
  link(root, parent, before);
  return true;
}

// Gives back what a document that was just made does not use.
void XmlDocument::trim() noexcept {
  trimSpare(m_text);
  trimSpare(m_nodes);
  trimSpare(m_details);
  trimSpare(m_attributes);
}

// The characters of a text, which may lie in this document, and a zero byte.
bool XmlDocument::store(std::string_view text, XmlText& piece) noexcept {
  piece = {0, 0};
  if (text.empty()) return true;
  const std::less<const char*> before;
  const bool inside = !before(text.data(), m_text.begin()) && before(text.data(), m_text.end());
  const size_t offsetInside = inside ? static_cast<size_t>(text.data() - m_text.begin()) : 0;
  if (text.size() >= kMaxCharacters || !makeRoom(0, 0, 0, text.size() + 1)) return false;
  piece = {static_cast<uint32_t>(m_text.size()), static_cast<uint32_t>(text.size())};
  char* to = m_text.extend(text.size() + 1);
  std::memcpy(to, inside ? m_text.data() + offsetInside : text.data(), text.size());
  to[text.size()] = 0;
  return true;
}

bool XmlDocument::storeRepaired(std::string_view text, XmlText& piece) noexcept {
  if (isValidUtf8(text)) return store(text, piece);
  StringBuffer repaired;
  return appendRepaired(text, repaired) && store(repaired.view(), piece);
}

bool XmlDocument::storeName(std::string_view name, XmlNamed& named) noexcept {
  named = {static_cast<uint16_t>(name.size()), xmlNameOf(name), 0};
  if (named.nameId != XmlName::kOther) return true;
  XmlText piece;
  if (!isXmlName(name) || !store(name, piece)) return false;
  named.nameOffset = piece.offset;
  return true;
}

bool XmlDocument::makeRoom(size_t nodes, size_t details, size_t attributes,
                           size_t characters) noexcept {
  return growableBy(m_nodes, nodes, kMaxNodes) && growableBy(m_details, details, kMaxNodes) &&
         growableBy(m_attributes, attributes, kMaxNodes) &&
         growableBy(m_text, characters, kMaxCharacters);
}

bool XmlDocument::makeRoomFor(const XmlDocument& source) noexcept {
  size_t nodes = 0;
  size_t details = 1;  // of the parent
  size_t attributes = 0;
  size_t characters = 0;
  for (XmlIndex i = 0; i != kNoXmlIndex; i = source.following(i, 0)) {
    ++nodes;
    details += source.m_nodes[i].kind == XmlNodeKind::kWide ? 1U : 0U;
    characters += source.name(i).size() + source.content(i).size() + 2;  // two closing zeros
    for (XmlIndex a = source.firstAttribute(i); a != kNoXmlIndex; a = source.m_attributes[a].next) {
      const XmlAttribute& attribute = source.m_attributes[a];
      ++attributes;
      characters += attribute.nameSize + size_t{attribute.value.size} + 2;
    }
  }
  return makeRoom(nodes, details, attributes, characters);
}

// The rest needs no memory beyond what makeRoom got.

// The details of an element, which gets them when it has none yet. Null when memory ran out, which
// it does not for as many as makeRoom got.
XmlNodeDetails* XmlDocument::widen(XmlIndex node) noexcept {
  XmlNode& narrow = m_nodes[node];
  if (narrow.kind == XmlNodeKind::kWide) return &m_details[narrow.word[0]];
  const XmlNodeDetails details = {{0, narrow.nameId, 0}, contentOf(node), childCount(node),
                                  firstChild(node),      lastChild(node), kNoXmlIndex};
  if (!m_details.push_back(details)) return nullptr;
  narrow.kind = XmlNodeKind::kWide;
  narrow.word[0] = static_cast<uint32_t>(m_details.size() - 1);
  return &m_details.back();
}

void XmlDocument::addNode(const XmlNamed& name, XmlText content) noexcept {
  const auto index = static_cast<XmlIndex>(m_nodes.size());
  m_nodes.push_back({name.nameId,
                     XmlNodeKind::kLeaf,
                     {content.offset, content.size},
                     kNoXmlIndex,
                     kNoXmlIndex,
                     kNoXmlIndex});
  if (name.nameId == XmlName::kOther) widen(index)->name = name;
}

// Whether a node that becomes the last child fits into the two words of a parent.
bool XmlDocument::isNextBehind(XmlIndex node, XmlIndex parent) const noexcept {
  const XmlNode& above = m_nodes[parent];
  return above.kind == XmlNodeKind::kParent ||
         (above.kind == XmlNodeKind::kLeaf && above.word[1] == 0 && node == parent + 1);
}

void XmlDocument::link(XmlIndex node, XmlIndex parent, XmlIndex before) noexcept {
  const XmlIndex after = before == kNoXmlIndex ? lastChild(parent) : m_nodes[before].previous;
  m_nodes[node].parent = parent;
  m_nodes[node].previous = after;
  m_nodes[node].next = before;
  if (after != kNoXmlIndex) m_nodes[after].next = node;
  if (before != kNoXmlIndex) m_nodes[before].previous = node;
  if (before == kNoXmlIndex && isNextBehind(node, parent)) {
    XmlNode& above = m_nodes[parent];
    const uint32_t count = childCount(parent) + 1;
    above.kind = XmlNodeKind::kParent;
    above.word[0] = node;
    above.word[1] = count;
  } else {
    XmlNodeDetails& above = *widen(parent);
    if (after == kNoXmlIndex) above.firstChild = node;
    if (before == kNoXmlIndex) above.lastChild = node;
    ++above.childCount;
  }
  ++m_changes;
}

XmlIndex XmlDocument::copyElement(const XmlDocument& source, XmlIndex from) noexcept {
  const auto to = static_cast<XmlIndex>(m_nodes.size());
  const XmlName id = source.m_nodes[from].nameId;
  XmlNamed name = {0, id, 0};
  if (id == XmlName::kOther) name = copyName(source, source.detailsOf(source.m_nodes[from]).name);
  addNode(name, copyText(source, source.contentOf(from)));
  copyAttributes(source, from, to);
  return to;
}

void XmlDocument::copyAttributes(const XmlDocument& source, XmlIndex from, XmlIndex to) noexcept {
  XmlIndex last = kNoXmlIndex;
  for (XmlIndex i = source.firstAttribute(from); i != kNoXmlIndex;
       i = source.m_attributes[i].next) {
    const XmlAttribute original = source.m_attributes[i];
    const auto copy = static_cast<XmlIndex>(m_attributes.size());
    m_attributes.push_back(
        {copyName(source, original), copyText(source, original.value), kNoXmlIndex});
    (last == kNoXmlIndex ? widen(to)->firstAttribute : m_attributes[last].next) = copy;
    last = copy;
  }
}

XmlNamed XmlDocument::copyName(const XmlDocument& source, const XmlNamed& named) noexcept {
  XmlNamed copy = named;
  if (named.nameId == XmlName::kOther) {
    copy.nameOffset = copyText(source, {named.nameOffset, named.nameSize}).offset;
  }
  return copy;
}

XmlText XmlDocument::copyText(const XmlDocument& source, XmlText piece) noexcept {
  XmlText copy;
  store(source.text(piece), copy);
  return copy;
}

}  // namespace velmora
