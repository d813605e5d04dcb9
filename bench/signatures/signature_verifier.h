#pragma once

#include "bench/signatures/signed_material.h"
#include "velmora/support/key/vm_public_key.h"

namespace velmora::bench {

/// Verifies one signature again and again with the key classes of this library, on one arithmetic
/// path. What it refers to outlives it.
class VelmoraVerifier {
 public:
  VelmoraVerifier(const Scheme& scheme, const SignedMessage& signedMessage,
                  vartime::ArithmeticPath path = vartime::bestArithmeticPath())
      : m_scheme(scheme), m_signed(signedMessage), m_key(path) {}

  /// False when the key is refused.
  bool load(const DataBuffer& spki) { return m_key.loadAnyDer(spki, m_log); }

  /// Makes what is kept for a key that is asked again; nothing for RSA and DSA.
  bool prepare();

  bool verify();

 private:
  bool verifyRsa(const RsaKeyData& key);
  bool digestInfoMatches() const;

  const Scheme& m_scheme;
  const SignedMessage& m_signed;
  _vmPublicKey m_key;
  DataBuffer m_content;
  LogNull m_log;
};

}  // namespace velmora::bench
