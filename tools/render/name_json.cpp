#include "tools/render/name_json.h"

#include "tools/render/oid_text.h"

namespace velmora::tool {

void writeAttribute(const ShownAttribute& attribute, JsonLine& line) {
  const DottedOid type(attribute.type);
  const std::string_view shortName = attribute.shortName();
  const bool isText = attribute.kind != TextKind::none;
  line.beginObject("");
  line.word("oid", type.text());
  line.word("name", shortName.empty() ? type.name() : shortName);
  isText ? line.text("value", attribute.text()) : line.null("value");
  if (!isText) line.hex("hex", attribute.der);
  line.endObject();
}

void writeRdns(std::string_view key, const Attributes& attributes, JsonLine& line) {
  if (!attributes) return line.null(key);
  line.beginList(key);
  for (size_t i = 0; i < attributes->size(); ++i) {
    const uint32_t rdn = (*attributes)[i].rdn;
    const bool isFirst = i == 0 || (*attributes)[i - 1].rdn != rdn;
    const bool isLast = i + 1 == attributes->size() || (*attributes)[i + 1].rdn != rdn;
    if (isFirst) line.beginList("");
    writeAttribute((*attributes)[i], line);
    if (isLast) line.endList();
  }
  line.endList();
}

}  // namespace velmora::tool
