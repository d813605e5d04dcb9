#pragma once

// What "verify" says of one certificate: the ways and the findings, as text and as JSON.

#include <map>
#include <string_view>

#include "tools/reading/input.h"
#include "velmora/path/verify.h"

namespace velmora::tool {

/// Where each certificate stood first.
using Places = std::map<Certificate, InputPlace>;

/// What a verification was asked and where what it found came from.
struct PathReport {
  const InputPlace& place;  // of the leaf
  const Certificate& leaf;
  const VerifyOptions& options;
  std::chrono::sys_seconds at;
  const Places& places;
};

/// Appends the outcome for people: a line, each way as a tree with the anchor on top, and below
/// each certificate what was found. Safe to print.
void appendPathText(const PathReport& report, const Verification& answer, StringBuffer& out);

/// Appends the same as one JSON object a line.
void appendPathJson(const PathReport& report, const Verification& answer, StringBuffer& out);

/// "server", as --purpose has it.
std::string_view purposeName(Purpose purpose) noexcept;

/// "rfc5280", as --profile has it.
std::string_view profileName(Profile profile) noexcept;

}  // namespace velmora::tool
