#include <cctype>

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// SHA-256 of the SubjectPublicKeyInfo of der::Certificate, computed by another program.
constexpr const char* kHex = "adadd54f4b930d5ed50ac321ef6879803e7591278a968b7788e451ac0afb12b2";
constexpr const char* kBase64 = "ra3VT0uTDV7VCsMh72h5gD51kSeKlot3iORRrAr7ErI=";
constexpr const char* kSha1Hex = "51315d719cac4f6168d5309f2b74c8ce49e90475";

bool matches(VelmoraX509& cert, const std::string& pinSet, LogBase& log) {
  XString pins(pinSet);
  return cert.matchesPinSet(pins, log);
}

TEST(SpkiPins, FingerprintsAreAppendedInTheHashAndEncodingNamed) {
  const struct {
    std::string hash;
    std::string encoding;
    bool done;
    std::string text;
  } kCases[] = {
      {"sha256", "hexlower", true, kHex},   {"SHA-256", "Base64", true, kBase64},
      {"sha1", "hexlower", true, kSha1Hex}, {"md5", "hex", true, ""},
      {"sha256\0"s, "hex", true, ""},       {"sha256", "base32", false, ""},
      {"sha256", "hex\0"s, false, ""},      {"sha256", "", false, ""},
  };
  LoadedX509 cert(der::Certificate().der());
  LogText log;
  for (const auto& [hash, encoding, done, text] : kCases) {
    XString out(std::string_view("x"));
    EXPECT_EQ(cert.getSpkiFingerprint(StringBuffer(hash), StringBuffer(encoding), out, log), done);
    EXPECT_EQ(out.view(), "x" + text);
  }
  EXPECT_FALSE(log.text().containsSubstring("ERROR"));
}

TEST(SpkiPins, ACertificateMatchesItsPinsAndNothingElse) {
  const std::string hex(kHex);
  const std::string base64(kBase64);
  std::string upper;
  for (const char c : hex) upper += static_cast<char>(std::toupper(c));
  std::string otherCase = base64;
  for (char& c : otherCase) {
    if (std::isalpha(c) == 0) continue;
    c = static_cast<char>(c ^ 0x20);
    break;
  }
  std::string many = "sha256,base64";
  for (int i = 0; i < 10000; ++i) many += ",pin" + std::to_string(i);

  constexpr const char* kFew = "Not enough strings in the pinset.";
  constexpr const char* kNone = "No SPKI pinning match found.";
  const struct {
    const char* what;
    std::string pinSet;
    const char* error;  // null: it matches
  } kCases[] = {
      {"base64", "sha256,base64," + base64, nullptr},
      {"hex", "sha256,hex," + hex, nullptr},
      {"upper-case hex", "sha-256,HexLower," + upper, nullptr},
      {"white space", " \tsha256 , base64\n,\t other ,  " + base64 + "\t ", nullptr},
      {"second pin", "sha1,hex,00," + std::string(kSha1Hex), nullptr},
      {"empty fields are passed over", ",sha256,,base64,,," + base64 + ",", nullptr},
      {"last of many", many + "," + base64, nullptr},
      {"none of many", many, kNone},
      {"base64 in another letter case", "sha256,base64," + otherCase, kNone},
      {"base64 without padding", "sha256,base64," + base64.substr(0, 43), kNone},
      {"of another hash", "sha1,hex," + hex, kNone},
      {"more than the pin", "sha256,hex," + hex + "00", kNone},
      {"NUL behind the pin", "sha256,base64," + base64 + "\0"s, kNone},
      {"NUL in the hash's name", "sha256\0,base64,"s + base64, kNone},
      {"NUL in the encoding's name", "sha256,base64\0,"s + base64, kNone},
      {"unknown hash", "md5,hex," + hex, kNone},
      {"unknown encoding", "sha256,base32," + hex, kNone},
      {"unknown encoding that begins with hex", "sha256,hexadecimal," + hex, kNone},
      {"unknown hash and empty pins", "md5,hex,,", kFew},
      {"unknown hash and blank pins", "md5,hex, ,\t", kFew},
      {"two fields", "sha256,base64", kFew},
      {"empty", "", kFew},
      {"commas alone", ",,,,", kFew},
  };
  for (const auto& [what, pinSet, error] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(der::Certificate().der());
    ErrorLog log;
    EXPECT_EQ(matches(cert, pinSet, log), error == nullptr);
    EXPECT_EQ(log.errors,
              error != nullptr ? std::vector<std::string>{error} : std::vector<std::string>());
  }
}

TEST(SpkiPins, DetailsAreLoggedUpToTheMatch) {
  LoadedX509 cert(der::Certificate().der());
  LogText log;
  EXPECT_FALSE(matches(cert, "sha256, hex", log));
  EXPECT_EQ(log.text().view(),
            "matchesPinSet:\n  ERROR: Not enough strings in the pinset.\n  pinset: sha256, hex\n");
  LogNull quiet;
  ASSERT_FALSE(matches(cert, "sha1,hex,00", quiet));  // fills the cache
  log.clear();
  log.m_detail = true;
  EXPECT_TRUE(matches(cert, "sha256, HEX, AB," + std::string(kHex) + ",never seen", log));
  EXPECT_EQ(log.text().view(),
            "matchesPinSet:\n  getSpkiFingerprint:\n  hashAlg: sha256\n"
            "  encoding: HEX\n  server_spki_fingerprint: " +
                std::string(kHex) + "\n  acceptablePin: ab\n  acceptablePin: " + kHex +
                "\n  spki_pinning_match: " + kHex + "\n");
}

TEST(SpkiPins, WithoutAKeyNothingMatches) {
  VelmoraX509 never;
  der::Certificate fields;
  fields.publicKey = der::utf8("no key at all");
  LoadedX509 none(fields.der());
  for (VelmoraX509* cert : {&never, static_cast<VelmoraX509*>(&none)}) {
    ErrorLog log;
    EXPECT_FALSE(matches(*cert, "sha256,hex,00, ,", log));
    EXPECT_EQ(log.errors, (std::vector<std::string>{"No SubjectPublicKeyInfo found in ASN.1",
                                                    "No SPKI pinning match found."}));
  }
}

}  // namespace
}  // namespace velmora::test
