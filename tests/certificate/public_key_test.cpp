#include "tests/certificate/typed_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;
using der::Bytes;

constexpr const char *kRsa = "1.2.840.113549.1.1.1", *kPss = "1.2.840.113549.1.1.10",
                     *kDsa = "1.2.840.10040.4.1", *kEc = "1.2.840.10045.2.1",
                     *kEd25519 = "1.3.101.112", *kP256 = "1.2.840.10045.3.1.7",
                     *kPrimeField = "1.2.840.10045.1.1";

Bytes key(const char* algorithm, const Bytes& parameters, const Bytes& bits) {
  return sequence(sequence(der::oid(algorithm), parameters), bits);
}

// "EC 1.2.840.10045.3.1.7 256", or "malformed".
std::string shown(const Result<PublicKey>& key) {
  if (!key) return key.error().code == ErrorCode::malformedKey ? "malformed" : "?";
  const std::string curve = key->curve.isEmpty() ? "" : key->curve.text() + " ";
  const std::string kind = key->kind == KeyKind::other ? key->algorithm.text() : "";
  return kind + std::string(key->kindName()) + " " + curve + std::to_string(key->bits);
}

// Keys are read to the letter: under each that can be there is one that differs from it in one
// thing and cannot, with the place of that.
TEST(PublicKeys, AreDescribedOrMalformed) {
  const Bytes n = integer("\0\x80\1"s), e = integer("\3");
  const Bytes rsa = bits(sequence(n, e));
  const Bytes sha256 = algorithm("2.16.840.1.101.3.4.2.1");
  const Bytes text = utf8("x");
  const auto pss = [](const Bytes& hash) { return sequence(context(0, hash)); };
  const Bytes numbers = sequence(integer("\x7F"), integer("\x11"), integer("\2"));
  const Bytes dsa = bits(integer("\5"));
  const Bytes point = bits("\4" + std::string(64, 'x'));
  const Bytes field = sequence(der::oid(kPrimeField), integer("\x1F"));
  const Bytes unknownCurve = der::oid("1.2.3");
  const struct {
    Bytes key;
    std::string shown;
    Bytes at = "";
  } rows[] = {
      {key(kRsa, null(), rsa), "RSA 16"},
      {key(kRsa, "", rsa), "RSA 16"},
      {key(kRsa, text, rsa), "malformed", text},
      {key(kRsa, null() + text, rsa), "malformed", text},
      {key(kRsa, null(), bits(sequence(n, e), 1)), "malformed", bits(sequence(n, e), 1)},
      {key(kRsa, null(), bits(sequence(n, e) + text)), "malformed", text},
      {key(kRsa, null(), bits(sequence(n, e, text))), "malformed", text},
      {key(kRsa, null(), bits(sequence(n))), "malformed"},
      {key(kRsa, null(), bits(sequence(n, integer("\0"s)))), "malformed", integer("\0"s)},
      {key(kRsa, null(), bits(sequence(n, integer("\x83")))), "malformed", integer("\x83")},
      {key(kRsa, null(), bits(sequence(n, integer("\0\3"s)))), "malformed", integer("\0\3"s)},
      {key(kPss, "", rsa), "RSA-PSS 16"},
      {key(kPss, pss(sha256), rsa), "RSA-PSS 16"},
      {key(kPss, pss(algorithm("1.2.3")), rsa), "RSA-PSS 16"},
      {key(kPss, pss(text), rsa), "malformed", text},
      {key(kPss, pss(sequence(der::oid("2.16.840.1.101.3.4.2.1"), text)), rsa), "malformed", text},
      {key(kDsa, numbers, dsa), "DSA 7"},
      {key(kDsa, "", dsa), "DSA 0"},
      {key(kDsa, null(), dsa), "malformed", null() + dsa},
      {key(kDsa, numbers, bits(integer(""))), "malformed", integer("")},
      {key(kEc, der::oid(kP256), point), "EC 1.2.840.10045.3.1.7 256"},
      {key(kEc, unknownCurve, bits("")), "EC 1.2.3 0"},
      {key(kEc, null(), point), "EC 0"},
      {key(kEc, "", point), "malformed", sequence(der::oid(kEc))},
      {key(kEc, text, point), "malformed", text},
      {key(kEc, sequence(integer("\1"), field), bits("\4xy")), "EC 5"},
      {key(kEc, sequence(integer("\1"), text), bits("\4xy")), "malformed", text},
      {key(kEd25519, "", bits(std::string(32, 'x'))), "Ed25519 255"},
      {key(kEd25519, "", bits(std::string(31, 'x'))), "malformed", bits(std::string(31, 'x'))},
      {key(kEd25519, null(), bits(std::string(32, 'x'))), "malformed"},
      {key("1.2.3", text, bits("\x10", 4)), "1.2.3 0"},
      {key("1.2.3", text, element(3, "\x08\x10")), "malformed"},
      {key("1.2.3", text, element(3, "")), "malformed", element(3, "")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const Certificate certificate = parsed(withField(&der::Certificate::publicKey, row.key));
    const Result<PublicKey> found = certificate.publicKey();
    EXPECT_EQ(shown(found), row.shown);
    if (!found && !row.at.empty()) {
      EXPECT_EQ(found.error().offset, offsetOf(certificate, row.at));
    }
  }
}

}  // namespace
}  // namespace velmora::test
