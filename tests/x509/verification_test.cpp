#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "tests/x509/signed_certificates.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/x509/trusted_root_registration.h"

namespace velmora::test {
namespace {

SignedCertificates& signedCertificates() {
  static SignedCertificates instance;
  return instance;
}

// Keeps what a verification says itself, apart from what is said inside the contexts it opens.
class OwnLines final : public LogBase {
 public:
  explicit OwnLines(bool verbose = false) { m_verbose = verbose; }

  void LogError(const char* message) override { add(errors, message); }
  void LogInfo(const char* message) override { add(infos, message); }
  void LogData(const char* key, std::string_view value) override {
    add(data, key);
    values.append(key).append(": ").append(value).append("|");
  }
  void enterContext(const char* name) override {
    if (m_depth++ == 0) context = name;
    if (onContext) onContext(name);
  }
  void leaveContext() override { --m_depth; }

  std::function<void(std::string_view)> onContext;
  std::string context;
  std::string errors, infos;  // with | between them
  std::string data;           // keys, with a space between them
  std::string values = "|";   // with their keys, | before and behind each

 private:
  void add(std::string& texts, const char* text) const {
    if (m_depth != 1) return;
    if (!texts.empty()) texts += &texts == &data ? " " : "|";
    texts += text;
  }

  int m_depth = 0;
};

TEST(CertificateSignatures, AreJudgedAsTheyAre) {
  SignedCertificates& all = signedCertificates();
  ASSERT_GT(all.cases.size(), 200u);
  for (const auto& it : all.cases) {
    SCOPED_TRACE(it.name);
    LoadedX509 cert(it.der);
    OwnLines log;
    EXPECT_EQ(cert.verifyCertSignature(&all.issuer(it.by), log), it.valid);
    EXPECT_EQ(log.context, "verifyX509CertSignature");
    EXPECT_EQ(log.errors, it.errors);
    EXPECT_EQ(log.data, it.data);
    EXPECT_EQ(log.infos, "");
  }
}

TEST(CertificateSignatures, OfRootsNeedTrust) {
  const NoTrustedRoots none;
  for (const auto& [name, root] : signedCertificates().issuers) {
    if (name.starts_with("namesake")) continue;
    SCOPED_TRACE(name);
    OwnLines before;
    EXPECT_FALSE(root->verifyCertSignature(nullptr, before));
    EXPECT_EQ(before.errors, "This is not a trusted root certificate.");
    LogText log;
    ASSERT_TRUE(addTrustedRoot(*root, nullptr, log)) << log.text().view();
    EXPECT_TRUE(root->verifyCertSignature(nullptr, log)) << log.text().view();
    EXPECT_TRUE(root->verifyCertSignature(root.get(), log)) << log.text().view();
    const char* const another = name == "P-256" ? "P-384" : "P-256";
    LoadedX509 copy(derOf(*root));  // since two that are to certify each other may wait for ever
    EXPECT_FALSE(copy.verifyCertSignature(&signedCertificates().issuer(another), log));
    log.m_optionKeywords.append("dn_nospaceaftercomma");
    EXPECT_TRUE(root->verifyCertSignature(nullptr, log)) << log.text().view();
  }
}

TEST(CertificateSignatures, AreReportedOnWhenVerbose) {
  const std::string always = "certSubject issuerDN issuerSerialNumber CertSignatureAlgorithmOid";
  const std::string ofDigest = always + " HashAlgorithmOid signatureVerified";
  const struct {
    const char* name;
    const char* infos;
    std::string data;
    std::vector<std::string> values;
  } rows[] = {
      {"sha512 by rsa-1024",
       "",
       ofDigest,
       {"HashAlgorithmOid: 2.16.840.1.101.3.4.2.3", "signatureVerified: 1"}},
      {"PSS with sha256, mask sha256, salt 32 by rsa-1024", "", always, {}},
      {"sha256 by P-384",
       "ECC signature verified.",
       always + " modulusBitLen",
       {"certSubject: host", "issuerDN: DE, \"Acme, Inc.\", P-384",
        "CertSignatureAlgorithmOid: 1.2.840.10045.4.3.2", "modulusBitLen: 384"}},
      {"sha1 by dsa-1024", "DSA signature verified.", always, {}},
      {"Ed25519", "ed25519 signature is valid", always, {}},
      {"digest of another certificate",
       "",
       ofDigest + " computedHash embeddedHash",
       {"signatureVerified: 0"}},
      {"Ed25519 OID and an RSA key", "", always + " pubKeyLen", {"pubKeyLen: 138"}},
      {"empty DigestInfo", "", always + " SignatureAsn", {"SignatureAsn: <sequence></sequence>"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto& it = signedCertificates().byName(row.name);
    LoadedX509 cert(it.der);
    OwnLines log(true);
    cert.verifyCertSignature(&signedCertificates().issuer(it.by), log);
    EXPECT_EQ(log.infos, row.infos);
    EXPECT_EQ(log.data, row.data);
    for (const std::string& value : row.values) {
      EXPECT_NE(log.values.find("|" + value + "|"), std::string::npos) << log.values;
    }
  }
}

// What goes wrong before a key is reached, or with the key itself.
TEST(CertificateSignatures, NeedAllTheirParts) {
  using C = der::Certificate;
  const C whole;
  C nothing;
  nothing.signature = octets("x");
  nothing.outerAlgorithm = sequence(null());
  const auto outer = [](const der::Bytes& value) { return withField(&C::outerAlgorithm, value); };
  const auto signature = [](const der::Bytes& value) { return withField(&C::signature, value); };
  const der::Bytes edwards = sequence(der::oid("1.3.101.112"));
  const der::Bytes gost = withKey(sequence(algorithm("1.2.804.2.1.1.1.1.3.1.1"), bits("key")));
  // A key with which Ed25519 must not verify anything.
  const der::Bytes smallOrder = withKey(sequence(edwards, bits("\x01" + std::string(31, '\0'))));
  const std::string noParts =
      "Failed to get signature bytes.|Failed to get signature algorithm OID.";
  const struct {
    const char* name;
    der::Bytes cert, issuer;
    std::string errors;
  } rows[] = {
      {"no key", whole.der(), gost, "Failed to get issuer public key."},
      {"no OID", outer(sequence()), whole.der(), "Failed to get signature algorithm OID."},
      {"no parts", outer(null()), whole.der(), "Failed to get signature algorithm OID."},
      {"stray bits", signature(bits("\x10", 4)), whole.der(), "Failed to get signature bytes."},
      {"no signature", signature(""), whole.der(), "Failed to get signature bytes."},
      {"signed data of another kind", sequence(set(), whole.outerAlgorithm, whole.signature),
       whole.der(), "Failed to get certificate DER."},
      {"neither", nothing.der(), whole.der(), noParts},
      {"bad key", whole.der(), whole.der(), "Invalid DER public key."},
      {"bad Ed25519 key", outer(edwards), whole.der(),
       "The ed25519 public key must be 32 bytes in length."},
      {"no point", outer(edwards), smallOrder, "Unrecognized public key type."},
      {"bare key", whole.der(), smallOrder, "Invalid DER public key."},
  };
  for (const auto& row : rows) {
    LoadedX509 cert(row.cert), issuer(row.issuer);
    OwnLines log;
    EXPECT_FALSE(cert.verifyCertSignature(&issuer, log)) << row.name;
    EXPECT_EQ(log.errors, row.errors) << row.name;
  }
  LoadedX509 cert(whole.der());
  OwnLines log;
  EXPECT_FALSE(cert.verifyCertSignature(nullptr, log));
  EXPECT_EQ(log.errors, "Cannot verify certificate without issuer's public key.");
}

// After a load that failed an object holds new bytes beside the old tree.
TEST(CertificateSignatures, OfWhatDidNotLoadAreRefused) {
  const std::pair<der::Bytes, const char*> rows[] = {
      {"x", "Failed to ASN decode certificate DER."},
      {"", "Failed to ASN decode certificate DER."},
      {element(0x30, "\x05\x01"), "Failed to decode inner ASN for cert signature verification."},
      {sequence(),
       "Failed to get certificate DER.|Failed to get signature bytes.|Failed to get signature "
       "algorithm OID."},
  };
  const auto& it = signedCertificates().byName("sha256 by P-256");
  for (const auto& [bytes, errors] : rows) {
    LoadedX509 cert(it.der);
    LogNull quiet;
    ASSERT_FALSE(load(cert, bytes, quiet));
    OwnLines log;
    EXPECT_FALSE(cert.verifyCertSignature(&signedCertificates().issuer(it.by), log));
    EXPECT_EQ(log.errors, errors);
    OwnLines ofHash;
    DataBuffer hash = bytesOf("what stood here");
    EXPECT_FALSE(cert.getCertHash(_vmHash::kSha256, hash, ofHash));
    EXPECT_TRUE(hash.empty() && !ofHash.errors.empty() && log.errors.starts_with(ofHash.errors));
  }
  VelmoraX509 empty;
  OwnLines log;
  EXPECT_FALSE(empty.verifyCertSignature(nullptr, log));
  EXPECT_EQ(log.errors, "Failed to get issuer public key.");
}

// A certificate whose two names are the same, but which another key signed.
TEST(TrustOfRoots, HasFourOutcomes) {
  const NoTrustedRoots none;
  VelmoraX509& namesake = signedCertificates().issuer("namesake");
  VelmoraX509& signer = signedCertificates().issuer("rsa-1024");
  OwnLines byItself;
  EXPECT_FALSE(namesake.verifyCertSignature(nullptr, byItself));
  EXPECT_EQ(byItself.errors, "Failed to verify ECC signature.");

  const TrustedRoots::Name name{"01", "issuer", "issuer"};
  const std::string start = "Verifying the signature of a self-signed/root certificate.";
  const std::string explicitly = start + "|This is an explicitly trusted root certificate.";
  DataBuffer ownDer;
  namesake.getCertDer(ownDer);
  DataBuffer otherDer;  // with a key of the same curve
  signedCertificates().issuer("P-256").getCertDer(otherDer);
  const der::Bytes gost = withKey(sequence(algorithm("1.2.804.2.1.1.1.1.3.1.1"), bits("key")));
  LogNull quiet;
  const auto add = [&](const DataBuffer& der) {
    ASSERT_TRUE(TrustedRoots::addRoot(nullptr, name, der, bytesOf("key"), quiet));
  };
  const struct {
    const char* errors;
    std::string infos;
    std::function<void()> prepare;
  } rows[] = {
      {"This is not a trusted root certificate.", start, [] {}},
      {"This is not a trusted root certificate.", start,
       [&] { TrustedRoots::trustImplicitly("others", name, quiet); }},
      {"", start + "|This is an implicitly trusted root certificate.",
       [&] { TrustedRoots::trustImplicitly(nullptr, name, quiet); }},
      {"",
       explicitly +
           "|The public key was successfully validated against the public key of the explicitly "
           "trusted root cert.",
       [&] { add(ownDer); }},
      {"The public key of the root cert in the chain is not the same as the public key of the "
       "explicitly trusted root cert.",
       explicitly, [&] { add(otherDer); }},
      {"Failed to load root certificate DER.", explicitly, [&] { add(bytesOf("no DER")); }},
      {"Cannot compare public keys to validate root certificate.", explicitly,
       [&] { add(bytesOf(gost)); }},
  };
  for (const auto& row : rows) {
    TrustedRoots::clear(nullptr);
    row.prepare();
    OwnLines log(true);
    const bool verified = namesake.verifyCertSignature(&signer, log);
    EXPECT_EQ(verified, log.errors.empty());
    EXPECT_EQ(log.errors, row.errors);
    EXPECT_EQ(log.infos, row.infos);
    EXPECT_EQ(log.data, "certSubject CertSignatureAlgorithmOid HashAlgorithmOid signatureVerified");
  }
  TrustedRoots::clear("others");
}

TEST(TrustOfRoots, IsNotShortenedAtANul) {
  const NoTrustedRoots none;
  VelmoraX509& namesake = signedCertificates().issuer("namesake with NUL");
  LogNull quiet;
  EXPECT_TRUE(namesake.isIssuerSelf(quiet));
  ASSERT_TRUE(TrustedRoots::trustImplicitly(nullptr, {"01", "issuer", "issuer"}, quiet));
  OwnLines log;
  EXPECT_FALSE(namesake.verifyCertSignature(&signedCertificates().issuer("rsa-1024"), log));
  EXPECT_EQ(log.errors, "This is not a trusted root certificate.");
  ASSERT_TRUE(trustRootImplicitly(namesake, nullptr, quiet));
  EXPECT_TRUE(namesake.verifyCertSignature(&signedCertificates().issuer("rsa-1024"), quiet));
  EXPECT_TRUE(removeTrustedRoot(namesake, nullptr, quiet));
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 1u);
}

// Each answer is that of one state of the registry: where it was not being changed, of the one it
// had.
TEST(TrustOfRoots, IsThatOfTheMomentWhileItChanges) {
  const NoTrustedRoots none;
  SignedCertificates& all = signedCertificates();
  LoadedX509 registered(derOf(all.issuer("P-384")));
  std::atomic<unsigned> state = 0;  // odd while it is being changed; trusted in every second one
  std::atomic<bool> isDone = false;
  std::thread changing([&] {
    LogNull log;
    while (!isDone) {
      ++state;
      EXPECT_TRUE(state / 2 % 2 == 0 ? addTrustedRoot(registered, nullptr, log)
                                     : removeTrustedRoot(registered, nullptr, log));
      ++state;
      std::this_thread::yield();
    }
  });
  const auto ask = [&](const std::string& der, const char* issuer, bool isSigned) {
    LogNull log;
    LoadedX509 cert(der), signer(derOf(all.issuer(issuer)));
    const unsigned before = state;
    const bool holds = cert.verifyCertSignature(der == derOf(signer) ? nullptr : &signer, log);
    const bool isRoot = der == derOf(signer), isSteady = before % 2 == 0 && before == state;
    EXPECT_TRUE(isRoot ? !isSteady || holds == (before / 2 % 2 == 1) : holds == isSigned) << issuer;
  };
  std::vector<std::thread> asking;
  for (int i = 0; i < 3; ++i) {
    asking.emplace_back([&] {
      for (int n = 0; n < 60; ++n) {
        ask(derOf(all.issuer("P-384")), "P-384", true);
        ask(all.byName("sha256 by P-256").der, "P-256", true);
        ask(all.byName("P-256: r is the order").der, "P-256", false);
      }
    });
  }
  for (std::thread& each : asking) each.join();
  isDone = true;
  changing.join();
}

// Nobody can put another certificate in the place of one whose name has been read.
TEST(TrustOfRoots, AndSignaturesAreOfOneCertificateThroughout) {
  const NoTrustedRoots none;
  SignedCertificates& all = signedCertificates();
  const std::string leaf = all.byName("sha256 by P-256").der;
  for (const std::string& der : {leaf, derOf(all.issuer("P-384"))}) {
    LoadedX509 cert(der);
    std::atomic<bool> replaced = false;
    std::thread replacing;
    OwnLines log;
    log.onContext = [&](std::string_view name) {
      if (name != "x509_getPublicKey") return;
      replacing = std::thread([&] {
        LogNull quiet;
        load(cert, der::Certificate().der(), quiet);
        replaced = true;
      });
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      EXPECT_FALSE(replaced);
    };
    EXPECT_TRUE(der == leaf ? cert.verifyCertSignature(&all.issuer("P-256"), log)
                            : addTrustedRoot(cert, nullptr, log));
    replacing.join();
  }
}

}  // namespace
}  // namespace velmora::test
