#include "velmora/support/xml/xml_names.h"

#include "velmora/support/text/same_text.h"
#include "velmora/support/xml/internal/xml_name_table.h"

namespace velmora {

XmlName xmlNameOf(std::string_view text) noexcept {
  if (text.size() < 3) return XmlName::kOther;
  const uint32_t start = text.size() > 3
                             ? loadLittleEndian<uint32_t>(text.data())
                             : static_cast<uint32_t>(xmlNameWords(text).low) | '>' << 24;
  const XmlName name = kXmlNameTable.candidate(start).name();
  return sameText(text, xmlNameText(name)) ? name : XmlName::kOther;
}

}  // namespace velmora
