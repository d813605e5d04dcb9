#include "bench/signatures/signed_material.h"

#include <openssl/dsa.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace velmora::bench {

namespace {

constexpr size_t kMessageSize = 1'000;

DataBuffer toBuffer(const unsigned char* bytes, size_t size) {
  DataBuffer out;
  require(out.append(bytes, size), "memory");
  return out;
}

// The DER that an i2d function of libcrypto writes.
template <class Object>
DataBuffer toDer(int (*write)(Object*, unsigned char**), Object* object) {
  unsigned char* der = nullptr;
  const int size = write(object, &der);
  require(size > 0, "DER");
  DataBuffer out = toBuffer(der, static_cast<size_t>(size));
  OPENSSL_free(der);
  return out;
}

Key makeDsaKey(size_t bits) {
  EVP_PKEY* parameters = nullptr;
  const KeyContext forParameters(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
  require(EVP_PKEY_paramgen_init(forParameters.get()) > 0 &&
              EVP_PKEY_CTX_set_dsa_paramgen_bits(forParameters.get(), static_cast<int>(bits)) > 0 &&
              EVP_PKEY_CTX_set_dsa_paramgen_q_bits(forParameters.get(), 256) > 0 &&
              EVP_PKEY_paramgen(forParameters.get(), &parameters) > 0,
          "DSA parameters");
  const Key owner(parameters);
  EVP_PKEY* key = nullptr;
  const KeyContext forKey(EVP_PKEY_CTX_new_from_pkey(nullptr, parameters, nullptr));
  require(EVP_PKEY_keygen_init(forKey.get()) > 0 && EVP_PKEY_keygen(forKey.get(), &key) > 0,
          "DSA key");
  return Key(key);
}

DigestContext signingContext(const Scheme& scheme, EVP_PKEY* key) {
  DigestContext context(EVP_MD_CTX_new());
  EVP_PKEY_CTX* keyContext = nullptr;
  require(EVP_DigestSignInit(context.get(), &keyContext, hashOf(scheme), nullptr, key) > 0,
          "signing");
  require(choosePadding(keyContext, scheme), "padding");
  return context;
}

void setName(X509_NAME* name, const std::string& commonName) {
  const auto add = [name](const char* type, const std::string& value) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.c_str());
    require(X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8, bytes, -1, -1, 0) > 0, "name");
  };
  add("C", "DE");
  add("O", "Benchmark");
  add("CN", commonName);
}

}  // namespace

const std::vector<Scheme>& schemes() {
  static const std::vector<Scheme> all = {
      {"rsa2048", "RSA", 2048, nullptr, 256, false}, {"rsa4096", "RSA", 4096, nullptr, 256, false},
      {"pss2048", "RSA", 2048, nullptr, 256, true},  {"p256", "EC", 0, "P-256", 256, false},
      {"p384", "EC", 0, "P-384", 384, false},        {"p521", "EC", 0, "P-521", 512, false},
      {"ed25519", "ED25519", 0, nullptr, 0, false},  {"dsa2048", "DSA", 2048, nullptr, 256, false},
  };
  return all;
}

Key makeKey(const Scheme& scheme) {
  const std::string_view type = scheme.keyType;
  if (type == "DSA") return makeDsaKey(scheme.bits);
  Key key(type == "RSA"  ? EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", scheme.bits)
          : type == "EC" ? EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", scheme.curve)
                         : EVP_PKEY_Q_keygen(nullptr, nullptr, scheme.keyType));
  require(key != nullptr, "key");
  return key;
}

DataBuffer spkiOf(EVP_PKEY* key) {
  return toDer<const EVP_PKEY>(i2d_PUBKEY, key);
}

SignedMessage signMessage(const Scheme& scheme, EVP_PKEY* key) {
  const std::vector<unsigned char> message(kMessageSize, 'm');
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned digestSize = 0;
  if (scheme.hashBits != 0) {
    require(
        EVP_Digest(message.data(), kMessageSize, digest, &digestSize, hashOf(scheme), nullptr) > 0,
        "digest");
  }
  std::vector<unsigned char> signature(static_cast<size_t>(EVP_PKEY_get_size(key)));
  size_t size = signature.size();
  require(EVP_DigestSign(signingContext(scheme, key).get(), signature.data(), &size, message.data(),
                         kMessageSize) > 0,
          "signature");
  return {toBuffer(message.data(), kMessageSize), toBuffer(digest, digestSize),
          toBuffer(signature.data(), size)};
}

DataBuffer makeCertificate(const Scheme& scheme, EVP_PKEY* key, const std::string& subject,
                           const std::string& issuer) {
  static long serial = 0x1000'0000;
  const Certificate certificate(X509_new());
  X509* x509 = certificate.get();
  setName(X509_get_subject_name(x509), subject);
  setName(X509_get_issuer_name(x509), issuer);
  const bool made = X509_set_version(x509, X509_VERSION_3) > 0 &&
                    ASN1_INTEGER_set(X509_get_serialNumber(x509), ++serial) > 0 &&
                    X509_gmtime_adj(X509_getm_notBefore(x509), 0) != nullptr &&
                    X509_gmtime_adj(X509_getm_notAfter(x509), 86'400) != nullptr &&
                    X509_set_pubkey(x509, key) > 0 &&
                    X509_sign_ctx(x509, signingContext(scheme, key).get()) > 0;
  require(made, "certificate");
  return toDer<const X509>(i2d_X509, x509);
}

void require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "%s failed\n", what);
  ERR_print_errors_fp(stderr);
  std::exit(1);
}

}  // namespace velmora::bench
