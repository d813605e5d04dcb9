#include <algorithm>
#include <cctype>

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// SHA-256 of the SubjectPublicKeyInfo of der::Certificate in two encodings, and its SHA-1, computed
// by another program.
const std::string kHex = "adadd54f4b930d5ed50ac321ef6879803e7591278a968b7788e451ac0afb12b2";
const std::string kBase64 = "ra3VT0uTDV7VCsMh72h5gD51kSeKlot3iORRrAr7ErI=";
const std::string kSha1Hex = "51315d719cac4f6168d5309f2b74c8ce49e90475";

bool matches(VelmoraX509& cert, const std::string& pinSet, LogBase& log) {
  XString pins(pinSet);
  return cert.matchesPinSet(pins, log);
}

TEST(SpkiPins, ACertificateMatchesItsPinsAndNothingElse) {
  std::string upper = kHex;
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](char c) { return static_cast<char>(std::toupper(c)); });
  std::string many = "sha256,base64";
  for (int i = 0; i < 10000; ++i) many += ",pin" + std::to_string(i);

  constexpr const char* kFew = "Not enough strings in the pinset.";
  constexpr const char* kNone = "No SPKI pinning match found.";
  const struct {
    const char* what;
    std::string pinSet;
    const char* error;  // "": it matches
  } kCases[] = {
      {"upper-case hex", "sha-256,HexLower," + upper, ""},
      {"white space", " \tsha256 , base64\n,\t other ,  " + kBase64 + "\t ", ""},
      {"second pin", "sha1,hex,00," + kSha1Hex, ""},
      {"empty fields are passed over", ",sha256,,base64,,," + kBase64 + ",", ""},
      {"last of many", many + "," + kBase64, ""},
      {"none of many", many, kNone},
      {"base64 in another letter case", "sha256,base64,R" + kBase64.substr(1), kNone},
      {"base64 without padding", "sha256,base64," + kBase64.substr(0, 43), kNone},
      {"of another hash", "sha1,hex," + kHex, kNone},
      {"more than the pin", "sha256,hex," + kHex + "00", kNone},
      {"NUL behind the pin", "sha256,base64," + kBase64 + "\0"s, kNone},
      {"NUL in the hash's name", "sha256\0,base64,"s + kBase64, kNone},
      {"NUL in the encoding's name", "sha256,base64\0,"s + kBase64, kNone},
      {"unknown encoding", "sha256,base32," + kHex, kNone},
      {"unknown encoding that begins with hex", "sha256,hexadecimal," + kHex, kNone},
      {"unknown hash and blank pins", "md5,hex, ,\t", kFew},
      {"two fields", "sha256,base64", kFew},
      {"empty", "", kFew},
  };
  for (const auto& [what, pinSet, error] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(der::Certificate().der());
    ErrorLog log;
    EXPECT_EQ(matches(cert, pinSet, log), *error == 0);
    EXPECT_EQ(log.errors, error);
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
  EXPECT_TRUE(matches(cert, "sha256, HEX, AB," + kHex + ",never seen", log));
  EXPECT_EQ(log.text().view(),
            "matchesPinSet:\n  getSpkiFingerprint:\n  hashAlg: sha256\n"
            "  encoding: HEX\n  server_spki_fingerprint: " +
                kHex + "\n  acceptablePin: ab\n  acceptablePin: " + kHex +
                "\n  spki_pinning_match: " + kHex + "\n");
}

}  // namespace
}  // namespace velmora::test
