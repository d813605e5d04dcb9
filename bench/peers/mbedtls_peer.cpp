#include <mbedtls/oid.h>
#include <mbedtls/pk.h>
#include <mbedtls/version.h>
#include <mbedtls/x509_crt.h>

#include <optional>
#include <vector>

#include "bench/peers/peer.h"

namespace velmora::bench {

namespace {

struct MbedtlsKey {
  MbedtlsKey() { mbedtls_pk_init(&context); }
  ~MbedtlsKey() { mbedtls_pk_free(&context); }
  MbedtlsKey(const MbedtlsKey&) = delete;
  MbedtlsKey& operator=(const MbedtlsKey&) = delete;

  mbedtls_pk_context context;
};

struct MbedtlsCertificate {
  MbedtlsCertificate() { mbedtls_x509_crt_init(&certificate); }
  ~MbedtlsCertificate() { mbedtls_x509_crt_free(&certificate); }
  MbedtlsCertificate(const MbedtlsCertificate&) = delete;
  MbedtlsCertificate& operator=(const MbedtlsCertificate&) = delete;

  bool load(Octets der) {
    return mbedtls_x509_crt_parse_der(&certificate, der.data(), der.size()) == 0;
  }

  mbedtls_x509_crt certificate;
};

mbedtls_md_type_t hashOf(const Scheme& scheme) {
  return scheme.hashBits == 256   ? MBEDTLS_MD_SHA256
         : scheme.hashBits == 384 ? MBEDTLS_MD_SHA384
                                  : MBEDTLS_MD_SHA512;
}

class MbedtlsReader final : public Reader {
 public:
  bool load(Octets der) override {
    const size_t room = 8 * der.size();  // enough for a name, however it is escaped
    if (m_text.size() < room) m_text.resize(room);
    return m_certificate.emplace().load(der);
  }

  void unload() override { m_certificate.reset(); }

  bool readSubject() override { return readName(of().subject); }

  bool readAlternativeNames() override {
    for (const mbedtls_x509_sequence* at = &of().subject_alt_names; at != nullptr; at = at->next) {
      mbedtls_x509_subject_alternative_name name;
      if (at->buf.p == nullptr || mbedtls_x509_parse_subject_alt_name(&at->buf, &name) != 0)
        continue;
      const mbedtls_x509_buf& text = name.san.unstructured_name;
      m_name.assign(text.p, text.p + text.len);
    }
    return true;
  }

  // Dates are in parts already; what kind the key is of has no OID.
  bool readFields() override {
    return readSubject() && readName(of().issuer) &&
           mbedtls_x509_serial_gets(m_text.data(), m_text.size(), &of().serial) > 0 &&
           mbedtls_oid_get_numeric_string(m_text.data(), m_text.size(), &of().sig_oid) > 0;
  }

  bool readRest() override { return false; }  // no key identifiers

 private:
  const mbedtls_x509_crt& of() const { return m_certificate->certificate; }

  bool readName(const mbedtls_x509_name& name) {
    return mbedtls_x509_dn_gets(m_text.data(), m_text.size(), &name) >= 0;
  }

  std::optional<MbedtlsCertificate> m_certificate;
  std::vector<char> m_text;
  std::vector<unsigned char> m_name;
};

// The leaf with its issuer behind it, and the root.
struct MbedtlsChain {
  explicit MbedtlsChain(const ChainOctets& chain) : host(chain.host) {
    leaf.load(chain.leaf);
    leaf.load(chain.intermediate);
    root.load(chain.root);
  }

  bool verify() {
    uint32_t faults = 0;
    return mbedtls_x509_crt_verify(&leaf.certificate, &root.certificate, nullptr, host.c_str(),
                                   &faults, nullptr, nullptr) == 0 &&
           mbedtls_x509_crt_check_extended_key_usage(&leaf.certificate, MBEDTLS_OID_SERVER_AUTH,
                                                     MBEDTLS_OID_SIZE(MBEDTLS_OID_SERVER_AUTH)) ==
               0;
  }

  MbedtlsCertificate leaf, root;
  std::string host;
};

class MbedtlsPeer final : public Peer {
 public:
  using Peer::Peer;

  Work verifier(const Scheme& scheme, Octets spki, const Signed& made) const override {
    const auto key = std::make_shared<MbedtlsKey>();
    unsigned char* at = const_cast<unsigned char*>(spki.data());  // only read
    if (scheme.hashBits == 0 ||
        mbedtls_pk_parse_subpubkey(&at, at + spki.size(), &key->context) != 0) {
      return {};
    }
    const mbedtls_md_type_t hash = hashOf(scheme);
    const mbedtls_pk_type_t type =
        scheme.pss ? MBEDTLS_PK_RSASSA_PSS : mbedtls_pk_get_type(&key->context);
    return [key, hash, type, made] {
      const mbedtls_pk_rsassa_pss_options pss = {hash, 32};
      return mbedtls_pk_verify_ext(type, type == MBEDTLS_PK_RSASSA_PSS ? &pss : nullptr,
                                   &key->context, hash, made.digest.data(), made.digest.size(),
                                   made.signature.data(), made.signature.size()) == 0;
    };
  }

  bool verifyCertificate(const Scheme& scheme, Octets leaf, Octets issuer) const override {
    MbedtlsCertificate subject;
    MbedtlsCertificate signer;
    if (!subject.load(leaf) || !signer.load(issuer)) return false;
    mbedtls_x509_crt& of = subject.certificate;
    unsigned char digest[MBEDTLS_MD_MAX_SIZE];
    return mbedtls_md(mbedtls_md_info_from_type(of.sig_md), of.tbs.p, of.tbs.len, digest) == 0 &&
           mbedtls_pk_verify_ext(of.sig_pk, of.sig_opts, &signer.certificate.pk, of.sig_md, digest,
                                 scheme.hashBits / 8, of.sig.p, of.sig.len) == 0;
  }

  Work chainVerifier(const ChainOctets& chain) const override {
    return [loaded = std::make_shared<MbedtlsChain>(chain)] { return loaded->verify(); };
  }

  std::unique_ptr<Reader> reader() const override { return std::make_unique<MbedtlsReader>(); }
};

}  // namespace

std::unique_ptr<Peer> makeMbedtls() {
  char version[18];
  mbedtls_version_get_string_full(version);
  return std::make_unique<MbedtlsPeer>(Peer::Identity{"mbedtls", "mbedTLS", version});
}

}  // namespace velmora::bench
