#include "bench/paths/chain.h"

#include <openssl/x509v3.h>

namespace velmora::bench {

namespace {

using Configuration = std::unique_ptr<CONF, OpensslFree<NCONF_free>>;

constexpr char kHost[] = "www.example.org";

struct Contents {
  const char* subject;
  const char* issuer;
  std::vector<std::pair<int, const char*>> extensions;  // as OpenSSL's configuration writes them
};

const std::vector<Contents>& contentsOfChain() {
  static const std::vector<Contents> all = {
      {"www.example.org",
       "Issuing CA",
       {{NID_basic_constraints, "critical,CA:FALSE"},
        {NID_key_usage, "critical,digitalSignature"},
        {NID_ext_key_usage, "serverAuth,clientAuth"},
        {NID_subject_alt_name, "DNS:www.example.org,DNS:example.org"},
        {NID_certificate_policies, "2.23.140.1.2.1"},
        {NID_crl_distribution_points, "URI:http://crl.example.org/issuing.crl"},
        {NID_info_access,
         "OCSP;URI:http://ocsp.example.org,"
         "caIssuers;URI:http://ca.example.org/issuing.cer"}}},
      {"Issuing CA",
       "Root",
       {{NID_basic_constraints, "critical,CA:TRUE,pathlen:0"},
        {NID_key_usage, "critical,keyCertSign,cRLSign"},
        {NID_ext_key_usage, "serverAuth,clientAuth"},
        {NID_certificate_policies, "2.23.140.1.2.1"},
        {NID_crl_distribution_points, "URI:http://crl.example.org/root.crl"}}},
      {"Root",
       "Root",
       {{NID_basic_constraints, "critical,CA:TRUE"},
        {NID_key_usage, "critical,keyCertSign,cRLSign"}}},
  };
  return all;
}

void addExtensions(X509* certificate, X509* issuer, const Contents& contents) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const Configuration empty(NCONF_new(nullptr));  // some kinds of extensions insist on one
  X509V3_set_nconf(&context, empty.get());
  const auto add = [&](int type, const char* value) {
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, type, value);
    require(extension != nullptr && X509_add_ext(certificate, extension, -1) > 0, "extension");
    X509_EXTENSION_free(extension);
  };
  add(NID_subject_key_identifier, "hash");
  if (issuer != certificate) add(NID_authority_key_identifier, "keyid:always");
  for (const auto& [type, value] : contents.extensions) add(type, value);
}

Certificate makeSigned(const Scheme& scheme, const Contents& contents, EVP_PKEY* key, X509* issuer,
                       EVP_PKEY* issuerKey) {
  const DataBuffer der = makeCertificate(scheme, key, contents.subject, contents.issuer);
  const unsigned char* at = der.data();
  Certificate made(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  require(made != nullptr, "certificate");
  addExtensions(made.get(), issuer != nullptr ? issuer : made.get(), contents);
  require(X509_sign(made.get(), issuerKey, hashOf(scheme)) > 0, "signature");
  return made;
}

// As if it came from a file.
DataBuffer derOf(X509* certificate) {
  unsigned char* octets = nullptr;
  const int size = i2d_X509(certificate, &octets);
  DataBuffer der;
  require(size > 0 && der.append(octets, static_cast<size_t>(size)), "DER");
  OPENSSL_free(octets);
  return der;
}

velmora::Certificate typedOf(const DataBuffer& der) {
  const auto parsed = velmora::Certificate::parse(std::as_bytes(der.span()));
  require(static_cast<bool>(parsed), "parsing");
  return *parsed;
}

}  // namespace

Chain::Chain(const Scheme& scheme) : m_scheme(scheme) {
  const std::vector<Contents>& contents = contentsOfChain();
  Key issuerKey;
  Certificate issuer;
  for (size_t place = contents.size(); place-- > 0;) {
    Key key = makeKey(scheme);
    EVP_PKEY* const signer = issuerKey ? issuerKey.get() : key.get();
    issuer = makeSigned(scheme, contents[place], key.get(), issuer.get(), signer);
    issuerKey = std::move(key);
    m_ders.push_front(derOf(issuer.get()));
    m_typed.insert(m_typed.begin(), typedOf(m_ders.front()));
  }
  m_intermediates = CertificateSet(std::span(&intermediate(), 1));
  m_options.purpose = Purpose::server;
  m_options.target = *Target::host(kHost);
  require(verify(newAnchors()), "the chain");
}

bool Chain::verify(const TrustAnchors& anchors) const {
  return static_cast<bool>(velmora::verify(leaf(), anchors, m_intermediates, m_options));
}

ChainOctets Chain::octets() const {
  return {m_ders[0].span(), m_ders[1].span(), m_ders[2].span(), kHost};
}

}  // namespace velmora::bench
