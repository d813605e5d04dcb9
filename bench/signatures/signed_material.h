#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

#include "velmora/support/text/data_buffer.h"

namespace velmora::bench {

template <auto kFree>
struct OpensslFree {
  template <class Handle>
  void operator()(Handle* handle) const {
    kFree(handle);
  }
};
using Key = std::unique_ptr<EVP_PKEY, OpensslFree<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, OpensslFree<EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, OpensslFree<EVP_MD_CTX_free>>;
using Certificate = std::unique_ptr<X509, OpensslFree<X509_free>>;
using Number = std::unique_ptr<BIGNUM, OpensslFree<BN_free>>;

/// How something is signed. Salts of RSASSA-PSS are 32 octets long.
struct Scheme {
  const char* name;
  const char* keyType;  // as EVP_PKEY_Q_keygen understands it
  size_t bits;          // of an RSA modulus or a DSA prime
  const char* curve;    // of an EC key
  const EVP_MD* hash;   // null: the scheme has its own
  bool pss;
};

/// The schemes that are measured.
const std::vector<Scheme>& schemes();

/// A new key. Everything here ends the program, with a message, when libcrypto fails.
Key makeKey(const Scheme& scheme);

/// The DER of the SubjectPublicKeyInfo of a key.
DataBuffer spkiOf(EVP_PKEY* key);

/// A message of as many octets as a usual certificate has, its digest and its signature.
struct SignedMessage {
  DataBuffer message, digest, signature;
};
SignedMessage signMessage(const Scheme& scheme, EVP_PKEY* key);

/// The DER of a certificate for `key`, signed with it. Its two names differ unless they are given
/// the same.
DataBuffer makeCertificate(const Scheme& scheme, EVP_PKEY* key, const std::string& subject,
                           const std::string& issuer);

/// Sets a context up for the padding of the scheme.
void choosePadding(EVP_PKEY_CTX* context, const Scheme& scheme);

/// Ends the program with a message unless `good`.
void require(bool good, const char* what);

}  // namespace velmora::bench
