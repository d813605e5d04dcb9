#include "tools/reading/version.h"

#include <charconv>

namespace velmora::tool {

namespace {

// Six octets stay within the 53 bits in which all readers of JSON agree on whole numbers (RFC 8259
// §6).
constexpr size_t kMostDigits = 12;

// The two's complement of 1 to kMostDigits / 2 octets in hexadecimal.
int64_t signedValue(std::string_view digits) {
  uint64_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  const size_t unusedBits = 64 - 4 * digits.size();
  return static_cast<int64_t>(value << unusedBits) >> unusedBits;
}

}  // namespace

// version [0] EXPLICIT Version DEFAULT v1; Version ::= INTEGER { v1(0), v2(1), v3(2) }
Version describeVersion(const CertificateTree& tree) {
  const XmlHandle at = tree.signedPart();
  at->FirstChild2();
  if (!isContext(*at, 0)) return {1};
  if (at->get_NumChildren() != 1) return {};
  at->FirstChild2();
  const std::string_view digits = at->contentView();
  if (!at->tagEquals("int") || digits.empty()) return {};
  if (digits.size() > kMostDigits) return {std::nullopt, digits.size() / 2};
  return {signedValue(digits) + 1};
}

std::vector<std::string_view> versionWarnings(const Version& version, const CertificateTree& tree) {
  if (!version.number && version.longOctets == 0) return {"the version cannot be read"};
  if (!version.number || *version.number < 1 || *version.number > 3) {
    return {"the version is none of 1, 2 and 3"};
  }
  // RFC 5280 §4.1.2.9
  if (*version.number == 3 || tree.extensions().empty()) return {};
  return {"only a certificate of version 3 may have extensions"};
}

}  // namespace velmora::tool
