#pragma once

#include "velmora/support/key/rsa.h"
#include "velmora/support/key/rsa_pss.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// Verification of RSA signatures (RFC 8017).
class RsaPrimitive {
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
  /// _vmHash; see verifyPssBlock. `out` is left empty; `pssForm`, where there is one, tells with
  /// what the block was made, since neither the mask's hash nor the salt's length is asked for.
  static bool unsignSslSig(const unsigned char* sig, unsigned sigLen, const unsigned char* hash,
                           unsigned hashLen, const RsaKeyData& key, int padding, int pssHashId,
                           DataBuffer& out, LogBase& log, PssForm* pssForm = nullptr);
};

}  // namespace velmora
