#include "velmora/support/text/unicode.h"

#include <algorithm>
#include <iterator>

namespace velmora {
namespace {

// Windows-1252 from 0x80 to 0x9F; everywhere else its bytes are the code points themselves.
constexpr char32_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// What a lead byte asks for: the bytes after it and the range of the first of them, which is what
// shuts out overlong forms, surrogates and code points above U+10FFFF (RFC 3629 §4).
struct LeadByte {
  int following;
  unsigned char low;
  unsigned char high;
};

constexpr LeadByte leadByte(unsigned char lead) noexcept {
  if (lead < 0xC2 || lead > 0xF4) return {0, 0, 0};
  if (lead < 0xE0) return {1, 0x80, 0xBF};
  if (lead == 0xE0) return {2, 0xA0, 0xBF};
  if (lead == 0xED) return {2, 0x80, 0x9F};
  if (lead < 0xF0) return {2, 0x80, 0xBF};
  if (lead == 0xF0) return {3, 0x90, 0xBF};
  return {3, 0x80, static_cast<unsigned char>(lead == 0xF4 ? 0x8F : 0xBF)};
}

char32_t readUnit(const unsigned char* at, bool bigEndian) noexcept {
  return bigEndian ? static_cast<char32_t>(at[0] << 8 | at[1])
                   : static_cast<char32_t>(at[1] << 8 | at[0]);
}

void writeUnit(char32_t unit, bool bigEndian, unsigned char* out) noexcept {
  out[bigEndian ? 0 : 1] = static_cast<unsigned char>(unit >> 8);
  out[bigEndian ? 1 : 0] = static_cast<unsigned char>(unit);
}

constexpr bool isHighSurrogate(char32_t unit) noexcept {
  return (unit & 0xFC00) == 0xD800;
}
constexpr bool isLowSurrogate(char32_t unit) noexcept {
  return (unit & 0xFC00) == 0xDC00;
}

constexpr unsigned char continuation(char32_t bits) noexcept {
  return static_cast<unsigned char>(0x80 | (bits & 0x3F));
}

}  // namespace

char32_t readUtf8(const unsigned char*& at, const unsigned char* end) noexcept {
  const unsigned char first = *at++;
  if (first < 0x80) return first;
  const LeadByte lead = leadByte(first);
  if (lead.following == 0) return kInvalidSequence;
  unsigned char low = lead.low;
  unsigned char high = lead.high;
  char32_t c = first & (0x3FU >> lead.following);
  for (int i = 0; i < lead.following; ++i, low = 0x80, high = 0xBF) {
    if (at == end || *at < low || *at > high) return kInvalidSequence;
    c = c << 6 | (*at++ & 0x3FU);
  }
  return c;
}

char32_t readUtf16(const unsigned char*& at, const unsigned char* end, bool bigEndian) noexcept {
  if (end - at < 2) {
    at = end;
    return kInvalidSequence;
  }
  const char32_t unit = readUnit(at, bigEndian);
  at += 2;
  if (isScalarValue(unit)) return unit;
  if (!isHighSurrogate(unit) || end - at < 2) return kInvalidSequence;
  const char32_t second = readUnit(at, bigEndian);
  if (!isLowSurrogate(second)) return kInvalidSequence;
  at += 2;
  return 0x10000 + ((unit & 0x3FF) << 10 | (second & 0x3FF));
}

size_t writeUtf8(char32_t c, unsigned char (&out)[4]) noexcept {
  if (c < 0x80) {
    out[0] = static_cast<unsigned char>(c);
    return 1;
  }
  if (c < 0x800) {
    out[0] = static_cast<unsigned char>(0xC0 | c >> 6);
    out[1] = continuation(c);
    return 2;
  }
  if (c < 0x10000) {
    out[0] = static_cast<unsigned char>(0xE0 | c >> 12);
    out[1] = continuation(c >> 6);
    out[2] = continuation(c);
    return 3;
  }
  out[0] = static_cast<unsigned char>(0xF0 | c >> 18);
  out[1] = continuation(c >> 12);
  out[2] = continuation(c >> 6);
  out[3] = continuation(c);
  return 4;
}

size_t writeUtf16(char32_t c, bool bigEndian, unsigned char (&out)[4]) noexcept {
  if (c < 0x10000) {
    writeUnit(c, bigEndian, out);
    return 2;
  }
  writeUnit(0xD800 + ((c - 0x10000) >> 10), bigEndian, out);
  writeUnit(0xDC00 + ((c - 0x10000) & 0x3FF), bigEndian, out + 2);
  return 4;
}

char32_t windows1252ToUnicode(unsigned char byte) noexcept {
  return byte >= 0x80 && byte < 0xA0 ? kWindows1252High[byte - 0x80] : byte;
}

bool unicodeToWindows1252(char32_t c, unsigned char& byte) noexcept {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
    byte = static_cast<unsigned char>(c);
    return true;
  }
  const auto* found = std::find(std::begin(kWindows1252High), std::end(kWindows1252High), c);
  if (found == std::end(kWindows1252High)) return false;
  byte = static_cast<unsigned char>(0x80 + (found - kWindows1252High));
  return true;
}

}  // namespace velmora
