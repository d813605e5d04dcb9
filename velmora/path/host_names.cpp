#include "velmora/path/internal/host_names.h"

#include <algorithm>
#include <array>

#include "velmora/support/core/words.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

constexpr size_t kMostLabel = 63, kMostName = 253;  // RFC 1035 §2.3.4, without the root's octet

constexpr bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}
constexpr bool isLetter(char c) noexcept {
  return asciiLower(c) >= 'a' && asciiLower(c) <= 'z';
}
constexpr bool isHostCharacter(char c) noexcept {
  return isLetter(c) || isDigit(c) || c == '-' || c == '_';
}

// RFC 5322 §3.2.3, with the dots between.
constexpr bool isDotString(char c) noexcept {
  return isLetter(c) || isDigit(c) ||
         std::string_view("!#$%&'*+-/=?^_`{|}~.").find(c) != std::string_view::npos;
}
constexpr bool isPrintableAscii(char c) noexcept {
  return c >= ' ' && c <= '~';
}
constexpr bool isBeyondAscii(char c) noexcept {
  return static_cast<unsigned char>(c) >= 0x80;
}

constexpr Error notAHost(size_t at) noexcept {
  return Error::at(ErrorCode::notAHost, at);
}

// What stands between the quotes, without the backslashes that escape.
std::optional<std::string> unquoted(std::string_view text, bool allowsUtf8) {
  std::string meant;
  for (size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] == '"') return std::nullopt;
    if (text[i] == '\\' && ++i + 1 == text.size()) return std::nullopt;
    const bool may = isPrintableAscii(text[i]) || (allowsUtf8 && isBeyondAscii(text[i]));
    if (!may) return std::nullopt;
    meant += text[i];
  }
  return text.size() > 1 && text.back() == '"' ? std::optional(meant) : std::nullopt;
}

constexpr int hexDigit(char c) noexcept {
  if (isDigit(c)) return c - '0';
  c = asciiLower(c);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

constexpr size_t kGroups = 8;

// The groups of an IPv6 address as they are read, and where "::" stood among them.
struct Ipv6Groups {
  std::array<uint16_t, kGroups> groups{};
  size_t count = 0;
  std::optional<size_t> gap = {};

  bool isWhole() const noexcept { return gap ? count < kGroups : count == kGroups; }

  IpAddress address() const noexcept {
    IpAddress address;
    address.size = 16;
    for (size_t i = 0; i < count; ++i) {
      const size_t group = gap && i >= *gap ? kGroups - count + i : i;
      address.octets[2 * group] = static_cast<std::byte>(groups[i] >> 8);
      address.octets[2 * group + 1] = static_cast<std::byte>(groups[i]);
    }
    return address;
  }
};

// Takes one group of one to four hexadecimal digits.
bool takeGroup(std::string_view text, size_t& at, Ipv6Groups& read) noexcept {
  if (read.count == kGroups) return false;
  unsigned value = 0;
  const size_t start = at;
  for (; at < text.size() && at - start < 4 && hexDigit(text[at]) >= 0; ++at) {
    value = value << 4 | static_cast<unsigned>(hexDigit(text[at]));
  }
  if (at == start) return false;
  read.groups[read.count++] = static_cast<uint16_t>(value);
  return true;
}

// Takes the dotted decimal that may stand for the last two groups; gives the offset of a fault.
std::optional<size_t> takeDotted(std::string_view text, size_t at, Ipv6Groups& read) noexcept {
  if (read.count + 2 > kGroups) return at;
  const Result<IpAddress> last = readIpv4(text.substr(at));
  if (!last) return at + last.error().offset;
  for (size_t i = 0; i < 4; i += 2) {
    read.groups[read.count++] =
        static_cast<uint16_t>(bigEndianNumber(Bytes(last->octets).subspan(i, 2)));
  }
  return std::nullopt;
}

}  // namespace

std::optional<size_t> dnsNameFault(std::string_view text) noexcept {
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] != '.') {
      if (!isHostCharacter(text[i])) return i;
      if (i - start == kMostLabel) return i;
      continue;
    }
    if (i == start) return i;
    start = i + 1;
  }
  return text.size() > kMostName ? std::optional(kMostName) : std::nullopt;
}

bool hasNumericLastLabel(std::string_view text) noexcept {
  const std::string_view last = text.substr(text.rfind('.') + 1);
  return !last.empty() && std::all_of(last.begin(), last.end(), isDigit);
}

std::string dnsKey(std::string_view name) {
  std::string key;
  key.reserve(name.size() + 1);
  while (!name.empty()) {
    const size_t start = name.rfind('.') + 1;  // npos + 1 is 0
    for (const char c : name.substr(start)) key += asciiLower(c);
    key += '.';
    name = name.substr(0, start == 0 ? 0 : start - 1);
  }
  return key;
}

std::optional<std::string> localPartOf(std::string_view text, bool allowsUtf8) {
  if (text.starts_with('"')) return unquoted(text, allowsUtf8);
  const auto may = [&](char c) { return isDotString(c) || (allowsUtf8 && isBeyondAscii(c)); };
  const bool hasEmptyAtom = text.empty() || text.starts_with('.') || text.ends_with('.') ||
                            text.find("..") != std::string_view::npos;
  if (hasEmptyAtom || !std::all_of(text.begin(), text.end(), may)) return std::nullopt;
  return std::string(text);
}

Result<IpAddress> readIpv4(std::string_view text) noexcept {
  IpAddress address;
  size_t at = 0;
  for (size_t i = 0; i < 4; ++i) {
    if (i != 0) {
      if (at == text.size() || text[at] != '.') return notAHost(at);
      ++at;
    }
    const size_t start = at;
    unsigned value = 0;
    for (; at < text.size() && at - start < 3 && isDigit(text[at]); ++at) {
      value = value * 10 + static_cast<unsigned>(text[at] - '0');
    }
    const bool isPadded = at - start > 1 && text[start] == '0';
    if (at == start || isPadded || value > 255) return notAHost(start);
    address.octets[i] = static_cast<std::byte>(value);
  }
  if (at != text.size()) return notAHost(at);
  return address;
}

Result<IpAddress> readIpv6(std::string_view text) noexcept {
  Ipv6Groups read;
  size_t at = 0;
  while (true) {
    if (text.substr(at).starts_with("::")) {
      if (read.gap) return notAHost(at);
      read.gap = read.count;
      at += 2;
      if (at == text.size()) break;
    } else if (at != 0) {
      if (at == text.size()) break;
      if (text[at++] != ':') return notAHost(at - 1);
    }
    const size_t start = at;
    const std::string_view group = text.substr(start);
    if (group.substr(0, group.find(':')).find('.') != std::string_view::npos) {
      if (const auto fault = takeDotted(text, start, read)) return notAHost(*fault);
      at = text.size();
      break;
    }
    if (!takeGroup(text, at, read)) return notAHost(at);
  }
  if (!read.isWhole()) return notAHost(at);
  return read.address();
}

}  // namespace velmora
