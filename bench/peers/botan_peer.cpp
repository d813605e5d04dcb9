#include <botan/base64.h>
#include <botan/data_src.h>
#include <botan/hash.h>
#include <botan/hex.h>
#include <botan/pk_keys.h>
#include <botan/pubkey.h>
#include <botan/version.h>
#include <botan/x509_ext.h>
#include <botan/x509_key.h>
#include <botan/x509cert.h>
#include <botan/x509path.h>

#include <optional>

#include "bench/peers/peer.h"

namespace velmora::bench {

namespace {

std::string paddingOf(const Scheme& scheme) {
  const std::string type = scheme.keyType;
  if (type == "ED25519") return "Pure";
  if (type != "RSA") return "Raw";
  const std::string hash = "SHA-" + std::to_string(scheme.hashBits);
  return scheme.pss ? "PSSR_Raw(" + hash + ",MGF1,32)" : "EMSA3(Raw," + hash + ")";
}

// A key and what verifies with it; what is not refused with an answer is refused with an exception.
struct BotanVerifier {
  BotanVerifier(const Scheme& scheme, Octets spki)
      : key(Botan::X509::load_key(std::vector<uint8_t>(spki.begin(), spki.end()))),
        verifier(*key, paddingOf(scheme),
                 paddingOf(scheme) == "Raw" ? Botan::DER_SEQUENCE : Botan::IEEE_1363) {}

  std::unique_ptr<Botan::Public_Key> key;
  Botan::PK_Verifier verifier;
};

Botan::X509_Certificate load(Octets der) {
  Botan::DataSource_Memory source(der.data(), der.size());
  return Botan::X509_Certificate(source);
}

template <class Do>
auto orNothing(Do run) -> decltype(run()) {
  try {
    return run();
  } catch (const std::exception&) {
    return {};
  }
}

class BotanReader final : public Reader {
 public:
  bool load(Octets der) override {
    return orNothing([&] {
      m_certificate.emplace(bench::load(der));
      return true;
    });
  }

  void unload() override { m_certificate.reset(); }

  bool readSubject() override {
    m_subject = m_certificate->subject_dn().to_string();
    return true;
  }

  bool readAlternativeNames() override {
    m_names = m_certificate->subject_alt_name().contents();
    return true;
  }

  bool readFields() override {
    const Botan::X509_Certificate& certificate = *m_certificate;
    readSubject();
    m_issuer = certificate.issuer_dn().to_string();
    m_serial = Botan::hex_encode(certificate.serial_number());
    m_notBefore = certificate.not_before().to_std_timepoint();
    m_notAfter = certificate.not_after().to_std_timepoint();
    m_version = certificate.x509_version();
    m_algorithm = certificate.signature_algorithm().get_oid().to_string();
    m_keyAlgorithm = certificate.subject_public_key_algo().get_oid().to_string();
    return true;
  }

  bool readRest() override {
    const Botan::X509_Certificate& certificate = *m_certificate;
    for (const char* attribute : {"X520.CommonName", "X520.Organization", "X520.Country"}) {
      m_attributes = certificate.subject_dn().get_attribute(attribute);
    }
    m_octets = certificate.subject_key_id();
    m_octets = certificate.authority_key_id();
    readAlternativeNames();
    m_attributes = certificate.subject_alt_name().get_attribute("RFC822");
    for (const char* oid : {"2.5.29.19", "2.5.29.15"}) {
      const Botan::OID type(oid);
      const Botan::Extensions& extensions = certificate.v3_extensions();
      if (extensions.extension_set(type)) m_octets = extensions.get_extension_bits(type);
    }
    m_octets = certificate.subject_public_key_info();
    m_thumbprint = certificate.fingerprint("SHA-1");
    m_pin = Botan::base64_encode(m_sha256->process(m_octets));
    return true;
  }

 private:
  std::optional<Botan::X509_Certificate> m_certificate;
  std::string m_subject, m_issuer, m_serial, m_algorithm, m_keyAlgorithm, m_thumbprint, m_pin;
  std::chrono::system_clock::time_point m_notBefore, m_notAfter;
  uint32_t m_version = 0;
  std::multimap<std::string, std::string> m_names;
  std::vector<std::string> m_attributes;
  std::vector<uint8_t> m_octets;
  const std::unique_ptr<Botan::HashFunction> m_sha256 =
      Botan::HashFunction::create_or_throw("SHA-256");
};

class BotanPeer final : public Peer {
 public:
  using Peer::Peer;

  Work verifier(const Scheme& scheme, Octets spki, const Signed& made) const override {
    return orNothing([&]() -> Work {
      const auto ready = std::make_shared<BotanVerifier>(scheme, spki);
      const Octets what = scheme.hashBits == 0 ? made.message : made.digest;
      return [ready, what, signature = made.signature] {
        return orNothing([&] {
          return ready->verifier.verify_message(what.data(), what.size(), signature.data(),
                                                signature.size());
        });
      };
    });
  }

  bool verifyCertificate(const Scheme&, Octets leaf, Octets issuer) const override {
    return orNothing([&] {
      const std::unique_ptr<Botan::Public_Key> key(load(issuer).load_subject_public_key());
      return load(leaf).check_signature(*key);
    });
  }

  Work chainVerifier(const ChainOctets& chain) const override {
    const auto store = std::make_shared<Botan::Certificate_Store_In_Memory>(load(chain.root));
    const std::vector<Botan::X509_Certificate> certificates = {load(chain.leaf),
                                                               load(chain.intermediate)};
    return
        [store, certificates, host = chain.host, limits = Botan::Path_Validation_Restrictions()] {
          return Botan::x509_path_validate(certificates, limits, *store, host,
                                           Botan::Usage_Type::TLS_SERVER_AUTH)
              .successful_validation();
        };
  }

  std::unique_ptr<Reader> reader() const override { return std::make_unique<BotanReader>(); }
};

}  // namespace

std::unique_ptr<Peer> makeBotan() {
  return std::make_unique<BotanPeer>(
      Peer::Identity{"botan", "Botan", "Botan " + Botan::short_version_string()});
}

}  // namespace velmora::bench
