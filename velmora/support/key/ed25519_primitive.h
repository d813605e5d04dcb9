#pragma once

#include "velmora/support/key/ed25519.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// Verification of Ed25519 signatures (RFC 8032 §5.1.7), without cofactor: R is computed and
/// compared as octets, so that only its one encoding is accepted; S is below the group order.
class Ed25519Primitive {
 public:
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
