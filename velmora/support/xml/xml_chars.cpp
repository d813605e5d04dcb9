#include "velmora/support/xml/xml_chars.h"

#include <algorithm>

#include "velmora/support/text/encoding_convert.h"

namespace velmora {

bool isXmlName(std::string_view name) noexcept {
  return !name.empty() && name.size() <= kMaxXmlNameSize && xmlByteIs(name[0], kXmlNameStart) &&
         std::all_of(name.begin(), name.end(), [](char c) { return xmlByteIs(c, kXmlNameByte); }) &&
         isValidUtf8(name);
}

bool isXmlWhite(std::string_view text) noexcept {
  return std::all_of(text.begin(), text.end(), [](char c) { return xmlByteIs(c, kXmlWhite); });
}

}  // namespace velmora
