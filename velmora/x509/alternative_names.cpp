#include <initializer_list>
#include <string_view>
#include <utility>

#include "velmora/support/core/known_oids.h"
#include "velmora/support/text/encoding_convert.h"
#include "velmora/x509/internal/tree_maker.h"
#include "velmora/x509/internal/tree_visit.h"
#include "velmora/x509/velmora_x509.h"

// Alternative names (RFC 5280 §4.2.1.6):
//
//   GeneralNames ::= SEQUENCE OF GeneralName
//   GeneralName ::= CHOICE { otherName [0] { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY },
//     rfc822Name [1] IA5String, dNSName [2] IA5String, x400Address [3], directoryName [4] Name,
//     ediPartyName [5], uniformResourceIdentifier [6] IA5String, iPAddress [7] OCTET STRING,
//     registeredID [8] OBJECT IDENTIFIER }

namespace velmora {
namespace {

constexpr int kUtf8 = 65001;

constexpr int kRfc822Name = 1;
constexpr int kDnsName = 2;
constexpr int kDirectoryName = 4;
constexpr int kUri = 6;

// Marks a text that lacks something, so that it does not pass for a whole one, nor an extension for
// which memory ran out for an absent one. Always false.
bool markIncomplete(XString& text) {
  text.markFailed();
  return false;
}

// Decodes base64 content into UTF-8; what is not UTF-8 becomes U+FFFD. The text is marked when
// memory ran out.
void decodeText(std::string_view base64, DataBuffer& text) {
  DataBuffer octets;
  octets.appendEncoded(base64, "base64");
  LogNull noLog;
  EncodingConvert::EncConvert(kUtf8, kUtf8, std::as_const(octets).data(),
                              static_cast<unsigned int>(octets.size()), text, noLog);
  if (octets.failed()) text.markFailed();
}

bool putDecoded(ClsXml& element, std::string_view base64) {
  DataBuffer text;
  decodeText(base64, text);
  return !text.failed() && element.put_ContentUtf8(text.view());
}

// Replaces `content` by the first content at one of the paths that is not empty, or empties it.
// False when memory ran out.
bool readContent(const ClsXml& from, std::initializer_list<const char*> paths,
                 StringBuffer& content) {
  for (const char* path : paths) {
    from.getChildContentUtf8(path, content, false);
    if (content.failed()) return false;
    if (!content.isEmpty()) break;
  }
  return true;
}

// The value of an otherName, at whose [0] the handle stands: octets, or text of three types.
bool putOtherNameValue(const ClsXml& value, ClsXml& element) {
  StringBuffer content;
  if (!readContent(value, {"octets"}, content)) return false;
  if (!content.isEmpty()) return putDecoded(element, content.view());
  return readContent(value, {"utf8", "ia5", "printable"}, content) &&
         element.put_ContentUtf8(content.view());
}

bool appendOtherName(ClsXml& name, ClsXml& names) {
  const _clsOwner element(names.newChild("name", "", nullptr));
  if (!element) return false;
  StringBuffer oid;
  if (!readContent(name, {"oid"}, oid) || !element->addAttribute("type", "oid") ||
      !element->addAttribute("oid", oid.view())) {
    return false;
  }
  const TreeVisit value = TreeVisit::toChild(name, "contextSpecific");
  return !value || putOtherNameValue(name, *element);
}

// The first attribute of each RDN, as an element named by its OID, where its value is UTF-8, IA5 or
// printable.
bool appendDirectoryName(ClsXml& name, ClsXml& names) {
  const _clsOwner element(names.newChild("directoryName", "", nullptr));
  if (!element) return false;
  LogNull noLog;
  const int count = name.numChildrenHavingTag("sequence|set", noLog);
  StringBuffer oid;
  StringBuffer value;
  for (int j = 0; j < count; ++j) {
    name.put_J(j);
    if (!readContent(name, {"sequence|set[j]|sequence|oid"}, oid) ||
        !readContent(name,
                     {"sequence|set[j]|sequence|utf8", "sequence|set[j]|sequence|ia5",
                      "sequence|set[j]|sequence|printable"},
                     value)) {
      return false;
    }
    if (oid.isEmpty() || value.isEmpty()) continue;
    if (!element->appendNewChild2(oid.getString(), value.view())) return false;
  }
  return true;
}

bool appendText(const char* tag, const ClsXml& name, ClsXml& names) {
  const _clsOwner element(names.newChild(tag, "", nullptr));
  return element && putDecoded(*element, name.contentView());
}

// Appends the general name at the handle. The kinds that the document does not know are left out.
bool appendGeneralName(ClsXml& name, ClsXml& names) {
  if (name.hasChildWithTag("oid")) return appendOtherName(name, names);
  const int tag = name.getAttrValueInt("tag");
  if (name.get_NumChildren() > 0) {
    const bool isDirectoryName = tag == kDirectoryName && name.get_NumChildren() == 1;
    return !isDirectoryName || appendDirectoryName(name, names);
  }
  switch (tag) {
    case kRfc822Name:
      return appendText("rfc822Name", name, names);
    case kDnsName:
      return appendText("dnsName", name, names);
    case kUri:
      return appendText("uniformResourceIdentifier", name, names);
    default:
      return true;
  }
}

bool isEmailOrDnsName(const ClsXml& name) {
  return name.tagEquals("contextSpecific") &&
         (name.hasAttrWithValue("tag", "1") || name.hasAttrWithValue("tag", "2"));
}

// Appends every e-mail address and DNS name below the handle: hosts count as addresses here, which
// is part of the interface.
void appendAddresses(ClsXml& names, XString& out) {
  const int count = names.get_NumChildren();
  for (int i = 0; i < count; ++i) {
    const TreeVisit name = TreeVisit::toChild(names, i);
    if (!isEmailOrDnsName(names)) continue;
    DataBuffer text;
    decodeText(names.contentView(), text);
    if (!text.empty() && !out.isEmpty()) out.appendChar(',');
    out.getUtf8Sb_rw().append(text);
  }
}

// The extension as a tree of its own; null when there is none that can be read, or memory ran out,
// as `incomplete` tells.
_clsOwner loadNames(VelmoraX509& certificate, bool& incomplete, LogBase& log) {
  DataBuffer value;
  TreeMaker maker;
  _clsOwner tree;
  if (certificate.getExtensionDerDataByOid(known_oid::subjectAltName.dotted(), value, log) &&
      !value.failed() && maker.convert(value, log)) {
    tree.reset(ClsXml::createNewCls());
    incomplete = !maker.load(tree.get(), log);
    if (incomplete) tree.reset();
  } else {
    incomplete = value.failed() || maker.ranOutOfMemory();
  }
  return tree;
}

StringBuffer textOf(const ClsXml& tree, LogBase& log) {
  StringBuffer xml;
  tree.getXml(true, xml, log);
  return xml;
}

}  // namespace

bool VelmoraX509::generalizedNamesXml(ClsXml& node, XString& out, LogBase& log) {
  LogContextExitor context(log, "generalizedNames");
  const _clsOwner names(ClsXml::createNewCls());
  if (!names || !names->put_TagUtf8("SubjectAltName")) return false;
  const int count = node.get_NumChildren();
  for (int i = 0; i < count; ++i) {
    LogContextExitor nameContext(log, "name");
    const TreeVisit name = TreeVisit::toChild(node, i);
    if (!appendGeneralName(node, *names)) {
      // For memory, or for a type whose OID is longer than an element's name may be.
      log.LogError("Failed to write a general name.");
      return false;
    }
  }
  return names->GetXml(out);
}

bool VelmoraX509::getSubjectAlternativeNameXml(XString& out, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "getSubjectAlternativeNameXml");
  out.weakClear();
  bool incomplete = false;
  const _clsOwner tree = loadNames(*this, incomplete, log);
  if (incomplete) return markIncomplete(out);
  if (!tree) {
    log.LogInfo("Cert has no 2.5.29.17 extension.");
    return false;
  }
  if (log.m_verbose) log.LogDataSb("sbXml", textOf(*tree, log));
  return generalizedNamesXml(*tree, out, log);
}

