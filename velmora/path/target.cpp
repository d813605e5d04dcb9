#include "velmora/path/target.h"

#include <algorithm>
#include <new>

#include "velmora/certificate/certificate.h"
#include "velmora/path/internal/host_names.h"
#include "velmora/support/asn1/asn1_element.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

// The identifiers of general names: context-specific and primitive.
constexpr uint32_t kEmailIdentifier = asn1_identifier::kContext | 1,
                   kDnsIdentifier = asn1_identifier::kContext | 2,
                   kIpIdentifier = asn1_identifier::kContext | 7;

constexpr Error notAHost(size_t at) noexcept {
  return Error::at(ErrorCode::notAHost, at);
}

// The first octet beyond ASCII.
std::optional<Error> asciiFault(std::string_view text) noexcept {
  const auto isBeyond = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
  const auto at = std::find_if(text.begin(), text.end(), isBeyond);
  if (at == text.end()) return std::nullopt;
  return Error::at(ErrorCode::hostNotAscii, static_cast<size_t>(at - text.begin()));
}

std::optional<Error> dnsFault(std::string_view name) noexcept {
  if (const auto fault = asciiFault(name)) return fault;
  if (const auto fault = dnsNameFault(name)) return notAHost(*fault);
  if (hasNumericLastLabel(name)) return notAHost(name.rfind('.') + 1);
  return std::nullopt;
}

std::string_view withoutLastDot(std::string_view name) noexcept {
  const bool hasDot = name.size() > 1 && name.ends_with('.');
  return hasDot ? name.substr(0, name.size() - 1) : name;
}

std::string inSmallLetters(std::string_view text) {
  std::string small(text);
  std::transform(small.begin(), small.end(), small.begin(), asciiLower);
  return small;
}

std::string_view charactersOf(Bytes octets) noexcept {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

// The address of IPv6 may stand in brackets, as in a URI.
Result<IpAddress> readAddress(std::string_view text) noexcept {
  if (text.find(':') == std::string_view::npos) return readIpv4(text);
  if (!text.starts_with('[')) return readIpv6(text);
  if (!text.ends_with(']')) return notAHost(text.size());
  const Result<IpAddress> address = readIpv6(text.substr(1, text.size() - 2));
  return address ? address : notAHost(address.error().offset + size_t{1});
}

}  // namespace

Target Target::notJudged() noexcept {
  return Target(Kind::notJudged);
}

Target Target::addressTarget(const IpAddress& address) {
  return Target(Kind::ip, address.text(), address);
}

Target Target::dnsTarget(std::string_view name) {
  return Target(Kind::dns, inSmallLetters(name));
}

Result<Target> Target::host(std::string_view text) noexcept {
  const bool isIpv6 = text.starts_with('[') || std::count(text.begin(), text.end(), ':') > 1;
  const bool isAddress = isIpv6 || hasNumericLastLabel(withoutLastDot(text));
  return isAddress ? ipAddress(text) : dnsName(text);
}

Result<Target> Target::dnsName(std::string_view text) noexcept try {
  const std::string_view name = withoutLastDot(text);
  if (const auto fault = dnsFault(name)) return *fault;
  return dnsTarget(name);
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

Result<Target> Target::ipAddress(std::string_view text) noexcept try {
  if (const auto fault = asciiFault(text)) return *fault;
  const Result<IpAddress> address = readAddress(text);
  if (!address) return address.error();
  return addressTarget(*address);
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

Result<Target> Target::email(std::string_view text) noexcept try {
  if (const auto fault = asciiFault(text)) return *fault;
  const size_t at = text.rfind('@');
  if (at == std::string_view::npos) return notAHost(text.size());
  if (!localPartOf(text.substr(0, at), false)) return notAHost(0);
  const std::string_view domain = text.substr(at + 1);
  if (const auto fault = dnsFault(domain)) {
    return Error::at(fault->code, at + 1 + fault->offset);
  }
  return Target(Kind::email, std::string(text.substr(0, at + 1)) + inSmallLetters(domain));
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

// The target is a name to the letter, and so is what equals it.
bool Target::isDnsName(std::string_view name) const noexcept {
  if (!name.starts_with("*.")) return equalsIgnoringAsciiCase(name, m_text);
  const std::string_view behind = name.substr(2);
  const size_t dot = m_text.find('.');
  return dot != std::string::npos && behind.find('.') != std::string_view::npos &&
         equalsIgnoringAsciiCase(behind, std::string_view(m_text).substr(dot + 1));
}

bool Target::isMailbox(std::string_view name) const noexcept {
  const size_t domain = m_text.rfind('@') + 1;
  return name.size() == m_text.size() &&
         name.starts_with(std::string_view(m_text).substr(0, domain)) &&
         equalsIgnoringAsciiCase(name.substr(domain), std::string_view(m_text).substr(domain));
}

bool Target::isAddress(Bytes octets) const noexcept {
  const Bytes own = Bytes(m_address.octets).first(m_address.size);
  return std::equal(own.begin(), own.end(), octets.begin(), octets.end());
}

Result<bool> Target::matches(const Certificate& certificate) const noexcept {
  if (!isJudged()) return false;
  Result<GeneralNameCursor> names = certificate.subjectAltNameCursor();
  if (!names) return names.error().isAbsent() ? Result<bool>(false) : names.error();
  PlacedName name;
  while (names->next(name)) {
    const std::string_view text = charactersOf(name.content);
    const bool isTarget =
        (m_kind == Kind::dns && name.identifier == kDnsIdentifier && isDnsName(text)) ||
        (m_kind == Kind::ip && name.identifier == kIpIdentifier && isAddress(name.content)) ||
        (m_kind == Kind::email && name.identifier == kEmailIdentifier && isMailbox(text));
    if (isTarget) return true;
  }
  return false;
}

}  // namespace velmora
