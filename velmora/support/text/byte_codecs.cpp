#include "velmora/support/text/byte_codecs.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

// What a decoding table says of a character that stands for no digit. Both are above every digit,
// and stay so when digits and marks are joined by OR.
constexpr uint8_t kSpace = 0x40;
constexpr uint8_t kNoDigit = 0x80;

using DecodeTable = std::array<uint8_t, 256>;

constexpr const char* kUpperDigits = "0123456789ABCDEF";
constexpr const char* kLowerDigits = "0123456789abcdef";
constexpr const char* kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr const char* kBase64UrlAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// Every value of twelve bits written out: base64 is copied two characters at a time.
using PairTable = std::array<char, size_t{64} * 64 * 2>;

constexpr PairTable makePairs(const char* alphabet) {
  PairTable pairs{};
  for (size_t i = 0; i < pairs.size() / 2; ++i) {
    pairs[2 * i] = alphabet[i / 64];
    pairs[2 * i + 1] = alphabet[i % 64];
  }
  return pairs;
}

constexpr DecodeTable makeDecodeTable(const char* digits, size_t radix) {
  DecodeTable table{};
  for (size_t c = 0; c < table.size(); ++c) {
    table[c] = isAsciiSpace(static_cast<char>(c)) ? kSpace : kNoDigit;
  }
  for (size_t i = 0; i < radix; ++i) {
    table[static_cast<unsigned char>(digits[i])] = static_cast<uint8_t>(i);
  }
  return table;
}

constexpr DecodeTable makeHexDecodeTable() {
  DecodeTable table = makeDecodeTable(kUpperDigits, 16);
  for (size_t i = 10; i < 16; ++i) {
    table[static_cast<unsigned char>(kLowerDigits[i])] = static_cast<uint8_t>(i);
  }
  return table;
}

constexpr PairTable kBase64Pairs = makePairs(kBase64Alphabet);
constexpr PairTable kBase64UrlPairs = makePairs(kBase64UrlAlphabet);
constexpr DecodeTable kHexValues = makeHexDecodeTable();
constexpr DecodeTable kBase64Values = makeDecodeTable(kBase64Alphabet, 64);
constexpr DecodeTable kBase64UrlValues = makeDecodeTable(kBase64UrlAlphabet, 64);

template <char Ten>
constexpr char hexDigit(int nibble) noexcept {
  return static_cast<char>(nibble + (nibble < 10 ? '0' : Ten - 10));
}

// Arithmetic instead of a table, so that the compiler can work on many bytes at once.
template <char Ten>
void hexEncode(const unsigned char* bytes, size_t count, char* out) noexcept {
  for (size_t i = 0; i < count; ++i) {
    out[2 * i] = hexDigit<Ten>(bytes[i] >> 4);
    out[2 * i + 1] = hexDigit<Ten>(bytes[i] & 0xF);
  }
}

// Encodes whole groups of three bytes and the one or two bytes left; no padding. Gives the end of
// what it wrote.
char* base64EncodeUnpadded(const unsigned char* bytes, size_t count, const PairTable& pairs,
                           char* out) noexcept {
  const unsigned char* const lastGroup = bytes + count / 3 * 3;
  for (; bytes != lastGroup; bytes += 3, out += 4) {
    const uint32_t bits = uint32_t{bytes[0]} << 16 | uint32_t{bytes[1]} << 8 | bytes[2];
    std::memcpy(out, &pairs[(bits >> 12) * 2], 2);
    std::memcpy(out + 2, &pairs[(bits & 0xFFF) * 2], 2);
  }
  const size_t left = count % 3;
  if (left == 0) return out;
  const uint32_t bits = uint32_t{bytes[0]} << 16 | (left == 2 ? uint32_t{bytes[1]} << 8 : 0);
  std::memcpy(out, &pairs[(bits >> 12) * 2], 2);
  if (left == 2) out[2] = pairs[(bits & 0xFFF) * 2];
  return out + left + 1;
}

using ByteLanes = uint8_t __attribute__((vector_size(16)));
using PairLanes = uint16_t __attribute__((vector_size(16)));
using QuadLanes = uint32_t __attribute__((vector_size(16)));
using HalfLanes = uint8_t __attribute__((vector_size(8)));

constexpr size_t kHexBlock = sizeof(ByteLanes);

