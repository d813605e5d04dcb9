#include "support/xml/xml_chars.h"

#include <algorithm>

#include "support/text/unicode.h"

namespace velmora {

bool isXmlName(std::string_view name) noexcept {
  return !name.empty() && name.size() <= kMaxXmlNameSize && xmlByteIs(name[0], kXmlNameStart) &&
         std::all_of(name.begin(), name.end(), [](char c) { return xmlByteIs(c, kXmlNameByte); }) &&
         isUtf8(name);
}

bool isUtf8(std::string_view text) noexcept {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = at + text.size();
  while (at < end) {
    if (*at < 0x80) {
      ++at;
    } else if (readUtf8(at, end) == kInvalidSequence) {
      return false;
    }
  }
  return true;
}

bool isXmlWhite(std::string_view text) noexcept {
  return std::all_of(text.begin(), text.end(), [](char c) { return xmlByteIs(c, kXmlWhite); });
}

}  // namespace velmora
