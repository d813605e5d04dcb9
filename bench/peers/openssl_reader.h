#pragma once

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <ctime>

#include "bench/peers/openssl_handles.h"
#include "bench/peers/peer.h"

namespace velmora::bench {

/// Reads from certificates with OpenSSL what VelmoraReader reads.
class OpensslReader final : public Reader {
 public:
  ~OpensslReader() override {
    BN_free(m_serial);
    OPENSSL_free(m_serialText);
  }

  bool load(Octets der) override {
    m_owner = loadCertificate(der);
    m_certificate = m_owner.get();
    return m_certificate != nullptr;
  }

  void unload() override { m_owner.reset(); }

  bool readSubject() override {
    return printName(X509_get_subject_name(m_certificate), m_subject.get());
  }

  bool readAlternativeNames() override {
    auto* names = static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(m_certificate, NID_subject_alt_name, nullptr, nullptr));
    const Text text(BIO_new(BIO_s_mem()));
    const auto count = names == nullptr ? 0 : sk_GENERAL_NAME_num(names);
    for (auto i = count - count; i < count; ++i) {
      GENERAL_NAME_print(text.get(), sk_GENERAL_NAME_value(names, i));
    }
    GENERAL_NAMES_free(names);
    return true;
  }

  bool readFields() override {
    readSubject();
    printName(X509_get_issuer_name(m_certificate), m_issuer.get());
    BN_free(m_serial);
    m_serial = ASN1_INTEGER_to_BN(X509_get0_serialNumber(m_certificate), nullptr);
    OPENSSL_free(m_serialText);
    m_serialText = BN_bn2hex(m_serial);
    toParts(X509_get0_notBefore(m_certificate), m_notBefore);
    toParts(X509_get0_notAfter(m_certificate), m_notAfter);
    m_version = X509_get_version(m_certificate);
    readAlgorithms();
    return true;
  }

  bool readRest() override {
    const X509_NAME* subject = X509_get_subject_name(m_certificate);
    for (const int attribute : {NID_commonName, NID_organizationName, NID_countryName}) {
      X509_NAME_get_text_by_NID(subject, attribute, m_text, sizeof m_text);
    }
    readIdentifiers();
    readAlternativeNames();
    X509_email_free(X509_get1_email(m_certificate));
    for (const int extension : {NID_basic_constraints, NID_key_usage}) {
      const int index = X509_get_ext_by_NID(m_certificate, extension, -1);
      if (index >= 0) m_value = X509_EXTENSION_get_data(X509_get_ext(m_certificate, index));
    }
    readKey();
    unsigned char digest[EVP_MAX_MD_SIZE];
    X509_digest(m_certificate, EVP_sha1(), digest, nullptr);
    const Number thumbprint(BN_bin2bn(digest, 20, nullptr));
    OPENSSL_free(BN_bn2hex(thumbprint.get()));
    return true;
  }

 private:
  using Text = std::unique_ptr<BIO, OpensslFree<BIO_free>>;

  static bool printName(X509_NAME* name, BIO* out) {
    BIO_reset(out);
    return X509_NAME_print_ex(out, name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB) >= 0;
  }

  static void toParts(const ASN1_TIME* time, tm& parts) {
#ifdef OPENSSL_IS_BORINGSSL
    int64_t seconds = 0;
    ASN1_TIME_to_posix(time, &seconds);
    const time_t clock = seconds;
    gmtime_r(&clock, &parts);
#else
    ASN1_TIME_to_tm(time, &parts);
#endif
  }

  static void printOid(const ASN1_OBJECT* oid, char (&out)[80]) {
    OBJ_obj2txt(out, sizeof out, oid, 1);
  }

  void readAlgorithms() {
    const X509_ALGOR* outer = nullptr;
    X509_get0_signature(nullptr, &outer, m_certificate);
    ASN1_OBJECT* key = nullptr;
    X509_PUBKEY_get0_param(&key, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(m_certificate));
    printOid(X509_get0_tbs_sigalg(m_certificate)->algorithm, m_innerAlgorithm);
    printOid(outer->algorithm, m_outerAlgorithm);
    printOid(key, m_keyAlgorithm);
  }

  void readIdentifiers() {
    ASN1_OCTET_STRING_free(static_cast<ASN1_OCTET_STRING*>(
        X509_get_ext_d2i(m_certificate, NID_subject_key_identifier, nullptr, nullptr)));
    AUTHORITY_KEYID_free(static_cast<AUTHORITY_KEYID*>(
        X509_get_ext_d2i(m_certificate, NID_authority_key_identifier, nullptr, nullptr)));
  }

  void readKey() {
    unsigned char* spki = nullptr;
    const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(m_certificate), &spki);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned char base64[64];
    EVP_Digest(spki, static_cast<size_t>(size), digest, nullptr, EVP_sha256(), nullptr);
    EVP_EncodeBlock(base64, digest, 32);
    OPENSSL_free(spki);
  }

  Certificate m_owner;
  X509* m_certificate = nullptr;
  Text m_subject{BIO_new(BIO_s_mem())}, m_issuer{BIO_new(BIO_s_mem())};
  BIGNUM* m_serial = nullptr;
  char* m_serialText = nullptr;
  tm m_notBefore{}, m_notAfter{};
  long m_version = 0;
  char m_innerAlgorithm[80], m_outerAlgorithm[80], m_keyAlgorithm[80];
  char m_text[256];
  const ASN1_OCTET_STRING* m_value = nullptr;
};

}  // namespace velmora::bench
