#pragma once

// XML documents as applications use them: handles that stand on an element.

#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/text/x_string.h"
#include "velmora/support/xml/xml_child_cache.h"
#include "velmora/support/xml/xml_document.h"

namespace velmora {

/// Base of the classes whose objects an application holds through counted handles.
class ClsBase : public RefCountedObject {
 public:
  /// Gives up the caller's reference; the same as decRefCount.
  void deleteSelf() noexcept { decRefCount(); }
};

/// A cursor on an XML document. It stands on one element; several handles may stand on the same
/// document, which lives as long as one of them does. Operations whose names end in 2 move the
/// handle and return true, or return false and leave it where it was. Operations that give a new
/// handle count it once for the caller, who releases it with decRefCount or deleteSelf.
///
/// All character data is UTF-8 and counted by length; content may hold any character, NUL included.
/// Not safe for concurrent use, neither one handle nor several on a document that one of them
/// changes.
///
/// Paths. A path is a text of steps separated by "|", evaluated from the element the handle stands
/// on, never from the root by itself:
///   name            the first child element with that tag
///   name[n]         the n-th (from 0) of the children with that tag; "j" for n means the J index
///   ..              the parent
///   /C/name,text    the first element below, in document order and at any depth, with that tag and
///                   exactly that content; the text runs to the next "|"
///   /A/name,a,v     the first element below with that tag and an attribute a of value v
/// velmoraPath and VelmoraPath need one more, final step: "*" (read the content of the element
/// reached) or "$" (move the handle to it). Steps never backtrack.
class VELMORA_API ClsXml final : public ClsBase {
 public:
  /// A new, empty document and a handle on its root; null when memory ran out.
  static ClsXml* createNewCls() noexcept;
  ~ClsXml() override;

  // Whole documents.

  /// Replaces the handle's document by the one that `xml` holds and puts the handle on its root;
  /// other handles keep the document they stand on. White space is kept in content, and dropped
  /// where it stands alone beside child elements. Refused, with an error line and the data item
  /// "offset" (bytes from the start, in the UTF-8 form of UTF-16): what is not well-formed, a
  /// DOCTYPE, an entity other than the five of XML, text between or after child elements, invalid
  /// UTF-8 or UTF-16, characters below U+0020 that are not references (TAB, LF and CR may stand as
  /// they are), depth beyond 256, more than 256 attributes of an element, names beyond 65,535
  /// bytes, and texts beyond 4 GiB; the handle's document is then unchanged. An XML declaration,
  /// comments, processing instructions and CDATA sections are read. `autoTrim` is reserved and has
  /// no effect: content stays as it is, but that each of its lines ends with LF, whatever it ended
  /// with (XML 1.0 §2.11).
  ///
  /// The text is UTF-8, or UTF-16 where it starts with its byte order mark (XML 1.0 §4.3.3, F).
  /// A declared encoding has to say so: "UTF-8", "US-ASCII" (of a text that is), or behind the mark
  /// "UTF-16". Any other, and one that contradicts the mark, is refused.
  bool loadXml(const StringBuffer& xml, bool autoTrim, LogBase& log);
  bool loadXml(std::string_view xml, bool autoTrim, LogBase& log);

  /// Replaces the handle's document by another, of which it takes over the caller's reference, and
  /// puts the handle on its root.
  void takeDocument(XmlDocument& counted) noexcept;

  /// Appends the XML text of the subtree at the handle to `out`: no white space between elements,
  /// an empty element as a pair of tags, no XML declaration. `compact` is reserved and has no
  /// effect: there is one form only, and key identifiers are cut out of it.
  bool getXml(bool compact, StringBuffer& out, LogBase& log) const;

  /// Replaces `out` by the XML text of the whole document, in the form of getXml.
  bool GetXml(XString& out) const;
  /// The same as GetXml.
  bool SaveXml(XString& out) const { return GetXml(out); }

  // Path queries. Nothing is logged.

  /// Evaluates a path that ends in "*" or "$". "*": `result` is replaced by the content and the
  /// handle stays. "$": the handle moves and `result` is left alone. A step that finds nothing, or
  /// a path without such an end, gives false and changes nothing.
  bool velmoraPath(const char* path, XString& result, LogBase& log) {
    return velmoraPath(viewOrEmpty(path), result, log);
  }
  bool velmoraPath(std::string_view path, XString& result, LogBase& log);
  /// The same for a path that is an XString.
  bool VelmoraPath(XString& path, XString& result);

  /// A new handle on the element that a path of plain steps reaches, or null.
  ClsXml* getChildWithTagUtf8(const char* path) const;

  /// Replaces `out` by the content of the element that a path of plain steps reaches; `out` is
  /// empty when nothing is reached. The flag is reserved and has no effect. True when the element
  /// was reached.
  bool getChildContentUtf8(const char* path, StringBuffer& out, bool) const;

  /// How many children with the last step's tag the element has that the earlier steps reach.
  int numChildrenHavingTag(const char* path, LogBase& log) const;

  /// Sets the index that "[j]" steps use.
  void put_J(int j) noexcept { m_j = j; }

  // Moves and new handles.

