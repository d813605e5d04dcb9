#pragma once

// The policies of a way, by the graph of RFC 9618.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/path/verify.h"

namespace velmora {

/// What came of the policies of a way (RFC 5280 §6.1.5 g, with RFC 9618's graph).
struct PolicyAnswer {
  bool isEnough = true;    // false: an explicit policy is asked for and none holds, or mapsAny
  bool mapsAny = false;    // a CA maps anyPolicy (§6.1.4 a), which no way survives
  bool isCounted = true;   // false: `comparisons` did not do, and nothing else is said
  bool holdsAny = false;   // anyPolicy holds for the whole way
  uint32_t refusedAt = 0;  // when !isEnough: the certificate from which on no policy held, or that
                           // maps anyPolicy, counted from that which the anchor signed
  std::vector<HeldPolicy> held;  // by octets; none when !isEnough
};

/// That a policy of the issuer counts as one of the subject, both as content octets: a third of
/// what PolicyMapping holds.
struct MappedPolicy {
  Octets issuerPolicy;
  Octets subjectPolicy;
};

/// What a certificate says of policies. What is absent, or cannot be read, is empty.
struct CertificatePolicies {
  /// Throws std::bad_alloc.
  explicit CertificatePolicies(const Certificate& certificate);

  std::vector<Policy> policies;
  std::vector<MappedPolicy> mappings;  // sorted by octets, each once
  PolicyConstraints constraints;
  std::optional<uint64_t> inhibitAny;
};

/// One certificate of the way as the graph reads it.
struct PolicyInput {
  const CertificatePolicies* policies = nullptr;
  bool isSelfIssued = false;
};

/// Judges the policies of a way, the certificate that the anchor signed first, the leaf last. Every
/// policy extension is readable: what is not was refused before, and counts as absent here. Linear
/// in the policies of all certificates together but for a logarithm. `comparisons` is what may
/// still be spent, and is counted down by the policies and mappings looked at. Throws
/// std::bad_alloc.
PolicyAnswer judgePolicies(std::span<const PolicyInput> way, const PolicyOptions& options,
                           uint32_t& comparisons);

}  // namespace velmora
