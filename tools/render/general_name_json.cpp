#include "tools/render/general_name_json.h"

#include <string>
#include <variant>

#include "tools/reading/certificate_tree.h"
#include "tools/reading/whole.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

namespace {

void writeText(std::string_view type, std::string_view text, JsonLine& line) {
  line.text("type", type);
  line.text("value", text);
}

void write(const DnsName& name, JsonLine& line) {
  writeText("dns", name.text, line);
}

void write(const EmailAddress& name, JsonLine& line) {
  writeText("email", name.text, line);
}

void write(const Uri& name, JsonLine& line) {
  writeText("uri", name.text, line);
}

void write(const IpAddress& address, JsonLine& line) {
  writeText("ip", address.text(), line);
}

void write(const IpRange& range, JsonLine& line) {
  writeText("ip", range.text(), line);
}

// In style 0, which VelmoraX509 alone writes. A name that is too much for a tree, which has to be
// one of very many attributes, has no text.
void write(const Name& name, JsonLine& line) {
  const Bytes der = name.der();
  std::string base64(base64Length(der.size()), '=');
  base64Encode(reinterpret_cast<const unsigned char*>(der.data()), der.size(), base64.data());
  line.text("type", "directory");
  const XmlHandle tree = treeOfBase64(base64);
  if (!tree) return line.null("value");
  LogNull log;
  XString text;
  eachChild(*tree, [&] { VelmoraX509::appendToDN(*tree, true, 0, text, log); });
  line.text("value", whole(text).view());
}

void write(const RegisteredId& name, JsonLine& line) {
  line.text("type", "registeredId");
  line.textOrNull("value", dottedOid(name.rawId));
}

void write(const OtherName& name, JsonLine& line) {
  line.text("type", "otherName");
  line.beginObject("value");
  line.textOrNull("oid", dottedOid(name.rawType));
  const Result<std::string> text = name.text();
  text ? line.text("text", *text) : line.hex("hex", name.value);
  line.endObject();
}

void write(const RawName& name, JsonLine& line) {
  static constexpr std::string_view kTypes[] = {
      "otherName", "email", "dns", "x400", "directory", "ediParty", "uri", "ip", "registeredId"};
  const bool isKnown = name.tag < std::size(kTypes);
  line.text("type", isKnown ? kTypes[name.tag] : "unknown");
  if (!isKnown || !name.malformed) return line.base64("value", name.der);
  line.null("value");
  line.base64("malformed", name.der);
}

}  // namespace

void writeGeneralName(std::string_view key, const velmora::GeneralName& name, JsonLine& line) {
  line.beginObject(key);
  std::visit([&](const auto& each) { write(each, line); }, name);
  line.endObject();
}

void writeGeneralNames(std::string_view key, const std::vector<velmora::GeneralName>& names,
                       JsonLine& line) {
  line.beginList(key);
  for (const velmora::GeneralName& name : names) writeGeneralName("", name, line);
  line.endList();
}

}  // namespace velmora::tool
