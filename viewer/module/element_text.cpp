#include "viewer/module/element_text.h"

#include <algorithm>
#include <string_view>

#include "tools/render/octets.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/unicode.h"

namespace velmora::viewer {

namespace {

using tool::print;
using Octets = std::span<const unsigned char>;

// Octets in hexadecimal say less than as many of a text.
constexpr size_t kHexPart = 8;
// What every reader of JSON keeps exactly as a number, and people read at a glance.
constexpr size_t kMostNumber = 6;

constexpr std::string_view kTypes[] = {"end of contents",
                                       "BOOLEAN",
                                       "INTEGER",
                                       "BIT STRING",
                                       "OCTET STRING",
                                       "NULL",
                                       "OBJECT IDENTIFIER",
                                       "ObjectDescriptor",
                                       "EXTERNAL",
                                       "REAL",
                                       "ENUMERATED",
                                       "EMBEDDED PDV",
                                       "UTF8String",
                                       "RELATIVE-OID",
                                       "TIME",
                                       "",
                                       "SEQUENCE",
                                       "SET",
                                       "NumericString",
                                       "PrintableString",
                                       "T61String",
                                       "VideotexString",
                                       "IA5String",
                                       "UTCTime",
                                       "GeneralizedTime",
                                       "GraphicString",
                                       "VisibleString",
                                       "GeneralString",
                                       "UniversalString",
                                       "CHARACTER STRING",
                                       "BMPString"};

std::string_view charactersOf(Octets octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

void appendHex(Octets octets, size_t most, StringBuffer& out) {
  const Octets start = octets.first(std::min(octets.size(), most / kHexPart));
  print(out, tool::Hex{std::as_bytes(start)}, start.size() < octets.size() ? "…" : "");
}

void appendUtf16(Octets text, size_t most, StringBuffer& out) {
  const Octets start = text.first(std::min(text.size(), most));
  const unsigned char* at = start.data();
  while (at != start.data() + start.size()) {
    unsigned char bytes[4];
    const char32_t c = readUtf16(at, start.data() + start.size(), true);
    const size_t size = writeUtf8(isScalarValue(c) ? c : kReplacementCharacter, bytes);
    out.append(charactersOf(Octets(bytes, size)));
  }
  if (start.size() < text.size()) out.append("…");
}

void appendOid(Octets content, size_t most, StringBuffer& out) {
  StringBuffer text;
  tool::appendOid(tool::DottedOid(std::as_bytes(content)), tool::OidStyle::kNamed, text);
  appendStart(text.view(), most, out);
}

void appendInteger(Octets content, size_t most, StringBuffer& out) {
  if (content.empty() || content.size() > kMostNumber) return appendHex(content, most, out);
  print(out, integerValue(std::as_bytes(content)));
}

void appendBits(Octets content, size_t most, StringBuffer& out) {
  if (content.empty()) return;
  if (content[0] != 0) print(out, content[0], " unused, ");
  appendHex(content.subspan(1), most, out);
}

bool isText(Octets content) {
  return !content.empty() && std::all_of(content.begin(), content.end(),
                                         [](unsigned char c) { return c >= 0x20 && c < 0x7F; });
}

void appendUniversal(uint32_t tag, Octets content, size_t most, StringBuffer& out) {
  using namespace asn1_tag;
  switch (tag) {
    case kNull:
      return;
    case kBoolean:
      return content.size() == 1 ? print(out, content[0] != 0 ? "TRUE" : "FALSE")
                                 : appendHex(content, most, out);
    case kInteger:
    case kEnumerated:
      return appendInteger(content, most, out);
    case kBitString:
      return appendBits(content, most, out);
    case kOid:
      return appendOid(content, most, out);
    case kBmpString:
      return appendUtf16(content, most, out);
    case kUtf8String:
    case kNumericString:
    case kPrintableString:
    case kT61String:
    case kIa5String:
    case kUtcTime:
    case kGeneralizedTime:
    case kVisibleString:
      return appendStart(charactersOf(content), most, out);
    default:
      return appendHex(content, most, out);
  }
}

}  // namespace

std::string_view startOf(std::string_view text, size_t most) noexcept {
  if (text.size() <= most) return text;
  constexpr size_t kLongest = 4;
  size_t size = most;
  while (size + kLongest > most && size > 0 && (text[size] & 0xC0) == 0x80) --size;
  return text.substr(0, size);
}

void appendStart(std::string_view text, size_t most, StringBuffer& out) {
  const std::string_view start = startOf(text, most);
  print(out, start, start.size() < text.size() ? "…" : "");
}

void appendType(const Asn1Header& header, StringBuffer& out) {
  const uint32_t tag = header.tagNumber;
  if (header.tagClass == Asn1Class::kUniversal && tag < std::size(kTypes) && !kTypes[tag].empty()) {
    return print(out, kTypes[tag]);
  }
  constexpr std::string_view kClasses[] = {"UNIVERSAL ", "APPLICATION ", "", "PRIVATE "};
  print(out, '[', kClasses[static_cast<size_t>(header.tagClass)], tag, ']');
}

void appendValue(const Asn1Header& header, Octets content, size_t most, StringBuffer& out) {
  if (header.tagClass == Asn1Class::kUniversal) {
    return appendUniversal(header.tagNumber, content, most, out);
  }
  // Implicit tags hide the type: general names are mostly texts.
  isText(content) ? appendStart(charactersOf(content), most, out) : appendHex(content, most, out);
}

}  // namespace velmora::viewer
