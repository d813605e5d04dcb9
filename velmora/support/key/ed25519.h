#pragma once

#include <array>
#include <cstddef>

#include "velmora/support/bignum/curves/edwards25519.h"

namespace velmora {

/// An Ed25519 public key (RFC 8032 §5.1). Fixed in size; safe to share once set.
class Ed25519KeyData {
 public:
  static constexpr size_t kKeySize = 32;

  explicit Ed25519KeyData(vartime::ArithmeticPath path = vartime::bestArithmeticPath())
      : m_curve(&vartime::edwards25519(path)) {}

  /// Sets the key from its 32 octets. False, with the key not to be used, when they are not the one
  /// encoding of a point, and for the eight points of small order, with which a signature may be
  /// right for every message.
  bool assign(const unsigned char* key32) noexcept;

  /// The 32 octets.
  const unsigned char* publicKey() const noexcept { return m_octets.data(); }

  const vartime::Edwards25519& curve() const noexcept { return *m_curve; }
  const vartime::EdwardsPoint& point() const noexcept { return m_point; }

 private:
  const vartime::Edwards25519* m_curve;
  vartime::EdwardsPoint m_point;
  std::array<unsigned char, kKeySize> m_octets;
};

}  // namespace velmora
