#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

constexpr const char* kDsa = "1.2.840.10040.4.1";
constexpr const char* kEc = "1.2.840.10045.2.1";
constexpr const char* kGost = "1.2.804.2.1.1.1.1.3.1.1";

der::Bytes keyInfo(const std::string& oid, std::string_view bits) {
  return der::sequence(der::sequence(der::oid(oid), der::oid("1.2.3")), der::bits(bits));
}

// What a getter of the key gives, "false" when it fails.
template <bool (VelmoraX509::*Get)(DataBuffer&, LogBase&)>
std::string keyOf(VelmoraX509& cert) {
  LogNull log;
  DataBuffer out;
  out.append("what stood here", 15);
  return (cert.*Get)(out, log) ? std::string(out.view()) : "false" + std::string(out.view());
}

std::string fingerprintOf(VelmoraX509& cert) {
  LogNull log;
  return textOf([&](XString& out) {
    cert.getSpkiFingerprint(StringBuffer("sha256"), StringBuffer("hex"), out, log);
  });
}

constexpr auto kPublicKey = &keyOf<&VelmoraX509::get_PublicKey>;
constexpr auto kForOcsp = &keyOf<&VelmoraX509::get_PublicKeyForOCSP>;

TEST(PublicKey, TheFormDependsOnTheAlgorithm) {
  const der::Bytes dsa = keyInfo(kDsa, "key");
  const der::Bytes ec = keyInfo(kEc, "point");
  const struct {
    der::Bytes publicKey;
    der::Bytes expected;
    der::Bytes expectedForOcsp;
  } kCases[] = {
      {keyInfo("1.2.840.113549.1.1.1", "pkcs1"), "pkcs1", "pkcs1"},
      {keyInfo("1.3.101.112", ""), "", ""},
      {dsa, dsa, dsa},
      {ec, ec, "point"},
      {keyInfo(kGost, "key"), "false", "false"},
      {der::sequence(der::sequence(), der::bits("bits")), "bits", "bits"},
      {der::sequence(der::sequence(der::oid(kEc))), der::sequence(der::sequence(der::oid(kEc))),
       "false"},
      {der::sequence(der::sequence(der::oid("1.2.3")), der::octets("key")), "false", "false"},
      {der::utf8("no key at all"), "false", "false"},
  };
  for (const auto& [publicKey, expected, forOcsp] : kCases) {
    LoadedX509 cert(withKey(publicKey));
    // Each twice, before and after the other: what one keeps must not change the other.
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(kPublicKey(cert), expected);
      EXPECT_EQ(kForOcsp(cert), forOcsp);
    }
    LoadedX509 again(withKey(publicKey));
    EXPECT_EQ(kForOcsp(again), forOcsp);
    EXPECT_EQ(kPublicKey(again), expected);
  }
}

TEST(PublicKey, ALoadLeavesNothingOfTheKeyBefore) {
  LogNull log;
  LoadedX509 cert(withKey(keyInfo("1.2.3", "first")));
  EXPECT_EQ(kPublicKey(cert), "first");
  const std::string fingerprint = fingerprintOf(cert);
  ASSERT_TRUE(load(cert, withKey(keyInfo("1.2.3", "second")), log));
  EXPECT_EQ(kPublicKey(cert), "second");
  EXPECT_NE(fingerprintOf(cert), fingerprint);
  ASSERT_FALSE(load(cert, "no DER", log));  // the tree of before stays
  EXPECT_EQ(kPublicKey(cert), "second");
  VelmoraX509 never;
  EXPECT_EQ(kPublicKey(never), "false");
}

TEST(PublicKey, WhatIsReported) {
  const der::Bytes pointless = der::sequence(der::sequence(der::oid(kEc)));
  const std::string gost = "  unsupportedAlgorithm:\n    oid: " + std::string(kGost) +
                           "\n    algorithmName: Gost34310WithGost34311\n"
                           "    ERROR: Velmora does not support Gost34310WithGost34311\n";
  const struct {
    der::Bytes publicKey;
    bool verbose;
    std::string key;
    std::string forOcsp;
  } kCases[] = {
      {keyInfo("1.2.3", "x"), true, "", ""},
      {keyInfo(kGost, "x"), false, gost, gost},
      {keyInfo(kDsa, "x"), true, "  Returning DSA or ECDSA public key DER from X.509 cert...\n",
       "  Returning DSA public key from X.509 cert...\n"},
      {keyInfo(kEc, "x"), true, "  Returning DSA or ECDSA public key DER from X.509 cert...\n",
       "  Returning ECDSA public key from X.509 cert...\n"},
      {pointless, false, "", "  ERROR: Failed to get ECDSA public key.\n"},
  };
  for (const auto& [publicKey, verbose, key, forOcsp] : kCases) {
    LoadedX509 cert(withKey(publicKey));
    LogText log;
    log.m_verbose = verbose;
    DataBuffer out;
    cert.get_PublicKey(out, log);
    EXPECT_TRUE(log.text().beginsWith("x509_getPublicKey:\n" + key)) << log.text().view();
    EXPECT_EQ(log.text().containsSubstring("Returning"), verbose && !key.empty());
    log.clear();
    cert.get_PublicKeyForOCSP(out, log);
    EXPECT_TRUE(log.text().beginsWith("get_PublicKeyForOCSP:\n" + forOcsp)) << log.text().view();
  }
}

TEST(PublicKey, AsXml) {
  LogNull log;
  LoadedX509 cert(withKey(keyInfo(kGost, "\x01\xAB")));
  StringBuffer out(std::string_view("what stood here"));
  EXPECT_TRUE(cert.get_PublicKeyXml(out, log));
  EXPECT_EQ(out.view(), "<sequence><sequence><oid>" + std::string(kGost) +
                            "</oid><oid>1.2.3</oid></sequence><bits>01AB</bits></sequence>");
  LoadedX509 none(withKey(der::utf8("no key at all")));
  EXPECT_FALSE(none.get_PublicKeyXml(out, log));
  EXPECT_TRUE(out.isEmpty());
}

// The public key of RFC 8032 §7.1, test 1, and the last 60 bits of its SHA-1 behind 0100.
TEST(KeyIdentifier64, IsComputedEachTimeUnlessOneIsThere) {
  LogText log;
  DataBuffer key;
  key.appendEncoded("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a", "hex");
  LoadedX509 cert(
      withKey(der::sequence(der::sequence(der::oid("1.3.101.112")), der::bits(key.view()))));
  for (int i = 0; i < 2; ++i) {
    StringBuffer out(std::string_view("what stood here"));
    EXPECT_TRUE(cert.getVelmoraKeyId64(out, log));
    EXPECT_EQ(out.view(), "42A1DED97B8BFC6D");
    EXPECT_TRUE(keyIdOf(cert).isEmpty());
  }
  EXPECT_TRUE(log.text().beginsWith("x509GetKeyModulus:\n  x509_getPublicKey:\n"));
  keyIdOf(cert).append("kept");
  StringBuffer out;
  EXPECT_TRUE(cert.getVelmoraKeyId64(out, log));
  EXPECT_EQ(out.view(), "kept");
  LoadedX509 unknown(withKey(keyInfo(kEc, "no point")));
  EXPECT_FALSE(unknown.getVelmoraKeyId64(out, log));
  EXPECT_TRUE(out.isEmpty());
}

}  // namespace
}  // namespace velmora::test
