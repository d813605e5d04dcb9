#pragma once

// What the signatures of a run may cost, whoever made the certificates in it.

#include <cstdint>

#include "velmora/certificate/certificate.h"
#include "velmora/support/core/known_oids.h"

namespace velmora::tool {

/// Whoever makes certificates chooses how many there are of one name and how dear their keys are:
/// a check may take a hundred times as long as usual. So checks are paid for, with a sum to start
/// with and an allowance for each certificate that is looked at. What usual files need is well
/// below that.
class SignatureBudget {
 public:
  /// One more certificate is there.
  void earn() noexcept { m_left += kForEach; }

  /// Pays for a check with the key of `issuer`; false when that is too dear.
  bool spend(const Certificate& issuer) noexcept {
    const uint64_t cost = costOf(issuer.describedKey());
    if (cost > m_left) return false;
    m_left -= cost;
    return true;
  }

  /// Whether the key is one of those that certificates are signed with everywhere, and whose checks
  /// take some tenths of a millisecond at most.
  static bool isUsual(const Certificate& issuer) noexcept {
    const PublicKey key = issuer.describedKey();
    switch (key.kind) {
      case KeyKind::rsa:
      case KeyKind::rsaPss:
        return key.bits <= 4096;
      case KeyKind::dsa:
        return false;
      case KeyKind::ec:
        return key.bits <= 256 || key.curve == Oid(known_oid::p384);
      default:
        return true;
    }
  }

 private:
  // In units of which a check by RSA-2048 costs 2, one by P-256 4, one by larger curves 24.
  static constexpr uint64_t kAtFirst = 2048;
  static constexpr uint64_t kForEach = 4;

  static uint64_t costOf(const PublicKey& key) noexcept {
    const uint64_t ofRsa = uint64_t{key.bits} * key.bits / (uint64_t{2048} * 2048);
    switch (key.kind) {
      case KeyKind::rsa:
      case KeyKind::rsaPss:
        return 1 + ofRsa;
      case KeyKind::dsa:
        return 4 + 16 * ofRsa;
      case KeyKind::ec:
        return key.bits <= 256 ? 4 : 24;
      default:
        return 4;
    }
  }

  uint64_t m_left = kAtFirst;
};

}  // namespace velmora::tool
