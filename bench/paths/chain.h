#pragma once

#include <openssl/x509.h>

#include <optional>
#include <vector>

#include "bench/signatures/signed_material.h"
#include "velmora/path/verify.h"

namespace velmora::bench {

/// A TLS server's certificate, its issuer and a root, which certifies itself, all signed in one
/// way and loaded on both sides, with what verify() and X509_verify_cert need to be asked.
class Chain {
 public:
  /// With new keys. Ends the program, with a message, when anything fails.
  explicit Chain(const Scheme& scheme);

  const Scheme& scheme() const noexcept { return m_scheme; }
  const velmora::Certificate& leaf() const noexcept { return m_typed[0]; }
  const velmora::Certificate& intermediate() const noexcept { return m_typed[1]; }
  const velmora::Certificate& root() const noexcept { return m_typed[2]; }

  /// Anchors that nothing is known of yet.
  TrustAnchors newAnchors() const { return TrustAnchors(std::span(&root(), 1)); }
  /// Whether the leaf may be trusted as the server that it is. Both sides judge the host, the
  /// purpose and all dates.
  bool verify(const TrustAnchors& anchors) const;
  bool verifyWithOpenssl() const;

 private:
  using Store = std::unique_ptr<X509_STORE, OpensslFree<X509_STORE_free>>;
  struct FreeStack {
    void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
  };
  using Stack = std::unique_ptr<STACK_OF(X509), FreeStack>;

  const Scheme& m_scheme;
  std::vector<velmora::Certificate> m_typed;  // leaf first
  std::vector<Certificate> m_openssl;
  CertificateSet m_intermediates;
  VerifyOptions m_options;
  Store m_store;
  Stack m_untrusted;
};

}  // namespace velmora::bench
