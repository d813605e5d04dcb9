#include "tools/render/shown_certificate.h"

#include <set>

#include "velmora/support/asn1/asn1_element.h"

namespace velmora::tool {

namespace {

// Six octets stay within the 53 bits in which all readers of JSON agree on whole numbers (RFC 8259
// §6).
constexpr size_t kMostOctets = 6;

ShownVersion versionOf(const Certificate& certificate) {
  if (const Result<int> version = certificate.version()) return {*version};
  const Bytes octets = certificate.parts().version;
  if (octets.size() > kMostOctets) return {std::nullopt, octets.size()};
  if (octets.empty()) return {};
  return {integerValue(octets) + 1};
}

// What the first extension with an OID says; null when it is absent or says something else.
template <class T>
std::optional<T> firstContent(const Certificate& certificate,
                              const std::vector<Extension>& extensions, const Oid& id) {
  for (const Extension& extension : extensions) {
    if (extension.id != id) continue;
    Result<ExtensionContent> content = certificate.content(extension, Strictness::lenient);
    if (!content) return std::nullopt;
    return std::get<T>(*std::move(content));
  }
  return std::nullopt;
}

// Whoever asks for a certificate chooses the addresses, so that they must not decide how long it
// takes to find one again: a tree takes the same for all, where the texts of one hash would fill
// one bucket.
std::vector<std::string_view> emailsOf(const ShownCertificate& shown) {
  std::vector<std::string_view> emails;
  std::set<std::string_view> known;
  const auto add = [&](std::string_view address) {
    if (!address.empty() && known.insert(address).second) emails.push_back(address);
  };
  if (shown.subject) {
    for (const ShownAttribute& attribute : *shown.subject) {
      if (isSame(attribute.type, oid::emailAddress.der())) add(attribute.text());
    }
  }
  for (const GeneralName& name : shown.alternativeNames) {
    if (const auto* const email = std::get_if<EmailAddress>(&name)) add(email->text);
  }
  return emails;
}

}  // namespace

ShownCertificate::ShownCertificate(const Certificate& certificate)
    : subject(attributesOf(certificate.subject())),
      issuer(attributesOf(certificate.issuer())),
      version(versionOf(certificate)),
      notBefore(certificate.notBefore()),
      notAfter(certificate.notAfter()),
      key(certificate.describedKey()),
      extensions(certificate.listedExtensions()),
      subjectKeyId(firstContent<Bytes>(certificate, extensions, oid::subjectKeyIdentifier)),
      alternativeNames(
          firstContent<std::vector<GeneralName>>(certificate, extensions, oid::subjectAltName)
              .value_or(std::vector<GeneralName>())) {
  const auto authority =
      firstContent<AuthorityKeyId>(certificate, extensions, oid::authorityKeyIdentifier);
  if (authority) authorityKeyId = authority->keyId;
  emails = emailsOf(*this);
}

std::string_view ShownCertificate::versionWarning() const {
  if (!version.number && version.longOctets == 0) return "the version cannot be read";
  if (!version.number || *version.number < 1 || *version.number > 3) {
    return "the version is none of 1, 2 and 3";
  }
  // RFC 5280 §4.1.2.9
  if (*version.number == 3 || extensions.empty()) return {};
  return "only a certificate of version 3 may have extensions";
}

}  // namespace velmora::tool
