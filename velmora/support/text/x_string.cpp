#include "velmora/support/text/x_string.h"

#include <charconv>
#include <limits>

#include "velmora/support/text/ascii.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/unicode.h"

namespace velmora {

bool XString::appendAnsi(const char* text) noexcept {
  return appendAnsi(viewOrEmpty(text));
}

bool XString::appendAnsi(std::string_view text) noexcept {
  for (const char c : text) {
    if (!appendCodePointUtf8(windows1252ToUnicode(static_cast<unsigned char>(c)), m_utf8)) {
      return false;
    }
  }
  return !failed();
}

bool XString::appendUtf16N_xe(const unsigned char* units, unsigned int count) noexcept {
  const unsigned char* const end = units + size_t{2} * count;
  for (const unsigned char* at = units; at != end;) {
    // An invalid sequence is no scalar value either, and so becomes U+FFFD.
    if (!appendCodePointUtf8(readUtf16(at, end, vmIsBigEndian()), m_utf8)) return false;
  }
  return !failed();
}

bool XString::appendHexDataNoWS(const unsigned char* bytes, size_t count) noexcept {
  char* digits = m_utf8.extend(count * 2);
  if (digits == nullptr) return false;
  hexEncodeUpper(bytes, count, digits);
  return true;
}

int XString::intValue() const noexcept {
  std::string_view text = trimmedAscii(view());
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return 0;
  }
  int value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  return text.starts_with('-') ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

bool XString::equalsIgnoreCaseUsAscii(const XString& other) const noexcept {
  return !other.failed() && m_utf8.equalsIgnoreCase(other.view());
}

bool XString::equalsIgnoreCaseUsAscii(const char* text) const noexcept {
  return text != nullptr && m_utf8.equalsIgnoreCase(text);
}

}  // namespace velmora
