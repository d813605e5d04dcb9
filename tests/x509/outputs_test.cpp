#include "support/hash/vm_hash.h"
#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

std::string sha256Of(std::string_view bytes) {
  DataBuffer out;
  _vmHash::doHash(bytes.data(), static_cast<unsigned>(bytes.size()), _vmHash::kSha256, out);
  return std::string(out.view());
}

TEST(Outputs, TheDerIsAppendedAndTheXmlReplaced) {
  LogNull log;
  const der::Bytes der = der::Certificate().der();
  LoadedX509 cert(der);
  EXPECT_EQ(cert.getCertDerSize(), static_cast<int>(der.size()));
  DataBuffer bytes;
  cert.getCertDer(bytes);
  cert.getCertDer(bytes);
  EXPECT_EQ(bytes.view(), der + der);
  XString xml(std::string_view("what stood here"));
  EXPECT_TRUE(cert.getXml(xml, log));
  EXPECT_TRUE(xml.view().starts_with("<sequence><sequence><contextSpecific "));
  XString saved(std::string_view("what stood here"));
  EXPECT_TRUE(cert.saveXml(saved, log));
  EXPECT_TRUE(saved.equalsX(xml));
  VelmoraX509 never;
  EXPECT_EQ(never.getCertDerSize(), 0);
}

TEST(Outputs, ThumbprintsAreAppended) {
  LogNull log;
  VelmoraX509 never;
  XString text(std::string_view("x"));
  never.get_Sha1ThumbprintX(text, log);
  EXPECT_EQ(text.view(), "xDA39A3EE5E6B4B0D3255BFEF95601890AFD80709");
  DataBuffer bytes;
  bytes.append("x", 1);
  never.get_Sha1Thumbprint(bytes, log);
  EXPECT_EQ(bytes.size(), 21u);
  EXPECT_EQ(bytes.view().substr(0, 3), "x\xDA\x39");
}

TEST(Outputs, TheHashIsThatOfTheSignedPart) {
  der::Certificate fields;
  const der::Bytes toBeSigned =
      der::sequence(fields.version, fields.serial, fields.signatureAlgorithm, fields.issuer,
                    fields.validity, fields.subject, fields.publicKey);
  LoadedX509 cert(fields.der());
  LogText log;
  DataBuffer hash;
  hash.append("what stood here", 15);
  EXPECT_TRUE(cert.getCertHash(_vmHash::kSha256, hash, log));
  EXPECT_EQ(hash.view(), sha256Of(toBeSigned));
  EXPECT_FALSE(cert.getCertHash(99, hash, log));
  EXPECT_TRUE(hash.empty());
  EXPECT_FALSE(log.text().containsSubstring("ERROR"));
}

TEST(Outputs, OfBytesThatDoNotParseThereIsNoHash) {
  const struct {
    der::Bytes bytes;
    const char* error;
  } kCases[] = {
      {"", "Failed to ASN decode certificate DER."},
      {"\x30\x09\x01", "Failed to ASN decode certificate DER."},
      {der::element(0x30, "\x30\x05\x01"),
       "Failed to decode inner ASN for cert signature verification."},
      {der::sequence(), "Failed to get certificate DER."},
      {der::octets("x"), "Failed to get certificate DER."},
  };
  for (const auto& [bytes, error] : kCases) {
    VelmoraX509 cert;
    ErrorLog log;
    load(cert, bytes, log);
    log.errors.clear();
    DataBuffer hash;
    EXPECT_FALSE(cert.getCertHash(_vmHash::kSha256, hash, log));
    ASSERT_FALSE(log.errors.empty());
    EXPECT_EQ(log.errors.back(), error);
  }
}

}  // namespace
}  // namespace velmora::test
