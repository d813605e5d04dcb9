#pragma once

// RSA (RFC 8017): keys, and what their signatures hold, of PKCS #1 and PSS.

#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// An RSA public key (RFC 8017 §3.1), prepared for use. Fixed in size; safe to share once set.
class VELMORA_API RsaKeyData {
 public:
  /// The bits that the modulus has at least.
  static constexpr size_t kMinModulusBits = 512;
  /// The bits that it has at most.
  static constexpr size_t kMaxModulusBits = vartime::kMaxModulusLimbs * vartime::kLimbBits;
  /// The bits that the public exponent has at most.
  static constexpr size_t kMaxExponentBits = vartime::kLimbBits;
  /// The octets that hold any modulus.
  static constexpr size_t kMaxModulusSize = kMaxModulusBits / 8;

  /// No key yet. `path` is how numbers are computed with, and has no influence on any answer.
  explicit RsaKeyData(vartime::ArithmeticPath path = vartime::bestArithmeticPath());

  /// Sets both numbers from big-endian octets without a leading zero. False, with the reason logged
  /// and the key not to be used, for a modulus that is even or outside the limits above, and for an
  /// exponent that is even, below 3 or above 64 bits.
  bool assign(std::span<const unsigned char> modulus, std::span<const unsigned char> exponent,
              LogBase& log);

  /// Whether assign() takes the numbers, without the work that it does with them.
  static bool isKey(std::span<const unsigned char> modulus,
                    std::span<const unsigned char> exponent) noexcept;

  /// The bits of the modulus.
  unsigned get_ModulusBitLen() const noexcept;

  /// Octets of the modulus, and so of a signature.
  size_t modulusSize() const noexcept { return (get_ModulusBitLen() + 7) / 8; }

  /// block = signature ^ exponent modulo the modulus (RSAVP1, RFC 8017 §5.2.2), both modulusSize()
  /// octets, big-endian. False when the signature is not below the modulus.
  bool applyPublicExponent(const unsigned char* signature, unsigned char* block) const noexcept;

 private:
  vartime::MontgomeryModulus m_arithmetic;
  vartime::Limb m_modulus[vartime::kMaxModulusLimbs];  // of which as many are set as it has
  uint64_t m_exponent = 0;
};

/// With what a block of RSASSA-PSS was made.
struct PssForm {
  int maskHashId = 0;   // of _vmHash: the hash of the mask generation function MGF1
  size_t saltSize = 0;  // in octets
};

/// Verification of RSA signatures (RFC 8017).
class VELMORA_API RsaPrimitive {
 public:
  static constexpr int kPaddingPkcs1 = 1;  // RSASSA-PKCS1-v1_5, §8.2
  static constexpr int kPaddingPss = 3;    // RSASSA-PSS, §8.1

  /// Applies the public key to a signature, which must be as long as the modulus and below it, and
  /// replaces `out` by what it holds. False, with the reason logged, when the signature is refused.
  ///
  /// Padding 1: takes the block of type 1, with eight or more octets FF, away and leaves its
  /// content. `hash` and `pssHashId` are not looked at. A content in which a hash OID and a digest
  /// would be found must be a DigestInfo to the letter (isStrictDigestInfo); any other is given out
  /// for the caller to report.
  ///
  /// Padding 3: true only when the signature is that of `hash`, which was made with `pssHashId` of
  /// _vmHash (EMSA-PSS, §9.1.2). The salt's length is what the block says. The hash of the mask
  /// generation function is not known here: that of the message is tried first, then the others.
  /// `pssForm`, where there is one, tells with what the block was made, since neither is asked for.
  /// `out` is left empty.
  static bool unsignSslSig(const unsigned char* sig, unsigned sigLen, const unsigned char* hash,
                           unsigned hashLen, const RsaKeyData& key, int padding, int pssHashId,
                           DataBuffer& out, LogBase& log, PssForm* pssForm = nullptr);
};

}  // namespace velmora
