#pragma once

#include "velmora/support/key/dsa.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// Verification of DSA signatures (FIPS 186-4 §4.7).
class DsaPrimitive {
 public:
  /// Checks a signature, the DER of SEQUENCE { r INTEGER, s INTEGER }, on a hash. False, with the
  /// reason logged, when it cannot be checked because it is not that or the hash is empty; else
  /// `valid` says whether it is right.
  static bool verify_hash(const unsigned char* sig, unsigned sigLen, const unsigned char* hash,
                          unsigned hashLen, const DsaKeyData& key, bool& valid, LogBase& log);
};

}  // namespace velmora