// A block of hexadecimal digits, each in a lane of its own; false when one of them is no digit. For
// machines that keep the first of two bytes in the lower half of a word.
bool hexDecodeBlock(const unsigned char* digits, unsigned char* out) noexcept {
  ByteLanes text;
  std::memcpy(&text, digits, sizeof text);
  const ByteLanes decimal = text - uint8_t{'0'};
  const ByteLanes letter = (text | uint8_t{0x20}) - uint8_t{'a'};
  const auto isDecimal = reinterpret_cast<ByteLanes>(decimal < uint8_t{10});
  const auto isLetter = reinterpret_cast<ByteLanes>(letter < uint8_t{6});
  const ByteLanes isDigit = isDecimal | isLetter;
  uint64_t halves[2];
  std::memcpy(halves, &isDigit, sizeof halves);
  if ((halves[0] & halves[1]) != UINT64_MAX) return false;
  const ByteLanes values = (isDecimal & decimal) | (isLetter & (letter + uint8_t{10}));
  const auto pairs = reinterpret_cast<PairLanes>(values);
  const PairLanes joined = (pairs << 4 | pairs >> 8) & uint16_t{0xFF};
  const auto bytes = __builtin_convertvector(joined, HalfLanes);
  std::memcpy(out, &bytes, sizeof bytes);
  return true;
}

constexpr size_t kBase64Block = sizeof(ByteLanes);

// The last two digits of an alphabet, which are all that sets the two apart.
struct LastDigits {
  uint8_t digit62;
  uint8_t digit63;
};
constexpr LastDigits kBase64Last = {'+', '/'};
constexpr LastDigits kBase64UrlLast = {'-', '_'};

bool areAllSet(const ByteLanes& lanes) noexcept {
  uint64_t halves[2];
  std::memcpy(halves, &lanes, sizeof halves);
  return (halves[0] & halves[1]) == UINT64_MAX;
}

// A block of base64 digits, each in a lane of its own, as their values; false when one of them is
// no digit.
bool base64Values(const unsigned char* digits, LastDigits last, ByteLanes& values) noexcept {
  ByteLanes text;
  std::memcpy(&text, digits, sizeof text);
  const ByteLanes upper = text - uint8_t{'A'};
  const ByteLanes lower = text - uint8_t{'a'};
  const ByteLanes decimal = text - uint8_t{'0'};
  const auto isUpper = reinterpret_cast<ByteLanes>(upper < uint8_t{26});
  const auto isLower = reinterpret_cast<ByteLanes>(lower < uint8_t{26});
  const auto isDecimal = reinterpret_cast<ByteLanes>(decimal < uint8_t{10});
  const auto is62 = reinterpret_cast<ByteLanes>(text == last.digit62);
  const auto is63 = reinterpret_cast<ByteLanes>(text == last.digit63);
  values = (isUpper & upper) | (isLower & (lower + uint8_t{26})) |
           (isDecimal & (decimal + uint8_t{52})) | (is62 & uint8_t{62}) | (is63 & uint8_t{63});
  return areAllSet(isUpper | isLower | isDecimal | is62 | is63);
}

// Decodes such a block to 12 bytes and writes one more, for machines as above.
bool base64DecodeBlock(const unsigned char* digits, LastDigits last, unsigned char* out) noexcept {
  ByteLanes values;
  if (!base64Values(digits, last, values)) return false;
  const auto pairs = reinterpret_cast<PairLanes>(values);
  const auto joined = reinterpret_cast<QuadLanes>((pairs & uint16_t{0xFF}) << 6 | pairs >> 8);
  const QuadLanes groups = (joined & uint32_t{0xFFFF}) << 20 | joined >> 16 << 8;
  for (size_t i = 0; i < kBase64Block / 4; ++i) {
    const uint32_t bigEndian = __builtin_bswap32(groups[i]);
    std::memcpy(out + 3 * i, &bigEndian, sizeof bigEndian);
  }
  return true;
}

// Reads a text digit by digit, over white space.
class DigitReader {
 public:
  DigitReader(std::string_view text, const DecodeTable& values) noexcept
      : m_at(reinterpret_cast<const unsigned char*>(text.data())),
        m_end(m_at + text.size()),
        m_values(values) {}

  // The next `Count` characters when all of them are digits, without a look at white space.
  template <size_t Count, unsigned Bits>
  bool nextClean(uint32_t& value) noexcept {
    if (static_cast<size_t>(m_end - m_at) < Count) return false;
    uint32_t joined = 0;
    uint32_t bits = 0;
    for (size_t i = 0; i < Count; ++i) {
      const uint32_t digit = m_values[m_at[i]];
      joined |= digit;
      bits = bits << Bits | digit;
    }
    if (joined >= 1U << Bits) return false;
    m_at += Count;
    value = bits;
    return true;
  }

  // As above for a block of hexadecimal digits, decoded to `out`.
  bool nextHexBlock(unsigned char* out) noexcept {
    if (std::endian::native != std::endian::little) return false;
    if (static_cast<size_t>(m_end - m_at) < kHexBlock || !hexDecodeBlock(m_at, out)) return false;
    m_at += kHexBlock;
    return true;
  }

