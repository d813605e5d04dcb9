#include "velmora/path/verify.h"

#include <algorithm>
#include <new>

#include "velmora/path/internal/path_builder.h"

namespace velmora {
namespace {

std::chrono::sys_seconds momentOf(const VerifyOptions& options) noexcept {
  if (options.at) return *options.at;
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

// What is wrong with the question itself.
Reason faultOf(const VerifyOptions& options) noexcept {
  const Target& target = options.target;
  switch (options.purpose) {
    case Purpose::unsaid:
      return Reason::purposeUnsaid;
    case Purpose::server:
      if (!target.isSaid()) return Reason::targetUnsaid;
      return target.isEmail() ? Reason::wrongTarget : Reason::none;
    case Purpose::email:
      return target.isHost() ? Reason::wrongTarget : Reason::none;
    default:
      return Reason::none;
  }
}

Verification refused(Reason reason) noexcept {
  Verification answer;
  answer.reason = reason;
  return answer;
}

Verification verifyWith(const Certificate& leaf, const TrustAnchors& anchors,
                        std::span<const CertificateSet* const> sets,
                        const VerifyOptions& options) noexcept try {
  if (const Reason fault = faultOf(options); fault != Reason::none) return refused(fault);
  return PathBuilder(leaf, anchors, sets, options, momentOf(options)).run();
} catch (const std::bad_alloc&) {
  return refused(Reason::outOfMemory);
}

// The finding that the reason is of; null where it is of none, as of a question or a limit.
const Finding* reasonFinding(const Verification& answer) noexcept {
  for (const Finding& each : answer.furthest.findings) {
    if (each.isFailure() && each.reason == answer.reason) return &each;
  }
  return nullptr;
}

}  // namespace

Reason Path::reason() const noexcept {
  Reason gravest = Reason::none;
  for (const Finding& each : findings) {
    if (!each.isFailure()) continue;
    if (gravest == Reason::none || each.reason < gravest) gravest = each.reason;
  }
  return gravest;
}

std::string_view Verification::id() const noexcept {
  const Finding* const of = reasonFinding(*this);
  return of != nullptr ? of->id() : reasonId(reason);
}

std::string Verification::text() const {
  const Finding* const of = reasonFinding(*this);
  return of != nullptr ? of->text() : std::string(reasonText(reason));
}

Verification verify(const Certificate& leaf, const TrustAnchors& anchors,
                    const CertificateSet& intermediates, const VerifyOptions& options) noexcept {
  const CertificateSet* const sets[] = {&intermediates};
  return verifyWith(leaf, anchors, sets, options);
}

Verification verify(std::span<const Bytes> presented, const TrustAnchors& anchors,
                    const VerifyOptions& options, const CertificateSet& more) noexcept try {
  if (presented.empty()) return refused(Reason::malformedInput);
  const Result<Certificate> leaf = Certificate::parseBytes(presented.front());
  if (!leaf) {
    const bool noMemory = leaf.error().code == ErrorCode::outOfMemory;
    return refused(noMemory ? Reason::outOfMemory : Reason::malformedInput);
  }
  std::vector<Certificate> issuers;
  issuers.reserve(presented.size() - 1);
  for (const Bytes octets : presented.subspan(1)) {
    Result<Certificate> issuer = Certificate::parseBytes(octets);
    if (issuer) {
      issuers.push_back(*std::move(issuer));
    } else if (issuer.error().code == ErrorCode::outOfMemory) {
      throw std::bad_alloc();
    }
  }
  const CertificateSet sent(issuers);
  const CertificateSet* const sets[] = {&sent, &more};
  return verifyWith(*leaf, anchors, sets, options);
} catch (const std::bad_alloc&) {
  return refused(Reason::outOfMemory);
}

// An empty set takes memory too, which a default argument would take outside of what is caught.
Verification verify(std::span<const Bytes> presented, const TrustAnchors& anchors,
                    const VerifyOptions& options) noexcept try {
  return verify(presented, anchors, options, CertificateSet());
} catch (const std::bad_alloc&) {
  return refused(Reason::outOfMemory);
}

}  // namespace velmora
