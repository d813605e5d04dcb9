// OpenSSL, and with --peer whatever has its API: what only some of these libraries have is not
// used.
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/pkcs7.h>
#include <openssl/x509v3.h>

#include "bench/peers/openssl_handles.h"
#include "bench/peers/openssl_reader.h"
#include "bench/peers/peer.h"

namespace velmora::bench {

namespace {

// Verifies one signature again and again with a context that is made once for the key.
class OpensslVerifier {
 public:
  OpensslVerifier(const Scheme& scheme, const Signed& made) : m_scheme(scheme), m_signed(made) {}

  bool load(Octets spki) {
    const unsigned char* at = spki.data();
    m_key.reset(d2i_PUBKEY(nullptr, &at, static_cast<long>(spki.size())));
    if (m_key == nullptr) return false;
    const EVP_MD* const hash = hashOf(m_scheme);
    if (hash == nullptr) {
      m_digestContext.reset(EVP_MD_CTX_new());
      return EVP_DigestVerifyInit(m_digestContext.get(), nullptr, nullptr, nullptr, m_key.get()) >
             0;
    }
    m_context.reset(EVP_PKEY_CTX_new(m_key.get(), nullptr));
    return m_context != nullptr && EVP_PKEY_verify_init(m_context.get()) > 0 &&
           choosePadding(m_context.get(), m_scheme) &&
           EVP_PKEY_CTX_set_signature_md(m_context.get(), hash) > 0;
  }

  bool verify() const {
    const Octets signature = m_signed.signature;
    const int result =
        m_digestContext != nullptr
            ? EVP_DigestVerify(m_digestContext.get(), signature.data(), signature.size(),
                               m_signed.message.data(), m_signed.message.size())
            : EVP_PKEY_verify(m_context.get(), signature.data(), signature.size(),
                              m_signed.digest.data(), m_signed.digest.size());
    if (result <= 0) ERR_clear_error();
    return result > 0;
  }

 private:
  const Scheme& m_scheme;
  const Signed m_signed;
  Key m_key;
  KeyContext m_context;           // for a digest
  DigestContext m_digestContext;  // for a message
};

// The trusted root and the other certificates, loaded.
class OpensslChain {
 public:
  explicit OpensslChain(const ChainOctets& chain)
      : m_leaf(loadCertificate(chain.leaf)),
        m_intermediate(loadCertificate(chain.intermediate)),
        m_root(loadCertificate(chain.root)),
        m_host(chain.host) {
    X509_STORE_add_cert(m_store.get(), m_root.get());
    sk_X509_push(m_untrusted.get(), m_intermediate.get());
  }

  bool verify() const {
    using Context = std::unique_ptr<X509_STORE_CTX, OpensslFree<X509_STORE_CTX_free>>;
    const Context owner(X509_STORE_CTX_new());
    X509_STORE_CTX* const context = owner.get();
    return X509_STORE_CTX_init(context, m_store.get(), m_leaf.get(), m_untrusted.get()) > 0 &&
           X509_VERIFY_PARAM_set1_host(X509_STORE_CTX_get0_param(context), m_host.data(),
                                       m_host.size()) > 0 &&
           X509_STORE_CTX_set_purpose(context, X509_PURPOSE_SSL_SERVER) > 0 &&
           X509_verify_cert(context) > 0;
  }

 private:
  struct FreeStack {
    void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
  };

  Certificate m_leaf, m_intermediate, m_root;
  std::string m_host;
  std::unique_ptr<X509_STORE, OpensslFree<X509_STORE_free>> m_store{X509_STORE_new()};
  std::unique_ptr<STACK_OF(X509), FreeStack> m_untrusted{sk_X509_new_null()};
};

class OpensslPeer final : public Peer {
 public:
  using Peer::Peer;

  Work verifier(const Scheme& scheme, Octets spki, const Signed& made) const override {
    const auto verifier = std::make_shared<OpensslVerifier>(scheme, made);
    if (verifier->load(spki)) return [verifier] { return verifier->verify(); };
    ERR_clear_error();
    return {};
  }

  bool verifyCertificate(const Scheme&, Octets leaf, Octets issuer) const override {
    const Certificate subject = loadCertificate(leaf);
    const Certificate signer = loadCertificate(issuer);
    const Key key(X509_get_pubkey(signer.get()));
    return key != nullptr && X509_verify(subject.get(), key.get()) > 0;
  }

  Work chainVerifier(const ChainOctets& chain) const override {
    return [loaded = std::make_shared<OpensslChain>(chain)] { return loaded->verify(); };
  }

  std::unique_ptr<Reader> reader() const override { return std::make_unique<OpensslReader>(); }

  bool loadBundle(Octets bundle, size_t count) const override {
    const unsigned char* at = bundle.data();
    const std::unique_ptr<PKCS7, OpensslFree<PKCS7_free>> loaded(
        d2i_PKCS7(nullptr, &at, static_cast<long>(bundle.size())));
    return loaded != nullptr && static_cast<size_t>(sk_X509_num(loaded->d.sign->cert)) == count;
  }
};

}  // namespace

#ifdef VELMORA_IS_PEER_MODULE
extern "C" Peer* makePeer() {
  const std::string version = OpenSSL_version(OPENSSL_VERSION);
  const std::string title = version.substr(0, version.find(' ', version.find(' ') + 1));
  return new OpensslPeer({"peer", title, version});
}
#else
std::unique_ptr<Peer> makeOpenssl() {
  return std::make_unique<OpensslPeer>(
      Peer::Identity{"openssl", "OpenSSL", OpenSSL_version(OPENSSL_VERSION)});
}
#endif

}  // namespace velmora::bench
