#pragma once

// ECDSA (FIPS 186-4 §6, SEC 1 §4.1): keys, and whether a signature is theirs.

#include <memory>
#include <span>
#include <string_view>

#include "velmora/support/bignum/arithmetic/divisor.h"
#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// A public key on a named curve (RFC 5480), ready for ECDSA. Fixed in size until it is prepared;
/// safe to share once set.
class VELMORA_API EccKeyData {
 public:
  /// No key yet. `path` is how numbers are computed with, and has no influence on any answer.
  explicit EccKeyData(vartime::ArithmeticPath path = vartime::bestArithmeticPath());

  /// Sets the curve from the content octets of its OID and the point from the form of SEC 1 §2.3.3,
  /// compressed or not. False, with the reason logged and the key not to be used, for an unknown
  /// curve and for octets that are no point of it.
  bool assign(std::span<const unsigned char> curveOid, std::span<const unsigned char> point,
              LogBase& log);

  /// Whether assign() takes the octets, without the work that it does to check signatures.
  static bool isKey(std::span<const unsigned char> curveOid,
                    std::span<const unsigned char> point) noexcept;

  /// Makes every further verification faster (vartime::Curve::prepare), with the same answers, and
  /// the key larger by what that tells. False, and nothing has changed, on other curves than P-256,
  /// P-384 and P-521 and when memory runs out. To be called before the key is shared.
  bool prepare() noexcept;

  /// The size of the curve in bits.
  unsigned get_ModulusBitLen() const noexcept { return m_curve->parameters().bits; }

  /// Such as "P-256", "secp256k1", "brainpoolP256r1".
  std::string_view curveName() const noexcept { return m_curve->parameters().name; }

  /// Checks an ECDSA signature (FIPS 186-4 §6.4), the DER of SEQUENCE { r INTEGER, s INTEGER }, on
  /// a hash. False, with the reason logged, when it cannot be checked because it is not that or the
  /// hash is empty; else `valid` says whether it is right. The flag and the last number, to be
  /// passed as false and 0, are reserved and have no effect.
  bool eccVerifyHash(const unsigned char* sig, unsigned sigLen, bool, const unsigned char* hash,
                     unsigned hashLen, bool& valid, LogBase& log, unsigned) const;

 private:
  vartime::ArithmeticPath m_path;
  const vartime::Curve* m_curve = nullptr;
  vartime::CurvePoint m_point;
  std::unique_ptr<const vartime::PreparedPoint> m_prepared;
  vartime::Divisor m_orderDivisor;
};

}  // namespace velmora
