#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

constexpr const char* kDsa = "1.2.840.10040.4.1";
constexpr const char* kEc = "1.2.840.10045.2.1";
constexpr const char* kGost = "1.2.804.2.1.1.1.1.3.1.1";

der::Bytes keyInfo(const std::string& oid, std::string_view bits) {
  return sequence(sequence(der::oid(oid), der::oid("1.2.3")), der::bits(bits));
}

// What a getter of the key gives, "false" when it fails, and behind it what a verbose log says.
template <bool (VelmoraX509::*Get)(DataBuffer&, LogBase&)>
std::string keyOf(VelmoraX509& cert, std::string* said) {
  LogText log;
  log.m_verbose = true;
  DataBuffer out = bytesOf("what stood here");
  const bool done = (cert.*Get)(out, log);
  if (said != nullptr) *said = log.text().view();
  return (done ? "" : "false") + std::string(out.view());
}

constexpr auto kPublicKey = &keyOf<&VelmoraX509::get_PublicKey>;
constexpr auto kForOcsp = &keyOf<&VelmoraX509::get_PublicKeyForOCSP>;

TEST(PublicKey, TheFormDependsOnTheAlgorithm) {
  const der::Bytes dsa = keyInfo(kDsa, "key");
  const der::Bytes ec = keyInfo(kEc, "point");
  const der::Bytes pointless = sequence(sequence(der::oid(kEc)));
  const std::string gost = "  unsupportedAlgorithm:\n    oid: " + std::string(kGost) +
                           "\n    algorithmName: Gost34310WithGost34311\n"
                           "    ERROR: Velmora does not support Gost34310WithGost34311\n";
  const std::string whole = "  Returning DSA or ECDSA public key DER from X.509 cert...\n";
  const std::string point = "  Returning ECDSA public key from X.509 cert...\n";
  const struct {
    der::Bytes publicKey;
    std::string key, keyLog, forOcsp, ocspLog;
  } kCases[] = {
      {keyInfo("1.2.840.113549.1.1.1", "pkcs1"), "pkcs1", "", "pkcs1", ""},
      {keyInfo("1.3.101.112", ""), "", "", "", ""},
      {dsa, dsa, whole, dsa, "  Returning DSA public key from X.509 cert...\n"},
      {ec, ec, whole, "point", point},
      {keyInfo(kGost, "key"), "false", gost, "false", gost},
      {sequence(sequence(), bits("bits")), "bits", "", "bits", ""},
      {pointless, pointless, whole, "false", point + "  ERROR: Failed to get ECDSA public key.\n"},
      {utf8("no key at all"), "false", "", "false", ""},
  };
  for (const auto& [publicKey, key, keyLog, forOcsp, ocspLog] : kCases) {
    std::string said;
    LoadedX509 cert(withKey(publicKey));
    EXPECT_EQ(kPublicKey(cert, &said), key);
    EXPECT_TRUE(said.starts_with("x509_getPublicKey:\n" + keyLog)) << said;
    LoadedX509 another(withKey(publicKey));
    EXPECT_EQ(kForOcsp(another, &said), forOcsp);
    EXPECT_TRUE(said.starts_with("get_PublicKeyForOCSP:\n" + ocspLog)) << said;
    // Again, after the other: what one keeps must not change the other.
    for (VelmoraX509* both :
         {static_cast<VelmoraX509*>(&cert), static_cast<VelmoraX509*>(&another)}) {
      EXPECT_EQ(kForOcsp(*both, nullptr), forOcsp);
      EXPECT_EQ(kPublicKey(*both, nullptr), key);
    }
  }
}

}  // namespace
}  // namespace velmora::test
