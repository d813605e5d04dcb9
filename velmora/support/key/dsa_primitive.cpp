#include "velmora/support/key/dsa_primitive.h"

#include "velmora/support/key/internal/signature_pair.h"

namespace velmora {

bool DsaPrimitive::verify_hash(const unsigned char* sig, unsigned sigLen, const unsigned char* hash,
                               unsigned hashLen, const DsaKeyData& key, bool& valid, LogBase& log) {
  const LogContextExitor context(log, "dsaVerifyHash");
  valid = false;
  SignaturePair pair;
  const auto outcome =
      pair.read({sig, sigLen}, {hash, hashLen}, {key.order(), key.orderDivisor()}, log);
  if (outcome == SignaturePair::Outcome::kUnreadable) return false;
  valid = outcome == SignaturePair::Outcome::kReady && key.powersMatch(pair.u1, pair.u2, pair.r);
  return true;
}

}  // namespace velmora
