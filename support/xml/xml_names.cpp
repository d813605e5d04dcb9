#include "support/xml/xml_names.h"

#include "support/xml/xml_name_table.h"

namespace velmora {

XmlName xmlNameOf(std::string_view text) noexcept {
  if (text.size() < 3) return XmlName::kOther;
  const char start[4] = {text[0], text[1], text[2], text.size() == 3 ? '>' : text[3]};
  const XmlName name = kXmlNameTable.candidateAt(start).name();
  return text == xmlNameText(name) ? name : XmlName::kOther;
}

std::string_view xmlNameText(XmlName name) noexcept {
  return kXmlNameTexts[static_cast<size_t>(name)];
}

}  // namespace velmora
