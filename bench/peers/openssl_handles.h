#pragma once

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/peers/scheme.h"

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

/// Null where the scheme has its own.
inline const EVP_MD* hashOf(const Scheme& scheme) {
  switch (scheme.hashBits) {
    case 256:
      return EVP_sha256();
    case 384:
      return EVP_sha384();
    case 512:
      return EVP_sha512();
    default:
      return nullptr;
  }
}

/// Sets a context up for the padding of the scheme.
inline bool choosePadding(EVP_PKEY_CTX* context, const Scheme& scheme) {
  return !scheme.pss || (EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) > 0 &&
                         EVP_PKEY_CTX_set_rsa_pss_saltlen(context, 32) > 0);
}

/// Null when it is no certificate.
template <class Bytes>
Certificate loadCertificate(const Bytes& der) {
  const unsigned char* at = der.data();
  return Certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
}

}  // namespace velmora::bench
