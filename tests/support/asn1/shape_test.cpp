#include "velmora/support/asn1/certificate_shape.h"

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using enum DerKind;
using std::string_literals::operator""s;

DerShape classify(const std::string& bytes) {
  return classifyDer({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, 1000);
}

const std::string kAlgorithm = algorithm("1.2.840.113549.1.1.1");
const std::string kName = der::name({{"2.5.4.3", "x"}});
const std::string kTime = utcTime("200101000000Z");
const std::string kInt = integer("\x01");
const std::string kKeyInfo = sequence(kAlgorithm, bits("key"));

std::string signedPart(const std::string& part) {
  return sequence(part, kAlgorithm, bits("signature"));
}

std::string encryptedWith(const char* oid) {
  return sequence(algorithm(oid), octets("data"));
}

std::string withoutHeader(const std::string& element) {
  return element.substr(element[1] == '\x81' ? 3 : 4);
}

TEST(ClassifyDer, TellsWhatBytesHold) {
  using C = der::Certificate;
  const std::string data = sequence(der::oid("1.2.840.113549.1.7.1"), context(0));
  std::string nine;
  for (int i = 0; i < 9; ++i) nine += kInt;
  const struct {
    const char* name;
    std::string bytes;
    DerKind kind;
  } cases[] = {
      {"certificate", C().der(), kCertificate},
      {"all optional fields",
       withField(&C::extensions, element(0x81, "\0"s) + element(0x82, "\0"s) + context(3)),
       kCertificate},
      {"fields out of order", withField(&C::extensions, context(3) + context(1)), kOtherAsn1},
      {"a date of another type", withField(&C::validity, sequence(kTime, kInt)), kOtherAsn1},
      {"algorithm without OID", withField(&C::signatureAlgorithm, sequence()), kOtherAsn1},
      {"outer algorithm without OID", withField(&C::outerAlgorithm, sequence()), kOtherAsn1},
      {"key without algorithm", withField(&C::publicKey, sequence(sequence(), bits(""))),
       kOtherAsn1},
      {"primitive name", withField(&C::subject, element(0x10, "")), kOtherAsn1},
      {"something behind", C().der() + null(), kOtherAsn1},
      {"bundle", der::bundle(C().der()), kPkcs7},
      {"other PKCS #7", data, kOtherAsn1},
      {"PKCS #8, all fields",
       sequence(kInt, kAlgorithm, octets("k"), context(0), element(0x81, "\0"s)), kPrivateKey},
      {"DSA", sequence(kInt, kInt, kInt, kInt, kInt, kInt), kPrivateKey},
      {"encrypted, PKCS #12", encryptedWith("1.2.840.113549.1.12.1.3"), kEncryptedPrivateKey},
      {"DigestInfo", encryptedWith("2.16.840.1.101.3.4.2.1"), kOtherAsn1},
      {"encrypted, and more", sequence(algorithm("1.2.840.113549.1.12.1.3"), octets(""), kInt),
       kOtherAsn1},
      {"CRL of version 1", signedPart(sequence(kAlgorithm, kName, kTime)), kCrl},
      {"other signed thing", signedPart(sequence(kInt, kName)), kOtherAsn1},
      {"signature", sequence(integer(std::string(32, 'r')), integer(std::string(32, 's'))),
       kOtherAsn1},
      {"OCSP response", sequence(element(0x0A, "\0"s), context(0)), kOcspResponse},
      {"empty SEQUENCE", sequence(), kOtherAsn1},
      {"many members", sequence(nine + nine), kOtherAsn1},
      {"nothing", "", kNotAsn1},
      {"cut", C().der().substr(0, 100), kNotAsn1},
      {"BER", "\x30\x80"s + withoutHeader(C().der()) + "\0\0"s, kCertificate},
  };
  for (const auto& each : cases) {
    const DerShape shape = classify(each.bytes);
    EXPECT_EQ(shape.kind, each.kind) << each.name << ": " << shape.text;
    // Where it fails is told of what is unknown, and of nothing else.
    const bool unknown = (each.kind == kOtherAsn1 && each.bytes != data) || each.kind == kNotAsn1;
    EXPECT_EQ(shape.offset.has_value(), unknown) << each.name;
  }
}

TEST(ClassifyDer, TellsTheOffsetOfWhatDoesNotFit) {
  const std::string dates = sequence(kTime, kInt);
  const std::string bytes = withField(&der::Certificate::validity, dates);
  EXPECT_EQ(classify(bytes).offset, 1000 + bytes.find(dates));

  const std::string short1 = signedPart(sequence(kInt, kName));
  EXPECT_EQ(classify(short1).offset, 1000 + short1.find(kName) + kName.size());
}

}  // namespace
}  // namespace velmora::test
