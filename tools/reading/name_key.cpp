#include "tools/reading/name_key.h"

#include <algorithm>

#include "tools/reading/whole.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora::tool {

namespace {

void appendPart(std::string_view part, std::string& key) {
  key += std::to_string(part.size());
  key += ':';
  key += part;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// PrintableString, UTF8String and IA5String are compared by their text, since issuers write one
// name in more than one of them. Where the octets are not those of that text, and for every other
// type, the element as it stands is compared.
bool isComparedAsText(const ClsXml& value) {
  if (value.tagEquals("utf8")) return !value.hasAttrWithValue("encoding", "latin1");
  return (value.tagEquals("printable") || value.tagEquals("ia5")) && isAscii(value.contentView());
}

void appendValue(const ClsXml& value, std::string& key) {
  if (isComparedAsText(value)) {
    key += 't';
    return appendPart(value.contentView(), key);
  }
  StringBuffer xml;
  LogNull log;
  // A value that is there has XML, if there is memory for it.
  if (!value.getXml(true, xml, log)) throw std::bad_alloc();
  key += 'x';
  appendPart(whole(xml).view(), key);
}

}  // namespace

std::string nameKey(ClsXml& name) {
  std::string key;
  const bool wellFormed = eachAttribute(name, [&](size_t rdn, std::string_view oid) {
    key += std::to_string(rdn);
    key += ' ';
    appendPart(oid, key);
    appendValue(name, key);
  });
  if (!wellFormed) key.clear();
  return key;
}

}  // namespace velmora::tool
