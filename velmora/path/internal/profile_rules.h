#pragma once

// The rules that a profile has beyond those of RFC 5280 §6.1.

#include <cstdint>
#include <string_view>
#include <vector>

#include "velmora/path/internal/certificate_facts.h"
#include "velmora/path/verify.h"

namespace velmora {

/// What a certificate is on a way. An anchor has no role: it is not judged but for what it binds.
enum class Role : uint8_t {
  leaf,
  issuer,  // of the certificate below
};

/// What a rule of a profile looks at.
struct ProfileInput {
  const CertificateFacts& facts;
  Role role;
  const VerifyOptions& options;
};

/// A rule that a profile has beyond those of the basic one and the departures that it refuses.
struct ProfileRule {
  std::string_view id;
  std::string_view clause;
  std::string_view text;
  /// Throws std::bad_alloc.
  bool (*isBroken)(const ProfileInput& input);
};

/// The rule of a number, as Finding has it.
const ProfileRule& profileRule(uint8_t rule) noexcept;

/// Appends what breaks the rules of `options.profile`. Throws std::bad_alloc.
void judgeProfile(const ProfileInput& input, std::vector<Finding>& findings);

/// Whether a departure that may be decided upon refuses all the same under RFC 5280's profile.
bool refusesInRfc5280(DepartureCode code) noexcept;

}  // namespace velmora
