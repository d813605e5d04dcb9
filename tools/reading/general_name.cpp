#include "tools/reading/general_name.h"

#include "tools/reading/certificate_tree.h"
#include "tools/reading/whole.h"
#include "tools/render/escape.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kTypes[] = {"otherName", "email", "dns", "x400",        "directory",
                                       "ediParty",  "uri",   "ip",  "registeredId"};

constexpr std::string_view kUnknown = "unknown";

std::string_view typeOf(const ClsXml& at) {
  if (!at.tagEquals("contextSpecific")) return kUnknown;
  const int tag = at.getAttrValueInt("tag");
  const bool isKnown = tag >= 0 && tag < static_cast<int>(std::size(kTypes));
  return isKnown ? kTypes[tag] : kUnknown;
}

// There must be a child.
XmlHandle firstChild(const ClsXml& at) {
  XmlHandle child(at.GetChild(0));
  if (!child) throw std::bad_alloc();
  return child;
}

// OtherName ::= SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY DEFINED BY type-id }
bool readOtherName(ClsXml& at, GeneralName& name) {
  if (at.get_NumChildren() != 2) return false;
  const XmlHandle part = firstChild(at);
  if (!part->tagEquals("oid")) return false;
  name.oid.append(part->contentView());
  part->NextSibling2();
  if (!isContext(*part, 0) || part->get_NumChildren() != 1) return false;
  part->FirstChild2();
  for (const char* tag : {"utf8", "ia5", "printable"}) {
    if (!part->tagEquals(tag) || part->hasAttrWithValue("encoding", "latin1")) continue;
    name.form = GeneralName::Form::kOtherText;
    return name.text.append(part->contentView());
  }
  name.form = GeneralName::Form::kOtherOctets;
  appendDer(*part, name.octets);
  return true;
}

bool readDirectoryName(const ClsXml& at, GeneralName& name) {
  if (at.get_NumChildren() != 1) return false;
  const XmlHandle directory = firstChild(at);
  if (!eachAttribute(*directory, [](size_t, std::string_view) {})) return false;
  LogNull log;
  XString text;
  eachChild(*directory, [&] { VelmoraX509::appendToDN(*directory, true, 0, text, log); });
  return name.text.append(whole(text).getUtf8Sb());
}

// Of x400Address and ediPartyName, and of what is no general name of RFC 5280, nothing is read.
bool isUnread(const ClsXml& at, const GeneralName& name) {
  if (name.type == kUnknown) return true;
  return (isContext(at, 3) || isContext(at, 5)) && at.getAttrValueInt("constructed") != 0;
}

bool readValue(ClsXml& at, GeneralName& name) {
  if (isContext(at, 0)) return readOtherName(at, name);
  if (isContext(at, 4)) return readDirectoryName(at, name);
  DataBuffer octets;
  octets.appendEncoded(at.contentView(), "base64");
  whole(octets);
  for (const int tag : {1, 2, 6}) {
    if (isPrimitiveContext(at, tag)) return name.text.append(octets);
  }
  if (isPrimitiveContext(at, 7)) return appendIpAddress(octets.span(), name.text);
  return isPrimitiveContext(at, 8) && oidToDotted(octets.span(), name.text);
}

}  // namespace

void readGeneralName(ClsXml& at, GeneralName& name) {
  name.type = typeOf(at);
  name.form = GeneralName::Form::kText;
  name.oid.weakClear();
  name.text.weakClear();
  name.octets.clear();
  if (!readValue(at, name)) {
    name.form = isUnread(at, name) ? GeneralName::Form::kOctets : GeneralName::Form::kMalformed;
    whole(name.octets).clear();
    appendDer(at, name.octets);
  }
  whole(name.oid);
  whole(name.text);
  whole(name.octets);
}

void writeGeneralName(const GeneralName& name, JsonLine& line) {
  using Form = GeneralName::Form;
  line.beginObject("");
  line.text("type", name.type);
  if (name.form == Form::kText) {
    line.text("value", name.text.view());
  } else if (name.form == Form::kOctets) {
    line.base64("value", name.octets.span());
  } else if (name.form == Form::kMalformed) {
    line.null("value");
    line.base64("malformed", name.octets.span());
  } else {
    line.beginObject("value");
    line.text("oid", name.oid.view());
    if (name.form == Form::kOtherText) line.text("text", name.text.view());
    if (name.form == Form::kOtherOctets) line.hex("hex", name.octets.span());
    line.endObject();
  }
  line.endObject();
}

namespace {

using AppendText = void (*)(std::string_view text, StringBuffer& out);

void appendName(const GeneralName& name, OidStyle style, AppendText appendText, StringBuffer& out) {
  using Form = GeneralName::Form;
  if (name.form == Form::kMalformed) out.append("malformed ");
  out.append(name.type);
  out.appendChar(' ');
  if (name.form == Form::kOtherText || name.form == Form::kOtherOctets) {
    appendOidShort(name.oid.view(), style, out);
    out.appendChar('=');
  }
  if (name.form == Form::kText || name.form == Form::kOtherText) {
    appendText(name.text.view(), out);
  } else {
    out.appendChar('#');
    name.octets.encodeDB("hexlower", out);
  }
}

}  // namespace

void appendGeneralName(const GeneralName& name, OidStyle style, StringBuffer& out) {
  appendName(
      name, style, [](auto text, auto& to) { appendPrintable(text, to); }, out);
}

void appendGeneralNameItem(const GeneralName& name, OidStyle style, StringBuffer& out) {
  appendName(name, style, appendPrintableItem, out);
}

}  // namespace velmora::tool
