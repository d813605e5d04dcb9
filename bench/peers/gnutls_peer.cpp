#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>
#include <gnutls/pkcs7.h>
#include <gnutls/x509-ext.h>
#include <gnutls/x509.h>

#include <ctime>
#include <string_view>
#include <type_traits>
#include <vector>

#include "bench/peers/peer.h"

namespace velmora::bench {

namespace {

template <auto kFree>
struct Free {
  template <class Handle>
  void operator()(Handle* handle) const {
    kFree(handle);
  }
};
using GnutlsKey =
    std::unique_ptr<std::remove_pointer_t<gnutls_pubkey_t>, Free<gnutls_pubkey_deinit>>;
using GnutlsCertificate =
    std::unique_ptr<std::remove_pointer_t<gnutls_x509_crt_t>, Free<gnutls_x509_crt_deinit>>;

// GnuTLS reads what it takes as mutable.
gnutls_datum_t datum(Octets octets) {
  return {const_cast<unsigned char*>(octets.data()), static_cast<unsigned>(octets.size())};
}

gnutls_sign_algorithm_t algorithmOf(const Scheme& scheme) {
  const std::string_view type = scheme.keyType;
  if (type == "ED25519") return GNUTLS_SIGN_EDDSA_ED25519;
  if (type == "DSA") return GNUTLS_SIGN_DSA_SHA256;
  if (type == "RSA") return scheme.pss ? GNUTLS_SIGN_RSA_PSS_SHA256 : GNUTLS_SIGN_RSA_SHA256;
  return scheme.hashBits == 256   ? GNUTLS_SIGN_ECDSA_SHA256
         : scheme.hashBits == 384 ? GNUTLS_SIGN_ECDSA_SHA384
                                  : GNUTLS_SIGN_ECDSA_SHA512;
}

GnutlsKey loadKey(Octets spki) {
  gnutls_pubkey_t key = nullptr;
  gnutls_pubkey_init(&key);
  GnutlsKey owner(key);
  const gnutls_datum_t der = datum(spki);
  return gnutls_pubkey_import(key, &der, GNUTLS_X509_FMT_DER) < 0 ? nullptr : std::move(owner);
}

GnutlsCertificate load(Octets octets) {
  gnutls_x509_crt_t certificate = nullptr;
  gnutls_x509_crt_init(&certificate);
  GnutlsCertificate owner(certificate);
  const gnutls_datum_t der = datum(octets);
  const bool good = gnutls_x509_crt_import(certificate, &der, GNUTLS_X509_FMT_DER) >= 0;
  return good ? std::move(owner) : nullptr;
}

class GnutlsReader final : public Reader {
 public:
  bool load(Octets der) override {
    m_certificate = bench::load(der);
    return m_certificate != nullptr;
  }

  void unload() override { m_certificate.reset(); }

  bool readSubject() override {
    Answer text;
    return gnutls_x509_crt_get_dn2(m_certificate.get(), &text.datum) >= 0;
  }

  bool readAlternativeNames() override {
    gnutls_datum_t value = {};
    if (gnutls_x509_crt_get_extension_by_oid2(m_certificate.get(), GNUTLS_X509EXT_OID_SAN, 0,
                                              &value, nullptr) < 0) {
      return true;
    }
    const Answer owner{value};
    gnutls_subject_alt_names_t names = nullptr;
    gnutls_subject_alt_names_init(&names);
    bool good = gnutls_x509_ext_import_subject_alt_names(&value, names, 0) >= 0;
    gnutls_datum_t name = {};
    unsigned type = 0;
    for (unsigned i = 0; good && gnutls_subject_alt_names_get(names, i, &type, &name, nullptr) >= 0;
         ++i) {
      m_name.assign(name.data, name.data + name.size);
    }
    gnutls_subject_alt_names_deinit(names);
    return good;
  }

