#include "velmora/support/asn1/oids.h"

#include <array>
#include <charconv>
#include <cstdint>

namespace velmora {
namespace {

constexpr unsigned kSeptetBits = 7;
constexpr unsigned char kMoreFollows = 0x80;

// The first two arcs X and Y share one subidentifier, 40 * X + Y (X.690 §8.19.4); X is 2 for
// everything from 80 on.
constexpr uint64_t kArcsPerRoot = 40;
constexpr uint64_t kLastRootStart = 2 * kArcsPerRoot;

// Subidentifiers of up to nine octets, and decimal texts of up to 18 digits, fit in 64 bits with
// room for kLastRootStart.
constexpr size_t kSmallOctets = 9;
constexpr size_t kSmallDigits = 18;

char* writeNumber(uint64_t value, char* out) noexcept {
  constexpr size_t kMostDigits = 20;
  if (value < 10) {
    *out = static_cast<char>('0' + value);
    return out + 1;
  }
  if (value < 100) {
    const auto small = static_cast<uint32_t>(value);
    out[0] = static_cast<char>('0' + small / 10);
    out[1] = static_cast<char>('0' + small % 10);
    return out + 2;
  }
  return std::to_chars(out, out + kMostDigits, value).ptr;
}

// A number with no bound but kMaxOidArcOctets, as digits in base `Base`, the lowest first.
template <uint64_t Base, size_t Capacity>
class LongNumber {
 public:
  // number = number * factor + addend, both at most 2^30; the caller keeps within the capacity.
  void multiplyAdd(uint64_t factor, uint64_t addend) noexcept {
    for (size_t i = 0; i < m_count; ++i) {
      const uint64_t sum = m_digits[i] * factor + addend;
      m_digits[i] = static_cast<uint32_t>(sum % Base);
      addend = sum / Base;
    }
    for (; addend != 0; addend /= Base) m_digits[m_count++] = static_cast<uint32_t>(addend % Base);
  }

  // The number is at least `amount`, which is below the base.
  void subtract(uint32_t amount) noexcept {
    uint64_t borrow = amount;
    for (size_t i = 0; borrow != 0; ++i) {
      const bool below = m_digits[i] < borrow;
      m_digits[i] = static_cast<uint32_t>(m_digits[i] + (below ? Base : 0) - borrow);
      borrow = below ? 1 : 0;
    }
    while (m_count != 0 && m_digits[m_count - 1] == 0) --m_count;
  }

  size_t count() const noexcept { return m_count; }
  uint32_t digit(size_t i) const noexcept { return m_digits[i]; }

