#include "tools/reading/string_value.h"

#include "tools/reading/whole.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/unicode.h"
#include "velmora/x509/dn_names.h"

namespace velmora::tool {

namespace {

bool appendUtf16(const DataBuffer& units, StringBuffer& out) {
  const unsigned char* at = units.data();
  const unsigned char* const end = at + units.size();
  while (at != end) {
    const char32_t c = readUtf16(at, end, true);
    if (c == kInvalidSequence) return false;
    appendCodePointUtf8(c, out);
  }
  return true;
}

// BMPString, and the types whose characters are those of ASCII.
bool appendUniversalText(const ClsXml& value, StringBuffer& out) {
  constexpr int kVisibleString = 26;
  DataBuffer octets;
  if (value.hasAttrWithValue("constructed", "1")) return false;
  const bool decoded = octets.appendEncoded(value.contentView(), "base64");
  whole(octets);
  if (!decoded) return false;
  const int number = value.getAttrValueInt("number");
  if (number == static_cast<int>(asn1_tag::kBmpString)) return appendUtf16(octets, out);
  if (number != static_cast<int>(asn1_tag::kNumericString) && number != kVisibleString) {
    return false;
  }
  for (const char c : octets.view()) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return out.append(octets);
}

bool appendText(const ClsXml& value, StringBuffer& out) {
  if (hasTag(value, XmlName::kUniversal)) return appendUniversalText(value, out);
  const bool isText = hasTag(value, XmlName::kPrintable) || hasTag(value, XmlName::kUtf8) ||
                      hasTag(value, XmlName::kIa5) || hasTag(value, XmlName::kT61);
  return isText && !value.hasAttrWithValue("encoding", "latin1") && out.append(value.contentView());
}

}  // namespace

bool readStringValue(const ClsXml& value, StringBuffer& text) {
  text.weakClear();
  const bool isText = appendText(value, text);
  whole(text);
  return isText;
}

}  // namespace velmora::tool