  bool readFields() override {
    const gnutls_x509_crt_t certificate = m_certificate.get();
    Answer issuer;
    Answer serial;
    size_t size = sizeof m_octets;
    bool good = readSubject() && gnutls_x509_crt_get_issuer_dn2(certificate, &issuer.datum) >= 0 &&
                gnutls_x509_crt_get_serial(certificate, m_octets, &size) >= 0;
    const gnutls_datum_t number = {m_octets, static_cast<unsigned>(size)};
    good = good && gnutls_hex_encode2(&number, &serial.datum) >= 0;
    const time_t notBefore = gnutls_x509_crt_get_activation_time(certificate);
    const time_t notAfter = gnutls_x509_crt_get_expiration_time(certificate);
    gmtime_r(&notBefore, &m_date);
    gmtime_r(&notAfter, &m_date);
    size = sizeof m_text;
    good = good && gnutls_x509_crt_get_version(certificate) > 0 &&
           gnutls_x509_crt_get_signature_oid(certificate, m_text, &size) >= 0;
    size = sizeof m_text;
    return good && gnutls_x509_crt_get_pk_oid(certificate, m_text, &size) >= 0;
  }

  bool readRest() override {
    const gnutls_x509_crt_t certificate = m_certificate.get();
    for (const char* oid : {GNUTLS_OID_X520_COMMON_NAME, GNUTLS_OID_X520_ORGANIZATION_NAME,
                            GNUTLS_OID_X520_COUNTRY_NAME}) {
      size_t size = sizeof m_text;
      gnutls_x509_crt_get_dn_by_oid(certificate, oid, 0, 0, m_text, &size);
    }
    size_t size = sizeof m_octets;
    gnutls_x509_crt_get_subject_key_id(certificate, m_octets, &size, nullptr);
    size = sizeof m_octets;
    gnutls_x509_crt_get_authority_key_id(certificate, m_octets, &size, nullptr);
    for (const char* oid : {GNUTLS_X509EXT_OID_BASIC_CONSTRAINTS, GNUTLS_X509EXT_OID_KEY_USAGE}) {
      Answer value;
      gnutls_x509_crt_get_extension_by_oid2(certificate, oid, 0, &value.datum, nullptr);
    }
    size = sizeof m_octets;
    return readAlternativeNames() && readKey() &&
           gnutls_x509_crt_get_fingerprint(certificate, GNUTLS_DIG_SHA1, m_octets, &size) >= 0;
  }

 private:
  // What GnuTLS hands over.
  struct Answer {
    Answer() = default;
    explicit Answer(gnutls_datum_t taken) : datum(taken) {}
    ~Answer() { gnutls_free(datum.data); }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    gnutls_datum_t datum = {};
  };

  bool readKey() {
    gnutls_pubkey_t key = nullptr;
    gnutls_pubkey_init(&key);
    const GnutlsKey owner(key);
    Answer spki;
    Answer pin;
    size_t size = sizeof m_octets;
    const bool good = gnutls_pubkey_import_x509(key, m_certificate.get(), 0) >= 0 &&
                      gnutls_pubkey_export2(key, GNUTLS_X509_FMT_DER, &spki.datum) >= 0 &&
                      gnutls_x509_crt_get_key_id(m_certificate.get(), GNUTLS_KEYID_USE_SHA256,
                                                 m_octets, &size) >= 0;
    const gnutls_datum_t digest = {m_octets, static_cast<unsigned>(size)};
    return good && gnutls_base64_encode2(&digest, &pin.datum) >= 0;
  }

  GnutlsCertificate m_certificate;
  std::vector<unsigned char> m_name;
  unsigned char m_octets[256];
  char m_text[512];
  tm m_date;
};

// A list that trusts the root, and the other certificates.
class GnutlsChain {
 public:
  explicit GnutlsChain(const ChainOctets& chain)
      : m_leaf(load(chain.leaf)), m_intermediate(load(chain.intermediate)), m_host(chain.host) {
    gnutls_x509_trust_list_t list = nullptr;
    gnutls_x509_trust_list_init(&list, 0);
    m_list.reset(list);
    const gnutls_x509_crt_t root = load(chain.root).release();
    gnutls_x509_trust_list_add_cas(list, &root, 1, 0);  // which takes the root
  }

