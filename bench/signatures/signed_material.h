#pragma once

#include <string>
#include <vector>

#include "bench/peers/openssl_handles.h"
#include "bench/peers/peer.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora::bench {

/// The schemes that are measured.
const std::vector<Scheme>& schemes();

/// A new key. Everything here ends the program, with a message, when libcrypto fails.
Key makeKey(const Scheme& scheme);

/// The DER of the SubjectPublicKeyInfo of a key.
DataBuffer spkiOf(EVP_PKEY* key);

/// A message of as many octets as a usual certificate has, its digest and its signature.
struct SignedMessage {
  DataBuffer message, digest, signature;

  Signed view() const { return {message.span(), digest.span(), signature.span()}; }
};
SignedMessage signMessage(const Scheme& scheme, EVP_PKEY* key);

/// The DER of a certificate for `key`, signed with it. Its two names differ unless they are given
/// the same.
DataBuffer makeCertificate(const Scheme& scheme, EVP_PKEY* key, const std::string& subject,
                           const std::string& issuer);

/// Ends the program with a message unless `good`.
void require(bool good, const char* what);

}  // namespace velmora::bench
