#include <benchmark/benchmark.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/benchmarks.h"
#include "x509/velmora_x509.h"

namespace velmora::bench {

namespace {

// Both sides load each certificate and take the same answers from it: subject and issuer as one
// line of UTF-8, the serial number in hexadecimal, both dates in parts, the version, and the dotted
// OIDs of the two signature algorithms and the key's. Both keep what may be kept from one
// certificate to the next.

class VelmoraFields {
 public:
  void take(const DataBuffer& der) {
    const RefOwner<VelmoraX509> owner(VelmoraX509::createNewX509());
    owner->incRefCount();
    VelmoraX509& certificate = *owner;
    certificate.loadX509DerAlt(der.data(), static_cast<unsigned int>(der.size()), nullptr, m_log);
    certificate.getDN(true, true, m_subject, m_log, 0);
    certificate.getDN(false, true, m_issuer, m_log, 0);
    m_serial.weakClear();
    certificate.get_SerialNumber(m_serial, m_log);
    certificate.get_Valid_To_or_From_UTC(true, m_notBefore, m_log);
    certificate.get_Valid_To_or_From_UTC(false, m_notAfter, m_log);
    certificate.get_Version(m_version, m_log);
    certificate.get_Signature(m_innerAlgorithm, m_log);
    certificate.get_SignatureAlgorithm(m_outerAlgorithm, m_log);
    certificate.get_PublicKeyAlgorithm(m_keyAlgorithm, m_log);
  }

 private:
  LogNull m_log;
  XString m_subject, m_issuer, m_serial, m_version;
  XString m_innerAlgorithm, m_outerAlgorithm, m_keyAlgorithm;
  VelmoraSysTime m_notBefore, m_notAfter;
};

class OpensslFields {
 public:
  void take(const DataBuffer& der) {
    const unsigned char* at = der.data();
    X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    if (certificate == nullptr) return;
    printName(X509_get_subject_name(certificate), m_subject.get());
    printName(X509_get_issuer_name(certificate), m_issuer.get());
    BN_free(m_serial);
    m_serial = ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr);
    OPENSSL_free(m_serialText);
    m_serialText = BN_bn2hex(m_serial);
    ASN1_TIME_to_tm(X509_get0_notBefore(certificate), &m_notBefore);
    ASN1_TIME_to_tm(X509_get0_notAfter(certificate), &m_notAfter);
    m_version = X509_get_version(certificate);
    algorithms(certificate);
    X509_free(certificate);
  }

  ~OpensslFields() {
    BN_free(m_serial);
    OPENSSL_free(m_serialText);
  }

 private:
  struct BioFree {
    void operator()(BIO* bio) const { BIO_free(bio); }
  };
  using Text = std::unique_ptr<BIO, BioFree>;

  static void printName(const X509_NAME* name, BIO* out) {
    BIO_reset(out);
    X509_NAME_print_ex(out, name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
  }

  static void printOid(const ASN1_OBJECT* oid, char (&out)[80]) {
    OBJ_obj2txt(out, sizeof out, oid, 1);
  }

  void algorithms(X509* certificate) {
    const X509_ALGOR* outer = nullptr;
    X509_get0_signature(nullptr, &outer, certificate);
    ASN1_OBJECT* key = nullptr;
    X509_PUBKEY_get0_param(&key, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(certificate));
    printOid(X509_get0_tbs_sigalg(certificate)->algorithm, m_innerAlgorithm);
    printOid(outer->algorithm, m_outerAlgorithm);
    printOid(key, m_keyAlgorithm);
  }

  Text m_subject{BIO_new(BIO_s_mem())}, m_issuer{BIO_new(BIO_s_mem())};
  BIGNUM* m_serial = nullptr;
  char* m_serialText = nullptr;
  tm m_notBefore{}, m_notAfter{};
  long m_version = 0;
  char m_innerAlgorithm[80], m_outerAlgorithm[80], m_keyAlgorithm[80];
};

template <class Fields>
void takeAll(benchmark::State& state, const Ders& ders) {
  Fields fields;
  for (auto _ : state) {
    for (const DataBuffer& der : ders) fields.take(der);
    benchmark::DoNotOptimize(fields);
  }
}

}  // namespace

void registerFields(const Ders& ders) {
  benchmark::RegisterBenchmark(
      "fields/velmora", [&ders](benchmark::State& state) { takeAll<VelmoraFields>(state, ders); });
  benchmark::RegisterBenchmark(
      "fields/openssl", [&ders](benchmark::State& state) { takeAll<OpensslFields>(state, ders); });
}

}  // namespace velmora::bench