  /// A new handle on the i-th child from 0, counted once for the caller; null when there is none.
  ClsXml* GetChild(int i) const;
  /// The same as getChild2.
  bool GetChild2(int i) noexcept { return getChild2(i); }
  /// Moves to the i-th child from 0. This move and those below give false, and stay, when there is
  /// none.
  bool getChild2(int i) noexcept;
  /// Moves to the first child.
  bool FirstChild2() noexcept;
  /// Moves to the last child.
  bool LastChild2() noexcept;
  /// Moves to the next element of the same parent.
  bool NextSibling2() noexcept;
  /// Moves to the one before.
  bool PreviousSibling2() noexcept;
  /// The same as getParent2.
  bool GetParent2() noexcept { return getParent2(); }
  /// Moves to the element around this one.
  bool getParent2() noexcept;
  /// Moves to the root of the document, which there always is.
  bool GetRoot2() noexcept;
  /// Moves to the first child with a tag.
  bool findChild2(const char* tag) noexcept;

  // Questions about the element at the handle.

  /// How many children it has.
  int get_NumChildren() const noexcept;
  /// Its tag, valid until the document changes.
  std::string_view tagView() const noexcept;
  /// Its content, valid until the document changes.
  std::string_view contentView() const noexcept;
  /// Whether that is its tag, octet by octet; null counts as empty.
  bool tagEquals(const char* tag) const noexcept;
  /// Whether that is its content, likewise.
  bool contentEquals(const char* text) const noexcept;
  /// Whether any of its children has the tag.
  bool hasChildWithTag(const char* tag) const noexcept;
  /// Whether it has the attribute with this value.
  bool hasAttrWithValue(const char* name, const char* value) const noexcept;
  /// The decimal value of an attribute; 0 when it is absent or no number.
  int getAttrValueInt(const char* name) const noexcept;
  /// Replaces `out` by the content.
  bool get_Content(StringBuffer& out) const;
  bool get_Content(XString& out) const;
  /// Appends the content to `out`.
  bool getContentSb(StringBuffer& out) const;
  /// The content, closed by a zero byte; it stays valid until the document is changed or released,
  /// and an embedded NUL ends it for readers of C strings.
  const char* getContentPtr_careful() const noexcept;

  // Building. Each returns false (or null), with the document unchanged, for a tag or attribute
  // name that XML could not read back and when memory ran out. A name is UTF-8 of ASCII letters,
  // digits, ".", "-", "_", ":" and anything beyond ASCII, and starts with neither "." nor "-"; a
  // digit may start it, because names of elements may be dotted OIDs. Content and attribute values
  // may lie in the document itself; what is not UTF-8 in them becomes U+FFFD, so that every
  // document can be read back.

  /// Replaces the tag.
  bool put_TagUtf8(const char* tag);
  /// Replaces the content; null empties it.
  bool put_ContentUtf8(const char* text);
  bool put_ContentUtf8(std::string_view text);
  /// Sets an attribute after those that are there; one of the same name keeps its place and takes
  /// the new value. An element has 256 at most.
  bool addAttribute(const char* name, const char* value);
  bool addAttribute(const char* name, std::string_view value);
  /// Appends a child with that content (null: none) and gives a new handle on it.
  ClsXml* newChild(const char* tag, const char* content, LogBase* log);
  /// Appends a child with that content; the handle stays where it is.
  bool appendNewChild2(const char* tag, const char* content);
  bool appendNewChild2(const char* tag, std::string_view content);
  /// Copies the document of `tree`, from its root, into this one as the child at `index` (-1 or
  /// past the end: the last).
  bool addChildTree(int index, ClsXml& tree, LogBase& log);

  /// Replaces the content by bytes in base64, with `zip` as a zlib stream (RFC 1950). The second
  /// flag and the text, to be passed as false and null, are reserved and have no effect.
  bool setBinaryContent(const DataBuffer& data, bool zip, bool, const char*, LogBase& log);
  /// Appends the bytes that setBinaryContent put there with the same `zip` to `out`, at most
  /// `maxSize` of them. False, with the reason logged and `out` as it was, for content that is
  /// anything else or more.
  bool getBinaryContent(bool zip, size_t maxSize, DataBuffer& out, LogBase& log) const;

  // For code that walks a whole subtree at once. The node's index is valid until the document
  // changes.

  /// The document of the handle.
  const XmlDocument& document() const noexcept { return *m_document; }
  /// The element of the handle.
  XmlIndex nodeIndex() const noexcept { return m_node; }

 private:
  ClsXml(XmlDocument& document, XmlIndex node) noexcept;

  static ClsXml* newHandle(XmlDocument& document, XmlIndex node) noexcept;
  ClsXml* handleOn(XmlIndex node) const noexcept;
  bool moveTo(XmlIndex node) noexcept;
  XmlIndex childAt(int i) const noexcept;
  XmlIndex reach(std::string_view steps) const noexcept;
  const XmlNode& here() const noexcept { return m_document->node(m_node); }

  XmlDocument* m_document;
  XmlIndex m_node;
  int m_j = 0;
  mutable XmlChildCache m_cache;
};

/// Scoped owner of a handle.
using _clsOwner = RefOwner<ClsXml>;

}  // namespace velmora
