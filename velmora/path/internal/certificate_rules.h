#pragma once

// What a certificate is found to be by itself, in its place on a way.

#include <chrono>
#include <vector>

#include "velmora/path/internal/indexes.h"
#include "velmora/path/internal/profile_rules.h"

namespace velmora {

/// The moment of a verification and what it asks for.
struct Question {
  const VerifyOptions& options;
  std::chrono::sys_seconds at;
  bool judgesCrls() const noexcept { return options.revocation != Revocation::notAsked; }
};

/// Of each departure, and of critical extensions that nobody knows, so many are told of a
/// certificate: it may have tens of thousands, and is told of again on each way that it stands on.
inline constexpr uint8_t kMostAlike = 64;

/// Whether an extension is one of those that are read, be it only to be shown.
bool isKnownExtension(const Oid& id) noexcept;

/// Appends all that a certificate is found to be by itself, wherever on whatever way it stands in
/// its role: dates, departures, critical extensions, key, CA, purpose, profile; of a leaf also the
/// target. What depends on the way or on other certificates is not looked at. The place on the way
/// is left 0. Throws std::bad_alloc.
void judgeCertificate(const CertificateFacts& facts, Role role, const Question& question,
                      std::vector<Finding>& findings);

/// Appends keyMalformed for a key that signatures cannot be checked with, unless `findings` say why
/// already. It takes work with the key: up to a square root in its field.
void judgeKeyItself(const CertificateFacts& facts, std::vector<Finding>& findings);

/// The same as judgeCertificate of a leaf that is an anchor itself, octet for octet: dates,
/// purpose, target and key, and what of these cannot be read.
void judgeTrustedLeaf(const CertificateFacts& facts, const Question& question,
                      std::vector<Finding>& findings);

/// What an anchor is bound to by itself (RFC 5937 §3.2): its purposes and its key, and of one that
/// is a certificate its dates where the options judge them, that it is a CA and may sign
/// certificates (but for versions 1 and 2 without extensions, which cannot say so), its critical
/// extensions, and what of all that cannot be read.
void judgeAnchor(const IndexedAnchor& anchor, const Question& question,
                 std::vector<Finding>& findings);

/// Sorts by certificate, then by gravity, then by offset.
void sortFindings(std::vector<Finding>& findings);

}  // namespace velmora
