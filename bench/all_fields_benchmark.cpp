#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "bench/benchmarks.h"
#include "x509/velmora_x509.h"

namespace velmora::bench {

namespace {

// Both sides load each certificate and take what a store or a TLS layer asks for beyond the simple
// fields: three attributes of the subject, both key identifiers, the alternative names in a form to
// read, the e-mail addresses, two extension values, the public key, the SHA-1 thumbprint and the
// SHA-256 pin in base64.

class VelmoraAnswers {
 public:
  void take(const DataBuffer& der) {
    const RefOwner<VelmoraX509> owner(VelmoraX509::createNewX509());
    owner->incRefCount();
    VelmoraX509& certificate = *owner;
    certificate.loadX509DerAlt(der.data(), static_cast<unsigned int>(der.size()), nullptr, m_log);
    certificate.get_SubjectCN(m_commonName, m_log);
    certificate.get_SubjectO(m_organization, m_log);
    certificate.get_SubjectC(m_country, m_log);
    certificate.getSubjectKeyIdentifier(m_subjectKeyId, m_log);
    certificate.getAuthorityKeyIdentifier(m_authorityKeyId, m_log);
    certificate.getSubjectAlternativeNameXml(m_names, m_log);
    certificate.getEmailAddress(m_email, m_log);
    certificate.getExtensionDerDataByOid("2.5.29.19", m_basicConstraints, m_log);
    certificate.getExtensionDerDataByOid("2.5.29.15", m_keyUsage, m_log);
    certificate.get_PublicKey(m_publicKey, m_log);
    m_thumbprint.weakClear();
    certificate.get_Sha1ThumbprintX(m_thumbprint, m_log);
    m_pin.weakClear();
    certificate.getSpkiFingerprint(m_sha256, m_base64, m_pin, m_log);
  }

 private:
  LogNull m_log;
  StringBuffer m_sha256{"sha256"}, m_base64{"base64"};
  XString m_commonName, m_organization, m_country, m_names, m_email, m_thumbprint, m_pin;
  StringBuffer m_subjectKeyId, m_authorityKeyId;
  DataBuffer m_basicConstraints, m_keyUsage, m_publicKey;
};

class OpensslAnswers {
 public:
  void take(const DataBuffer& der) {
    const unsigned char* at = der.data();
    X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    if (certificate == nullptr) return;
    const X509_NAME* subject = X509_get_subject_name(certificate);
    for (const int attribute : {NID_commonName, NID_organizationName, NID_countryName}) {
      X509_NAME_get_text_by_NID(subject, attribute, m_text, sizeof m_text);
    }
    takeIdentifiers(certificate);
    takeNames(certificate);
    for (const int extension : {NID_basic_constraints, NID_key_usage}) {
      const int index = X509_get_ext_by_NID(certificate, extension, -1);
      if (index >= 0) m_value = X509_EXTENSION_get_data(X509_get_ext(certificate, index));
    }
    takeKey(certificate);
    unsigned char digest[EVP_MAX_MD_SIZE];
    X509_digest(certificate, EVP_sha1(), digest, nullptr);
    OPENSSL_free(OPENSSL_buf2hexstr(digest, 20));
    X509_free(certificate);
  }

 private:
  void takeIdentifiers(X509* certificate) {
    ASN1_OCTET_STRING_free(static_cast<ASN1_OCTET_STRING*>(
        X509_get_ext_d2i(certificate, NID_subject_key_identifier, nullptr, nullptr)));
    AUTHORITY_KEYID_free(static_cast<AUTHORITY_KEYID*>(
        X509_get_ext_d2i(certificate, NID_authority_key_identifier, nullptr, nullptr)));
  }

  void takeNames(X509* certificate) {
    auto* names = static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr));
    BIO* text = BIO_new(BIO_s_mem());
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
      GENERAL_NAME_print(text, sk_GENERAL_NAME_value(names, i));
    }
    BIO_free(text);
    GENERAL_NAMES_free(names);
    X509_email_free(X509_get1_email(certificate));
  }

  void takeKey(X509* certificate) {
    unsigned char* spki = nullptr;
    const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &spki);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned char base64[64];
    EVP_Digest(spki, static_cast<size_t>(size), digest, nullptr, EVP_sha256(), nullptr);
    EVP_EncodeBlock(base64, digest, 32);
    benchmark::DoNotOptimize(base64);
    OPENSSL_free(spki);
  }

  char m_text[256];
  const ASN1_OCTET_STRING* m_value = nullptr;
};

template <class Answers>
void takeAll(benchmark::State& state, const Ders& ders) {
  Answers answers;
  for (auto _ : state) {
    for (const DataBuffer& der : ders) answers.take(der);
    benchmark::DoNotOptimize(answers);
  }
}

}  // namespace

void registerAllFields(const Ders& ders) {
  benchmark::RegisterBenchmark("answers/velmora", [&ders](benchmark::State& state) {
    takeAll<VelmoraAnswers>(state, ders);
  });
  benchmark::RegisterBenchmark("answers/openssl", [&ders](benchmark::State& state) {
    takeAll<OpensslAnswers>(state, ders);
  });
}

}  // namespace velmora::bench
