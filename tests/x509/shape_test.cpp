#include "x509/certificate_shape.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/der_builder.h"

namespace velmora {
namespace {

namespace der = test::der;
using std::string_literals::operator""s;

DerShape classify(const std::string& bytes) {
  return classifyDer({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, 1000);
}

// A certificate with one field replaced.
std::string with(der::Bytes der::Certificate::*field, const std::string& value) {
  der::Certificate certificate;
  certificate.*field = value;
  return certificate.der();
}

const std::string kAlgorithm = der::algorithm("1.2.840.113549.1.1.1");
const std::string kName = der::name({{"2.5.4.3", "x"}});
const std::string kTime = der::utcTime("200101000000Z");
const std::string kInt = der::integer("\x01");
const std::string kPublicKey = der::sequence(kAlgorithm, der::bits("key"));

std::string signedPart(const std::string& part) {
  return der::sequence(part, kAlgorithm, der::bits("signature"));
}

std::string encryptedWith(const char* oid) {
  return der::sequence(der::algorithm(oid), der::octets("data"));
}

std::string withoutHeader(const std::string& element) {
  return element.substr(element[1] == '\x81' ? 3 : 4);
}

struct ShapeCase {
  const char* name;
  std::string bytes;
  DerKind kind;
};

TEST(ClassifyDer, TellsWhatBytesHold) {
  using C = der::Certificate;
  const std::string data = der::sequence(der::oid("1.2.840.113549.1.7.1"), der::context(0));
  std::string nine;
  for (int i = 0; i < 9; ++i) nine += kInt;
  const std::vector<ShapeCase> cases = {
      {"certificate", C().der(), DerKind::kCertificate},
      {"version 1", with(&C::version, ""), DerKind::kCertificate},
      {"all optional fields",
       with(&C::extensions,
            der::element(0x81, "\0"s) + der::element(0x82, "\0"s) + der::context(3)),
       DerKind::kCertificate},
      {"strange values", with(&C::serial, der::integer("")), DerKind::kCertificate},
      {"empty name", with(&C::subject, der::sequence()), DerKind::kCertificate},
      {"fields out of order", with(&C::extensions, der::context(3) + der::context(1)),
       DerKind::kOtherAsn1},
      {"a date missing", with(&C::validity, der::sequence(kTime)), DerKind::kOtherAsn1},
      {"a date of another type", with(&C::validity, der::sequence(kTime, kInt)),
       DerKind::kOtherAsn1},
      {"key without algorithm", with(&C::publicKey, der::sequence(der::sequence(), der::bits(""))),
       DerKind::kOtherAsn1},
      {"primitive name", with(&C::subject, der::element(0x10, "")), DerKind::kOtherAsn1},
      {"something behind", C().der() + der::null(), DerKind::kOtherAsn1},
      {"bundle", der::bundle(C().der()), DerKind::kPkcs7},
      {"other PKCS #7", data, DerKind::kOtherAsn1},
      {"PKCS #8", der::sequence(kInt, kAlgorithm, der::octets("k")), DerKind::kPrivateKey},
      {"PKCS #8, all fields",
       der::sequence(kInt, kAlgorithm, der::octets("k"), der::context(0),
                     der::element(0x81, "\0"s)),
       DerKind::kPrivateKey},
      {"PKCS #1", der::sequence(nine), DerKind::kPrivateKey},
      {"DSA", der::sequence(kInt, kInt, kInt, kInt, kInt, kInt), DerKind::kPrivateKey},
      {"SEC 1", der::sequence(kInt, der::octets("k"), der::context(0, der::oid("1.2.3"))),
       DerKind::kPrivateKey},
      {"encrypted, PKCS #5", encryptedWith("1.2.840.113549.1.5.13"), DerKind::kEncryptedPrivateKey},
      {"encrypted, PKCS #12", encryptedWith("1.2.840.113549.1.12.1.3"),
       DerKind::kEncryptedPrivateKey},
      {"DigestInfo", encryptedWith("2.16.840.1.101.3.4.2.1"), DerKind::kOtherAsn1},
      {"request", signedPart(der::sequence(kInt, kName, kPublicKey, der::context(0))),
       DerKind::kCertificateRequest},
      {"CRL of version 1", signedPart(der::sequence(kAlgorithm, kName, kTime)), DerKind::kCrl},
      {"CRL of version 2",
       signedPart(
           der::sequence(kInt, kAlgorithm, kName, kTime, kTime, der::sequence(), der::context(0))),
       DerKind::kCrl},
      {"other signed thing", signedPart(der::sequence(kInt, kName)), DerKind::kOtherAsn1},
      {"public key", kPublicKey, DerKind::kPublicKey},
      {"public key, PKCS #1", der::sequence(der::integer(std::string(64, 'n')), kInt),
       DerKind::kPublicKey},
      {"signature",
       der::sequence(der::integer(std::string(32, 'r')), der::integer(std::string(32, 's'))),
       DerKind::kOtherAsn1},
      {"PKCS #12", der::sequence(kInt, data, der::sequence()), DerKind::kPkcs12},
      {"OCSP response", der::sequence(der::element(0x0A, "\0"s), der::context(0)),
       DerKind::kOcspResponse},
      {"no SEQUENCE", der::set(kInt), DerKind::kOtherAsn1},
      {"empty SEQUENCE", der::sequence(), DerKind::kOtherAsn1},
      {"many members", der::sequence(nine + nine), DerKind::kOtherAsn1},
      {"nothing", "", DerKind::kNotAsn1},
      {"cut", C().der().substr(0, 100), DerKind::kNotAsn1},
      {"BER", "\x30\x80"s + withoutHeader(C().der()) + "\0\0"s, DerKind::kCertificate},
  };
  for (const ShapeCase& each : cases) {
    const DerShape shape = classify(each.bytes);
    EXPECT_EQ(shape.kind, each.kind) << each.name << ": " << shape.text;
    // Where it fails is told of what is unknown, and of nothing else.
    const bool unknown =
        (each.kind == DerKind::kOtherAsn1 && each.bytes != data) || each.kind == DerKind::kNotAsn1;
    EXPECT_EQ(shape.offset.has_value(), unknown) << each.name;
  }
}

TEST(ClassifyDer, TellsTheOffsetOfWhatDoesNotFit) {
  der::Certificate fields;
  fields.validity = der::sequence(kTime, kInt);
  const std::string bytes = fields.der();
  EXPECT_EQ(classify(bytes).offset, 1000 + bytes.find(fields.validity));

  const std::string short1 = signedPart(der::sequence(kInt, kName));
  EXPECT_EQ(classify(short1).offset, 1000 + short1.find(kName) + kName.size());
}

// n and n + 1 levels, as many as DerXmlCodec takes, and far more.
TEST(ClassifyDer, BoundsTheDepth) {
  std::string bytes = der::null();
  for (int depth = 2; depth <= 100; ++depth) bytes = der::sequence(bytes);
  EXPECT_EQ(classify(bytes).kind, DerKind::kOtherAsn1);
  for (int depth = 101; depth <= 10'000; depth += 100) {
    bytes = der::sequence(bytes);
    EXPECT_EQ(classify(bytes).kind, DerKind::kNotAsn1);
  }
  std::string indefinite;
  for (int i = 0; i < 10'000; ++i) indefinite += "\x30\x80";
  EXPECT_EQ(classify(indefinite).kind, DerKind::kNotAsn1);
}

}  // namespace
}  // namespace velmora
