#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/reading/certificate_tree.h"

namespace velmora::tool {

/// What stands in the place of the version (RFC 5280 §4.1.2.1).
struct Version {
  /// As people count it, one more than the INTEGER; 1 when the field is absent. None when there is
  /// no INTEGER, or one of more octets than every reader of JSON keeps exactly.
  std::optional<int64_t> number;
  /// Of such a long INTEGER the size of its content; else 0.
  size_t longOctets = 0;
};

Version describeVersion(const CertificateTree& tree);

/// What is wrong with the version, and with extensions beside it; in words that are safe to print
/// and live as long as the program.
std::vector<std::string_view> versionWarnings(const Version& version, const CertificateTree& tree);

}  // namespace velmora::tool
