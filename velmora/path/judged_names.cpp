#include <algorithm>
#include <type_traits>

#include "velmora/path/internal/host_names.h"
#include "velmora/path/internal/judged_keys.h"
#include "velmora/path/internal/name_constraints.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

constexpr Oid kSmtpUtf8Mailbox{"1.3.6.1.5.5.7.8.9"};  // id-on-SmtpUTF8Mailbox, RFC 9598 §3
constexpr std::byte kUtf8Identifier{0x0C};

constexpr bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}
constexpr bool isLetter(char c) noexcept {
  return asciiLower(c) >= 'a' && asciiLower(c) <= 'z';
}
constexpr bool isSchemeCharacter(char c) noexcept {
  return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
}
// RFC 3986 §3.2.1; whether a "%" is followed by two digits changes no host.
constexpr bool isUserInfo(char c) noexcept {
  return isLetter(c) || isDigit(c) ||
         std::string_view("-._~%!$&'()*+,;=:").find(c) != std::string_view::npos;
}

JudgedName emailName(GeneralName name, std::string_view text, bool allowsUtf8) {
  JudgedName judged{std::move(name)};
  std::optional<Mailbox> mailbox = readMailbox(text, allowsUtf8);
  judged.isReadable = mailbox.has_value();
  if (!mailbox) return judged;
  judged.key = std::move(mailbox->domainKey);
  judged.localPart = std::move(mailbox->localPart);
  return judged;
}

JudgedName judgedName(const EmailAddress& email) {
  return emailName(email, email.text, false);
}

JudgedName judgedName(const DnsName& dns) {
  JudgedName judged{dns};
  std::string_view text = dns.text;
  judged.isWildcard = text.starts_with("*.");
  if (judged.isWildcard) text.remove_prefix(2);
  judged.isReadable = !dnsNameFault(text);
  if (judged.isReadable) judged.key = dnsKey(text);
  return judged;
}

JudgedName judgedName(const Uri& uri) {
  JudgedName judged{uri};
  const auto host = hostOf(uri.text);
  judged.isReadable = host.has_value();
  if (host) judged.key = dnsKey(*host);
  return judged;
}

JudgedName judgedName(const IpAddress& address) {
  JudgedName judged{address};
  judged.key = addressKey(address, 8 * size_t{address.size});
  return judged;
}

JudgedName judgedName(const Name& name) {
  JudgedName judged{name};
  std::optional<std::string> folded = name.folded();
  judged.isReadable = folded.has_value();
  if (folded) judged.key = std::move(*folded);
  judged.doubtful = DoubtfulName(name);
  return judged;
}

// A form that is not judged here, or a name that is malformed.
template <class Unjudged>
JudgedName judgedName(const Unjudged& name) {
  JudgedName judged{name};
  judged.isReadable = false;
  return judged;
}

}  // namespace

NameForm formOf(const GeneralName& name) noexcept {
  struct {
    NameForm operator()(const DnsName&) const noexcept { return NameForm::dns; }
    NameForm operator()(const EmailAddress&) const noexcept { return NameForm::email; }
    NameForm operator()(const Uri&) const noexcept { return NameForm::uri; }
    NameForm operator()(const IpAddress&) const noexcept { return NameForm::ip; }
    NameForm operator()(const IpRange&) const noexcept { return NameForm::ip; }
    NameForm operator()(const Name&) const noexcept { return NameForm::directory; }
    NameForm operator()(const RegisteredId&) const noexcept { return NameForm::registeredId; }
    NameForm operator()(const OtherName&) const noexcept { return NameForm::other; }
    NameForm operator()(const RawName& raw) const noexcept {
      return static_cast<NameForm>(std::min<size_t>(raw.tag, kNameForms - 1));
    }
  } const form;
  return std::visit(form, name);
}

std::string addressKey(const IpAddress& address, size_t bits) {
  std::string key(1, address.size == 4 ? '4' : '6');
  key.reserve(1 + bits);
  for (size_t i = 0; i < bits; ++i) {
    const bool isSet = (address.octets[i / 8] >> (7 - i % 8) & std::byte{1}) != std::byte{0};
    key += isSet ? '1' : '0';
  }
  return key;
}

std::optional<Mailbox> readMailbox(std::string_view text, bool allowsUtf8) {
  const size_t at = text.rfind('@');
  if (at == std::string_view::npos || dnsNameFault(text.substr(at + 1))) return std::nullopt;
  std::optional<std::string> localPart = localPartOf(text.substr(0, at), allowsUtf8);
  if (!localPart) return std::nullopt;
  return Mailbox{std::move(*localPart), dnsKey(text.substr(at + 1))};
}

// URI = scheme ":" "//" [ userinfo "@" ] host [ ":" port ] path-abempty [ "?" query ] [ "#"
// fragment ]
std::optional<std::string_view> hostOf(std::string_view uri) noexcept {
  const size_t colon = uri.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const std::string_view scheme = uri.substr(0, colon);
  const bool hasScheme = !scheme.empty() && isLetter(scheme.front()) &&
                         std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter);
  uri.remove_prefix(colon + 1);
  if (!hasScheme || !uri.starts_with("//")) return std::nullopt;
  std::string_view host = uri.substr(2, uri.find_first_of("/?#", 2) - 2);
  if (const size_t at = host.find('@'); at != std::string_view::npos) {
    const std::string_view user = host.substr(0, at);
    if (!std::all_of(user.begin(), user.end(), isUserInfo)) return std::nullopt;
    host.remove_prefix(at + 1);
  }
  if (const size_t port = host.find(':'); port != std::string_view::npos) {
    if (!std::all_of(host.begin() + static_cast<std::ptrdiff_t>(port) + 1, host.end(), isDigit)) {
      return std::nullopt;
    }
    host = host.substr(0, port);
  }
  if (dnsNameFault(host) || hasNumericLastLabel(host)) return std::nullopt;
  return host;
}

JudgedNames::JudgedNames(const Certificate& certificate) {
  addSubject(certificate.subject());
  const Result<std::vector<GeneralName>> names = certificate.subjectAltNames();
  m_areReadable = names || names.error().isAbsent();
  if (!names) return;
  for (const GeneralName& name : *names) addAlternative(name);
}

void JudgedNames::addSubject(const Name& subject) {
  if (subject.isEmpty()) return;
  add(NameForm::directory, judgedName(subject));
  const Result<std::vector<Attribute>> attributes = subject.attributes();
  if (!attributes) {  // there may be an address in it
    JudgedName unreadable{subject};
    unreadable.isReadable = false;
    return add(NameForm::email, std::move(unreadable));
  }
  for (const Attribute& attribute : *attributes) {
    if (attribute.type != oid::emailAddress) continue;
    add(NameForm::email, judgedName(EmailAddress{attribute.text}));
  }
}

void JudgedNames::addAlternative(const GeneralName& name) {
  const auto* const other = std::get_if<OtherName>(&name);
  if (other != nullptr && other->type == kSmtpUtf8Mailbox) {
    const bool isUtf8 = !other->value.empty() && other->value.front() == kUtf8Identifier;
    const std::string text = isUtf8 ? other->text().value_or("") : "";
    add(NameForm::email, emailName(name, text, true));
  }
  add(formOf(name), std::visit([](const auto& kind) { return judgedName(kind); }, name));
}

}  // namespace velmora