 private:
  std::array<uint32_t, Capacity> m_digits;
  size_t m_count = 0;
};

// Septets are read four at a time, decimal digits nine at a time.
constexpr size_t kSeptetsPerGroup = 4;
constexpr uint64_t kSeptetGroup = uint64_t{1} << (kSeptetBits * kSeptetsPerGroup);
constexpr size_t kDigitsPerGroup = 9;
constexpr uint64_t kDigitGroup = 1'000'000'000;

// log10(2) is a little less than 0.30103.
constexpr size_t kMaxArcDigits = kMaxOidArcOctets * kSeptetBits * 30103 / 100000 + 1;

using LongDecimal = LongNumber<kDigitGroup, kMaxArcDigits / kDigitsPerGroup + 2>;
using LongBinary = LongNumber<kSeptetGroup, kMaxOidArcOctets / kSeptetsPerGroup + 2>;

char* writeLongSubidentifier(std::span<const unsigned char> octets, bool first,
                             char* out) noexcept {
  LongDecimal number;
  while (!octets.empty()) {
    const size_t septets = (octets.size() - 1) % kSeptetsPerGroup + 1;
    uint64_t group = 0;
    for (const unsigned char octet : octets.first(septets)) group = group << 7 | (octet & 0x7F);
    number.multiplyAdd(uint64_t{1} << (kSeptetBits * septets), group);
    octets = octets.subspan(septets);
  }
  if (first) {
    *out++ = '2';
    *out++ = '.';
    number.subtract(kLastRootStart);
  }
  size_t i = number.count() - 1;
  out = writeNumber(number.digit(i), out);
  while (i-- > 0) {
    uint32_t group = number.digit(i);
    for (size_t place = kDigitsPerGroup; place-- > 0; group /= 10) {
      out[place] = static_cast<char>('0' + group % 10);
    }
    out += kDigitsPerGroup;
  }
  return out;
}

char* writeFirstArcs(uint64_t value, char* out) noexcept {
  const uint64_t root = value < kLastRootStart ? value / kArcsPerRoot : 2;
  *out++ = static_cast<char>('0' + root);
  *out++ = '.';
  return writeNumber(value - root * kArcsPerRoot, out);
}

// The octets of the subidentifier that `content`, whose last octet ends one, starts with; none when
// it is padded or too long.
std::span<const unsigned char> firstSubidentifier(std::span<const unsigned char> content) noexcept {
  if (content[0] == kMoreFollows) return {};
  size_t size = 1;
  while ((content[size - 1] & kMoreFollows) != 0) ++size;
  return content.first(size <= kMaxOidArcOctets ? size : 0);
}

char* writeSubidentifier(std::span<const unsigned char> octets, bool first, char* out) noexcept {
  if (octets.size() > kSmallOctets) return writeLongSubidentifier(octets, first, out);
  uint64_t value = 0;
  for (const unsigned char octet : octets) value = value << kSeptetBits | (octet & 0x7F);
  return first ? writeFirstArcs(value, out) : writeNumber(value, out);
}

// The text has few enough digits.
uint64_t decimalValue(std::string_view digits) noexcept {
  uint64_t value = 0;
  for (const char c : digits) value = value * 10 + static_cast<uint64_t>(c - '0');
  return value;
}

size_t septetCount(uint64_t value) noexcept {
  size_t count = 1;
  while ((value >>= kSeptetBits) != 0) ++count;
  return count;
}

// Writes `count` septets of a value; all of them with the mark that more follow.
unsigned char* writeSeptets(uint64_t value, size_t count, unsigned char* out) noexcept {
  while (count-- > 0) {
    *out++ = static_cast<unsigned char>(kMoreFollows | (value >> (kSeptetBits * count) & 0x7F));
  }
  return out;
}

// Null when the number takes too many octets.
unsigned char* encodeLongArc(std::string_view digits, uint32_t added, unsigned char* out) noexcept {
  if (digits.size() > kMaxArcDigits) return nullptr;
  LongBinary number;
  uint64_t factor = kDigitGroup;
  while (!digits.empty()) {
    const size_t size = (digits.size() - 1) % kDigitsPerGroup + 1;
    number.multiplyAdd(factor, decimalValue(digits.substr(0, size)));
    digits.remove_prefix(size);
  }
  number.multiplyAdd(1, added);
  const size_t highest = number.count() - 1;
  const size_t leading = septetCount(number.digit(highest));
  if (leading + highest * kSeptetsPerGroup > kMaxOidArcOctets) return nullptr;
  out = writeSeptets(number.digit(highest), leading, out);
  for (size_t i = highest; i-- > 0;) out = writeSeptets(number.digit(i), kSeptetsPerGroup, out);
  return out;
}

// Writes the arc plus `added` as a subidentifier; null when it takes too many octets.
unsigned char* encodeArc(std::string_view digits, uint32_t added, unsigned char* out) noexcept {
  unsigned char* end;
  if (digits.size() > kSmallDigits) {
    end = encodeLongArc(digits, added, out);
    if (end == nullptr) return nullptr;
  } else {
    const uint64_t value = decimalValue(digits) + added;
    end = writeSeptets(value, septetCount(value), out);
  }
  end[-1] = static_cast<unsigned char>(end[-1] & ~kMoreFollows);
  return end;
}

// Takes the next arc and the dot behind it off the front of the text. None when no number in its
// shortest form stands there, or something else than a dot behind it.
std::string_view takeArc(std::string_view& dotted) noexcept {
  size_t size = 0;
  while (size < dotted.size() && dotted[size] >= '0' && dotted[size] <= '9') ++size;
  const bool last = size == dotted.size();
  if ((!last && dotted[size] != '.') || (size > 1 && dotted[0] == '0')) return {};
  const std::string_view arc = dotted.substr(0, size);
  dotted.remove_prefix(last ? size : size + 1);
  return arc;
}

}  // namespace

size_t writeDottedOid(std::span<const unsigned char> content, char* out) noexcept {
  if (content.empty() || (content.back() & kMoreFollows) != 0) return 0;
  char* to = out;
  for (bool first = true; !content.empty(); first = false) {
    // Most subidentifiers are of one octet.
    if (content[0] < kMoreFollows && !first) {
      *to++ = '.';
      to = writeNumber(content[0], to);
      content = content.subspan(1);
      continue;
    }
    const auto octets = firstSubidentifier(content);
    if (octets.empty()) return 0;
    if (!first) *to++ = '.';
    to = writeSubidentifier(octets, first, to);
    content = content.subspan(octets.size());
  }
  return static_cast<size_t>(to - out);
}

size_t writeOidContent(std::string_view dotted, unsigned char* out) noexcept {
  if (dotted.empty() || dotted.back() == '.') return 0;
  const std::string_view root = takeArc(dotted);
  if (root.size() != 1 || root[0] > '2' || dotted.empty()) return 0;
  auto added = static_cast<uint32_t>(kArcsPerRoot * static_cast<uint64_t>(root[0] - '0'));
  unsigned char* to = out;
  for (bool second = true; !dotted.empty(); second = false, added = 0) {
    const std::string_view arc = takeArc(dotted);
    if (arc.empty()) return 0;
    if (second && root[0] != '2' && (arc.size() > 2 || decimalValue(arc) >= kArcsPerRoot)) return 0;
    to = encodeArc(arc, added, to);
    if (to == nullptr) return 0;
  }
  return static_cast<size_t>(to - out);
}

bool oidToDotted(std::span<const unsigned char> content, StringBuffer& out) noexcept {
  const size_t before = out.getSize();
  char* const room = out.extend(maxDottedSize(content.size()));
  if (room == nullptr) return false;
  const size_t written = writeDottedOid(content, room);
  out.truncate(before + written);
  return written != 0;
}

bool dottedToOid(std::string_view dotted, DataBuffer& out) noexcept {
  const size_t before = out.size();
  unsigned char* const room = out.extend(dotted.size());
  if (room == nullptr) return false;
  const size_t written = writeOidContent(dotted, room);
  out.truncate(before + written);
  return written != 0;
}

}  // namespace velmora
