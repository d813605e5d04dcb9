#pragma once

// Whom a leaf has to speak for: a host or an e-mail address (RFC 9525).

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "velmora/certificate/general_name.h"
#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"

namespace velmora {

class Certificate;

/// Whom a leaf has to speak for: a host by name or address (RFC 9525), or an e-mail address. A
/// target is always judged; who judges names elsewhere says notJudged().
class VELMORA_API Target {
 public:
  /// Nothing was said, which is refused where a target is needed.
  Target() noexcept = default;

  /// The name is judged elsewhere, or there is none.
  static Target notJudged() noexcept;

  /// A DNS name or an IP address as people and URIs write them, without a port: "www.example.org",
  /// "192.0.2.17", "2001:db8::1", "[2001:db8::1]". One trailing dot is dropped; letters are ASCII,
  /// case does not count. Errors: notAHost with the offset of the character at fault, for empty
  /// labels, labels over 63 octets, names over 253, a last label of digits alone that is no IPv4
  /// address, wildcards, zones of addresses, and characters that are no letter, digit, hyphen or
  /// underscore; hostNotAscii, for a name that has to be given in A-labels ("xn--…") (RFC 9525
  /// §6.3); outOfMemory.
  static Result<Target> host(std::string_view text) noexcept;

  /// A DNS name alone, or an address alone; errors as for host().
  static Result<Target> dnsName(std::string_view text) noexcept;
  /// An IPv4 or IPv6 address alone; errors as for host().
  static Result<Target> ipAddress(std::string_view text) noexcept;

  /// An e-mail address, "local@domain" in ASCII: a dot-string without empty atoms or a quoted
  /// string (RFC 5321 §4.1.2) and a DNS name without a dot at its end. The local part is compared
  /// octet by octet, quotes and case included, the domain without case (RFC 5280 §7.5), and with
  /// rfc822Name alone: the internationalised addresses of RFC 9598 have a local part beyond ASCII.
  /// Errors notAHost, hostNotAscii, outOfMemory as of host().
  static Result<Target> email(std::string_view text) noexcept;

  /// Whether a caller has said what the target is, or that there is none to judge.
  bool isSaid() const noexcept { return m_kind != Kind::unsaid; }
  /// Whether there is a name or address that a leaf has to have.
  bool isJudged() const noexcept { return m_kind > Kind::notJudged; }
  /// Whether that is a DNS name or an IP address.
  bool isHost() const noexcept { return m_kind == Kind::dns || m_kind == Kind::ip; }
  /// Whether it is an e-mail address.
  bool isEmail() const noexcept { return m_kind == Kind::email; }

  /// As it is compared: a name in small letters, without a trailing dot, an address as
  /// IpAddress::text() writes it; empty where nothing is judged.
  const std::string& text() const& noexcept { return m_text; }
  const std::string& text() const&& = delete;
  /// Of an address; meaningless otherwise.
  const IpAddress& address() const& noexcept { return m_address; }
  const IpAddress& address() const&& = delete;
  /// Whether it is an IP address.
  bool isAddress() const noexcept { return m_kind == Kind::ip; }

  /// Whether one of the subject alternative names of the certificate is the target; the common name
  /// never is. A wildcard stands as the whole leftmost label for exactly one label, with two labels
  /// or more behind it (RFC 9525 §6.3; the two are ours, since "*.com" can only be a mistake).
  /// Addresses are equal octet by octet, so that ::ffff:192.0.2.1 is not 192.0.2.1. Errors
  /// malformedExtension, tooLarge and repeatedExtension, when the names cannot be read; false when
  /// there are none, and when nothing is judged. Malformed names among others match nothing, and so
  /// do hosts with a dot at the end. Allocates nothing.
  Result<bool> matches(const Certificate& certificate) const noexcept;

 private:
  enum class Kind : uint8_t { unsaid, notJudged, dns, ip, email };

  explicit Target(Kind kind, std::string text = {}, const IpAddress& address = {}) noexcept
      : m_kind(kind), m_address(address), m_text(std::move(text)) {}
  static Target addressTarget(const IpAddress& address);
  static Target dnsTarget(std::string_view name);

  bool isDnsName(std::string_view name) const noexcept;
  bool isMailbox(std::string_view name) const noexcept;
  bool isAddress(Bytes octets) const noexcept;

  Kind m_kind = Kind::unsaid;
  IpAddress m_address;
  std::string m_text;
};

}  // namespace velmora