  bool verify() {
    gnutls_x509_crt_t certificates[] = {m_leaf.get(), m_intermediate.get()};
    unsigned char purpose[] = GNUTLS_KP_TLS_WWW_SERVER;
    auto* const host = reinterpret_cast<unsigned char*>(m_host.data());
    gnutls_typed_vdata_st what[] = {{GNUTLS_DT_DNS_HOSTNAME, host, 0},
                                    {GNUTLS_DT_KEY_PURPOSE_OID, purpose, 0}};
    unsigned faults = 0;
    return gnutls_x509_trust_list_verify_crt2(m_list.get(), certificates, 2, what, 2, 0, &faults,
                                              nullptr) >= 0 &&
           faults == 0;
  }

 private:
  struct FreeList {
    void operator()(gnutls_x509_trust_list_t list) const { gnutls_x509_trust_list_deinit(list, 1); }
  };

  GnutlsCertificate m_leaf, m_intermediate;
  std::string m_host;
  std::unique_ptr<std::remove_pointer_t<gnutls_x509_trust_list_t>, FreeList> m_list;
};

class GnutlsPeer final : public Peer {
 public:
  using Peer::Peer;

  Work verifier(const Scheme& scheme, Octets spki, const Signed& made) const override {
    const std::shared_ptr<std::remove_pointer_t<gnutls_pubkey_t>> key = loadKey(spki);
    if (key == nullptr) return {};
    const gnutls_sign_algorithm_t algorithm = algorithmOf(scheme);
    const auto verify =
        scheme.hashBits == 0 ? gnutls_pubkey_verify_data2 : gnutls_pubkey_verify_hash2;
    return [key, algorithm, verify, what = datum(scheme.hashBits == 0 ? made.message : made.digest),
            signature = datum(made.signature)] {
      return verify(key.get(), algorithm, 0, &what, &signature) >= 0;
    };
  }

  bool verifyCertificate(const Scheme&, Octets leaf, Octets issuer) const override {
    const GnutlsCertificate subject = load(leaf);
    const GnutlsCertificate signer = load(issuer);
    const gnutls_x509_crt_t authority = signer.get();
    constexpr unsigned kSignatureOnly = GNUTLS_VERIFY_DISABLE_CA_SIGN |
                                        GNUTLS_VERIFY_DISABLE_TIME_CHECKS |
                                        GNUTLS_VERIFY_DISABLE_TRUSTED_TIME_CHECKS;
    unsigned faults = 0;
    return gnutls_x509_crt_verify(subject.get(), &authority, 1, kSignatureOnly, &faults) >= 0 &&
           faults == 0;
  }

  Work chainVerifier(const ChainOctets& chain) const override {
    return [loaded = std::make_shared<GnutlsChain>(chain)] { return loaded->verify(); };
  }

  std::unique_ptr<Reader> reader() const override { return std::make_unique<GnutlsReader>(); }

  bool loadBundle(Octets octets, size_t count) const override {
    gnutls_pkcs7_t bundle = nullptr;
    gnutls_pkcs7_init(&bundle);
    const gnutls_datum_t der = datum(octets);
    bool good = gnutls_pkcs7_import(bundle, &der, GNUTLS_X509_FMT_DER) >= 0;
    for (size_t i = 0; good && i < count; ++i) {
      gnutls_datum_t one = {};
      good = gnutls_pkcs7_get_crt_raw2(bundle, static_cast<unsigned>(i), &one) >= 0 &&
             load({one.data, one.size}) != nullptr;
      gnutls_free(one.data);
    }
    gnutls_pkcs7_deinit(bundle);
    return good;
  }
};

}  // namespace

std::unique_ptr<Peer> makeGnutls() {
  return std::make_unique<GnutlsPeer>(
      Peer::Identity{"gnutls", "GnuTLS", "GnuTLS " + std::string(gnutls_check_version(nullptr))});
}

}  // namespace velmora::bench
