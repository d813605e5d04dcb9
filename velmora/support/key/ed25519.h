#pragma once

// Ed25519 (RFC 8032): keys, and whether a signature is theirs.

#include <array>
#include <cstddef>
#include <memory>

#include "velmora/support/bignum/curves/edwards25519.h"
#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// An Ed25519 public key (RFC 8032 §5.1). Fixed in size until it is prepared; safe to share once
/// set.
class VELMORA_API Ed25519KeyData {
 public:
  /// The octets of a key.
  static constexpr size_t kKeySize = 32;

  /// No key yet. `path` is how numbers are computed with, and has no influence on any answer.
  explicit Ed25519KeyData(vartime::ArithmeticPath path = vartime::bestArithmeticPath())
      : m_curve(&vartime::edwards25519(path)) {}

  /// Sets the key from its 32 octets. False, with the key not to be used, when they are not the one
  /// encoding of a point, and for the eight points of small order, with which a signature may be
  /// right for every message.
  bool assign(const unsigned char* key32) noexcept;

  /// Makes every further verification faster (vartime::Edwards25519::prepare), with the same
  /// answers, and the key larger by what that tells. False, and nothing has changed, when memory
  /// runs out. To be called before the key is shared.
  bool prepare() noexcept;

  /// The 32 octets.
  const unsigned char* publicKey() const noexcept { return m_octets.data(); }

  /// The curve, which lives as long as the program.
  const vartime::Edwards25519& curve() const noexcept { return *m_curve; }
  /// The point that the octets stand for.
  const vartime::EdwardsPoint& point() const noexcept { return m_point; }
  /// Null unless the key is prepared.
  const vartime::PreparedPoint* prepared() const noexcept { return m_prepared.get(); }

 private:
  const vartime::Edwards25519* m_curve;
  vartime::EdwardsPoint m_point;
  std::unique_ptr<const vartime::PreparedPoint> m_prepared;
  std::array<unsigned char, kKeySize> m_octets;
};

/// Verification of Ed25519 signatures (RFC 8032 §5.1.7), without cofactor: R is computed and
/// compared as octets, so that only its one encoding is accepted; S is below the group order.
class VELMORA_API Ed25519Primitive {
 public:
  /// The octets of a signature.
  static constexpr size_t kSignatureSize = 64;

  /// True when the 64 octets at `sig64` are the signature of the message by the 32 octets of a key
  /// that Ed25519KeyData accepts; else the reason is logged. The flag, to be passed as false, and
  /// `scratch`, which is left as it is, are reserved: the message is hashed where it lies.
  static bool verifyDetached(const unsigned char* sig64, const unsigned char* msg, unsigned msgLen,
                             const unsigned char* publicKey32, DataBuffer& scratch, bool,
                             LogBase& log);

  /// The same with a key that is already decoded, which saves about a tenth of the time.
  static bool verifyDetached(const unsigned char* sig64, const unsigned char* msg, size_t msgLen,
                             const Ed25519KeyData& key, LogBase& log);
};

}  // namespace velmora
