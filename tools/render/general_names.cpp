#include "tools/render/general_names.h"

#include <utility>
#include <variant>

#include "tools/render/escape.h"
#include "tools/render/name_text.h"
#include "tools/terminal/print.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

ShownName::ShownName(const GeneralName& name) {
  std::visit([this](const auto& each) { take(each); }, name);
}

void ShownName::own(std::string_view type, std::string text) {
  m_own = std::move(text);
  takeText(type, m_own);
}

void ShownName::take(const Name& name) {
  StringBuffer text;
  const bool hasText = appendName(name, text);
  own("directory", std::string(whole(text).view()));
  m_octets = name.der();
  if (!hasText) m_text.reset();
}

void ShownName::take(const RegisteredId& name) {
  own("registeredId", std::string(DottedOid(name.rawId).text()));
  m_octets = name.rawId;
  if (m_own.empty()) m_text.reset();
}

void ShownName::take(const OtherName& name) {
  Result<std::string> text = name.text();
  m_type = "otherName";
  m_otherType = name.rawType;
  m_octets = name.value;
  if (text) own(m_type, *std::move(text));
}

void ShownName::take(const RawName& name) {
  static constexpr std::string_view kTypes[] = {
      "otherName", "email", "dns", "x400", "directory", "ediParty", "uri", "ip", "registeredId"};
  const bool isKnown = name.tag < std::size(kTypes);
  m_type = isKnown ? kTypes[name.tag] : "unknown";
  m_octets = name.der;
  m_isRaw = true;
  m_isMalformed = isKnown && name.malformed;
}

void ShownName::write(std::string_view key, JsonLine& line) const {
  line.beginObject(key);
  line.word("type", m_type);
  if (m_otherType) {
    line.object("value", [&] {
      line.word("oid", DottedOid(*m_otherType).text());
      m_text ? line.text("text", *m_text) : line.hex("hex", m_octets);
    });
  } else if (m_text) {
    line.text("value", *m_text);
  } else if (m_isRaw && !m_isMalformed) {
    line.base64("value", m_octets);
  } else {
    line.null("value");
  }
  if (m_isMalformed) line.base64("malformed", m_octets);
  line.endObject();
}

void ShownName::append(OidStyle style, AppendText appendText, StringBuffer& out) const {
  print(out, m_isMalformed ? "malformed " : "", m_type, ' ');
  if (m_otherType) {
    appendOidShort(DottedOid(*m_otherType), style, out);
    out.appendChar('=');
  }
  if (m_text) return appendText(*m_text, out);
  out.appendChar('#');
  char* const digits = out.extend(2 * m_octets.size());
  if (digits != nullptr) hexEncodeLower(octetsOf(m_octets).data(), m_octets.size(), digits);
}

void writeGeneralNames(std::string_view key, const std::vector<GeneralName>& names,
                       JsonLine& line) {
  line.list(key, names, [&](const GeneralName& name) { ShownName(name).write("", line); });
}

}  // namespace velmora::tool
