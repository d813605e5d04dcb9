#pragma once

// What "verify" says of one certificate: the ways and the findings, as text and as JSON.

#include <map>
#include <string_view>

#include "tools/reading/place.h"
#include "velmora/path/verify.h"

namespace velmora::tool {

/// What a verification was asked and where what it found came from.
struct PathQuestion {
  VerifyOptions options;
  std::string_view issuerFile;               // of --issuer, empty without it
  std::map<Certificate, InputPlace> places;  // where each certificate stood first
};

/// Appends the outcome for people: a line, each way as a tree with the anchor on top, and below
/// each certificate what was found. Safe to print.
void appendPathText(const PathQuestion& question, const InputPlace& leaf,
                    const Verification& answer, StringBuffer& out);

/// Appends the same as one JSON object a line.
void appendPathJson(const PathQuestion& question, const InputPlace& leaf,
                    const Verification& answer, StringBuffer& out);

/// As --purpose and --profile have them, in the order of Purpose, which "unsaid" starts, and
/// Profile.
inline constexpr std::string_view kPurposes[] = {"unsaid", "server", "client", "code",
                                                 "email",  "time",   "ocsp",   "any"};
inline constexpr std::string_view kProfiles[] = {"basic", "rfc5280", "web"};

}  // namespace velmora::tool
