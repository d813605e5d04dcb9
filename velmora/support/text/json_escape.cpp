#include <cstring>

#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {
namespace {

// The letter of a two-character escape, or 0 when RFC 8259 §7 has none for this character.
constexpr char shortEscape(unsigned char c) noexcept {
  switch (c) {
    case '"':
    case '\\':
      return static_cast<char>(c);
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    default:
      return 0;
  }
}

// How many characters `c` takes beyond its own one.
constexpr size_t extraLength(unsigned char c) noexcept {
  if (shortEscape(c) != 0) return 1;
  return c < 0x20 ? 5 : 0;
}

// Writes the escaped form of `c` so that it ends before `end`; gives where it begins.
unsigned char* writeBackwards(unsigned char c, unsigned char* end) noexcept {
  unsigned char* const begin = end - 1 - extraLength(c);
  if (begin + 1 == end) {
    *begin = c;
  } else if (const char letter = shortEscape(c); letter != 0) {
    begin[0] = '\\';
    begin[1] = static_cast<unsigned char>(letter);
  } else {
    std::memcpy(begin, "\\u00", 4);  // NOLINT(bugprone-not-null-terminated-result): digits follow
    hexEncodeLower(&c, 1, reinterpret_cast<char*>(begin) + 4);
  }
  return begin;
}

}  // namespace

bool StringBuffer::jsonEscape() noexcept {
  size_t extra = 0;
  for (const char c : view()) extra += extraLength(static_cast<unsigned char>(c));
  if (extra == 0) return !failed();
  const size_t oldSize = getSize();
  if (m_text.extend(extra) == nullptr) return false;
  // From the end, so that nothing is overwritten before it was read.
  unsigned char* const text = m_text.data();
  unsigned char* end = text + getSize();
  for (size_t i = oldSize; i-- > 0;) end = writeBackwards(text[i], end);
  return true;
}

}  // namespace velmora
