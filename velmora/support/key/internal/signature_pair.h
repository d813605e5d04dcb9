#pragma once

// The two numbers that a DSA or ECDSA signature is (RFC 3279 §2.2.2).

#include <cstddef>
#include <span>

#include "velmora/support/bignum/arithmetic/divisor.h"
#include "velmora/support/bignum/curves/curve.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// The order of the group that DSA or ECDSA computes in.
struct GroupOrder {
  const vartime::Limb* value;  // divisor.count() limbs
  const vartime::Divisor& divisor;
};

/// What both algorithms do before they come to their group (FIPS 186-4 §4.7 and §6.4): the steps
/// from the octets of a signature and a hash to r, u1 = z / s and u2 = r / s modulo the order.
struct SignaturePair {
  enum class Outcome {
    kReady,
    kOutOfRange,  // not valid: r or s is 0 or not below the order
    kUnreadable   // cannot be checked; the reason is logged
  };

  /// Dss-Sig-Value ::= SEQUENCE { r INTEGER, s INTEGER }, DER to the letter with nothing after it.
  /// Of a hash longer than the order only the leftmost bits count, as many as the order has.
  Outcome read(std::span<const unsigned char> signature, std::span<const unsigned char> hash,
               const GroupOrder& order, LogBase& log);

  vartime::Limb r[vartime::kMaxCurveLimbs];
  vartime::Limb u1[vartime::kMaxCurveLimbs];
  vartime::Limb u2[vartime::kMaxCurveLimbs];
};

}  // namespace velmora
