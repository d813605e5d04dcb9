#include "velmora/support/text/encoding_convert.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "velmora/support/text/unicode.h"

namespace velmora {
namespace {

enum CodePage : int {
  kUtf16LittleEndian = 1200,
  kUtf16BigEndian = 1201,
  kWindows1252 = 1252,
  kUsAscii = 20127,
  kLatin1 = 28591,
  kUtf8 = 65001,
};

constexpr bool isKnown(int codePage) noexcept {
  return codePage == kUtf8 || codePage == kUtf16LittleEndian || codePage == kUtf16BigEndian ||
         codePage == kWindows1252 || codePage == kLatin1 || codePage == kUsAscii;
}

char32_t readCharacter(int codePage, const unsigned char*& at, const unsigned char* end) noexcept {
  switch (codePage) {
    case kUtf8:
      return readUtf8(at, end);
    case kUtf16LittleEndian:
    case kUtf16BigEndian:
      return readUtf16(at, end, codePage == kUtf16BigEndian);
    case kWindows1252:
      return windows1252ToUnicode(*at++);
    case kLatin1:
      return *at++;
    default:
      return *at < 0x80 ? *at++ : (++at, kInvalidSequence);
  }
}

// Writes one byte below `limit`, a question mark for what is not.
size_t writeByteBelow(char32_t limit, char32_t c, unsigned char (&out)[4]) noexcept {
  out[0] = c < limit ? static_cast<unsigned char>(c) : '?';
  return 1;
}

size_t writeCharacter(int codePage, char32_t c, unsigned char (&out)[4]) noexcept {
  switch (codePage) {
    case kUtf8:
      return writeUtf8(c, out);
    case kUtf16LittleEndian:
    case kUtf16BigEndian:
      return writeUtf16(c, codePage == kUtf16BigEndian, out);
    case kWindows1252:
      if (!unicodeToWindows1252(c, out[0])) out[0] = '?';
      return 1;
    case kLatin1:
      return writeByteBelow(0x100, c, out);
    default:
      return writeByteBelow(0x80, c, out);
  }
}

}  // namespace

bool vmIsBigEndian() noexcept {
  return std::endian::native == std::endian::big;
}

bool appendCodePointUtf8(char32_t codePoint, StringBuffer& out) noexcept {
  unsigned char bytes[4];
  const size_t count =
      writeUtf8(isScalarValue(codePoint) ? codePoint : kReplacementCharacter, bytes);
  return out.appendN(reinterpret_cast<const char*>(bytes), count);
}

bool isValidUtf8(std::string_view text) noexcept {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = at + text.size();
  while (at != end) {
    uint64_t word = 0;
    if (end - at >= 8 && (std::memcpy(&word, at, 8), (word & 0x8080808080808080) == 0)) {
      at += 8;  // eight US-ASCII characters at once
    } else if (*at < 0x80) {
      ++at;
    } else if (readUtf8(at, end) == kInvalidSequence) {
      return false;
    }
  }
  return true;
}

bool appendLatin1AsUtf8(const unsigned char* bytes, size_t count, StringBuffer& out) noexcept {
  size_t high = 0;
  for (size_t i = 0; i < count; ++i) high += bytes[i] >> 7;
  if (high == 0) return out.appendN(reinterpret_cast<const char*>(bytes), count);
  char* to = out.extend(count + high);
  if (to == nullptr) return false;
  for (size_t i = 0; i < count; ++i) {
    unsigned char encoded[4];
    const size_t length = writeUtf8(bytes[i], encoded);
    std::memcpy(to, encoded, length);
    to += length;
  }
  return true;
}

bool EncodingConvert::EncConvert(int fromCodePage, int toCodePage, const unsigned char* data,
                                 unsigned int size, DataBuffer& out, LogBase&) noexcept {
  if (!isKnown(fromCodePage) || !isKnown(toCodePage)) return false;
  const unsigned char* const end = data + size;
  for (const unsigned char* at = data; at != end;) {
    const char32_t c = readCharacter(fromCodePage, at, end);
    unsigned char encoded[4];
    const size_t length =
        writeCharacter(toCodePage, c == kInvalidSequence ? kReplacementCharacter : c, encoded);
    if (!out.append(encoded, length)) return false;
  }
  return !out.failed();
}

}  // namespace velmora