  // Likewise for base64, of which more than a block has to be left.
  bool nextBase64Block(LastDigits last, unsigned char* out) noexcept {
    if (std::endian::native != std::endian::little) return false;
    if (static_cast<size_t>(m_end - m_at) <= kBase64Block) return false;
    if (!base64DecodeBlock(m_at, last, out)) return false;
    m_at += kBase64Block;
    return true;
  }

  // The next up to `count` digits; gives how many came before the end or a character that is none.
  template <unsigned Bits>
  size_t next(size_t count, uint32_t& value) noexcept {
    size_t read = 0;
    for (value = 0; read < count && m_at != m_end; ++m_at) {
      const uint8_t digit = m_values[*m_at];
      if (digit == kNoDigit) break;
      if (digit == kSpace) continue;
      value = value << Bits | digit;
      ++read;
    }
    return read;
  }

  // Passes over white space and then over `c`, when it is there.
  bool skip(char c) noexcept {
    skipSpace();
    if (m_at == m_end || *m_at != static_cast<unsigned char>(c)) return false;
    ++m_at;
    return true;
  }

  bool atEnd() noexcept {
    skipSpace();
    return m_at == m_end;
  }

 private:
  void skipSpace() noexcept {
    while (m_at != m_end && m_values[*m_at] == kSpace) ++m_at;
  }

  const unsigned char* m_at;
  const unsigned char* m_end;
  const DecodeTable& m_values;
};

void storeBase64Group(uint32_t bits, size_t count, unsigned char* out) noexcept {
  out[0] = static_cast<unsigned char>(bits >> 16);
  if (count > 1) out[1] = static_cast<unsigned char>(bits >> 8);
  if (count > 2) out[2] = static_cast<unsigned char>(bits);
}

// What may stand after the last `digits` digits (fewer than four) of a base64 text: padding that
// fills the group, or a part of it, and white space.
bool endsWell(size_t digits, DigitReader& reader) noexcept {
  if (digits == 1) return false;
  size_t padding = digits == 0 ? 0 : 4 - digits;
  while (padding > 0 && reader.skip('=')) --padding;
  return reader.atEnd();
}

}  // namespace

void hexEncodeUpper(const unsigned char* bytes, size_t count, char* out) noexcept {
  hexEncode<'A'>(bytes, count, out);
}

void hexEncodeLower(const unsigned char* bytes, size_t count, char* out) noexcept {
  hexEncode<'a'>(bytes, count, out);
}

void base64Encode(const unsigned char* bytes, size_t count, char* out) noexcept {
  char* end = base64EncodeUnpadded(bytes, count, kBase64Pairs, out);
  for (size_t padding = (3 - count % 3) % 3; padding > 0; --padding) *end++ = '=';
}

size_t base64UrlEncode(const unsigned char* bytes, size_t count, char* out) noexcept {
  return static_cast<size_t>(base64EncodeUnpadded(bytes, count, kBase64UrlPairs, out) - out);
}

DecodeResult hexDecode(std::string_view text, unsigned char* out) noexcept {
  DigitReader reader(text, kHexValues);
  unsigned char* to = out;
  for (;;) {
    uint32_t value = 0;
    while (reader.nextHexBlock(to)) to += kHexBlock / 2;
    while (reader.nextClean<2, 4>(value)) *to++ = static_cast<unsigned char>(value);
    const size_t digits = reader.next<4>(2, value);
    if (digits < 2) return {static_cast<size_t>(to - out), digits == 0 && reader.atEnd()};
    *to++ = static_cast<unsigned char>(value);
  }
}

size_t base64DecodeGroups(std::string_view text, unsigned char* out) noexcept {
  DigitReader reader(text, kBase64Values);
  size_t groups = 0;
  while (reader.nextBase64Block(kBase64Last, out + 3 * groups)) groups += kBase64Block / 4;
  uint32_t bits = 0;
  for (; reader.nextClean<4, 6>(bits); ++groups) storeBase64Group(bits, 3, out + 3 * groups);
  return groups;
}

DecodeResult base64Decode(std::string_view text, bool url, unsigned char* out) noexcept {
  const LastDigits last = url ? kBase64UrlLast : kBase64Last;
  DigitReader reader(text, url ? kBase64UrlValues : kBase64Values);
  unsigned char* to = out;
  for (;;) {
    uint32_t bits = 0;
    for (; reader.nextBase64Block(last, to); to += kBase64Block / 4 * 3) {
    }
    for (; reader.nextClean<4, 6>(bits); to += 3) storeBase64Group(bits, 3, to);
    const size_t digits = reader.next<6>(4, bits);
    if (digits == 4) {
      storeBase64Group(bits, 3, to);
      to += 3;
      continue;
    }
    if (digits > 1) {
      storeBase64Group(bits << 6 * (4 - digits), digits - 1, to);
      to += digits - 1;
    }
    return {static_cast<size_t>(to - out), endsWell(digits, reader)};
  }
}

}  // namespace velmora