bool VelmoraX509::getRfc822Name(XString& out, LogBase& log) {
  CritSecExitor lock(this);
  LogContextExitor context(log, "getRfc822Name");
  out.weakClear();
  bool incomplete = false;
  const _clsOwner tree = loadNames(*this, incomplete, log);
  if (incomplete) return markIncomplete(out);
  if (!tree) return false;
  if (log.m_verbose) log.LogDataSb("SAN_xml", textOf(*tree, log));
  if (tree->get_NumChildren() == 0) {
    // One bare string in place of a list: it is taken to be in the ANSI code page.
    DataBuffer text;
    text.appendEncoded(tree->getContentPtr_careful(), "base64");
    out.appendAnsi(text.view());
    if (text.failed()) out.markFailed();
    return true;
  }
  appendAddresses(*tree, out);
  if (out.isEmpty()) {
    log.LogError("Unexpected SubjectAltName");
    log.LogDataSb("SubjectAltNameXml", textOf(*tree, log));
    return false;
  }
  return true;
}

bool VelmoraX509::getEmailAddress(XString& out, LogBase& log) {
  CritSecExitor lock(this);
  out.clear();
  get_SubjectValue(known_oid::emailAddress.dotted(), out, log);
  if (out.isEmpty() && !out.failed()) {
    LogNull noLog;
    getRfc822Name(out, noLog);
  }
  return true;
}

}  // namespace velmora
