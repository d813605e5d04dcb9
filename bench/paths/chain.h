#pragma once

#include <deque>
#include <vector>

#include "bench/signatures/signed_material.h"
#include "velmora/path/verify.h"

namespace velmora::bench {

/// A TLS server's certificate, its issuer and a root, which certifies itself, all signed in one
/// way, with what verify() needs to be asked.
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
  /// Whether the leaf may be trusted as the server that it is: host, purpose and all dates.
  bool verify(const TrustAnchors& anchors) const;
  /// The same for peers.
  ChainOctets octets() const;

 private:
  const Scheme& m_scheme;
  std::vector<velmora::Certificate> m_typed;  // leaf first
  std::deque<DataBuffer> m_ders;
  CertificateSet m_intermediates;
  VerifyOptions m_options;
};

}  // namespace velmora::bench
