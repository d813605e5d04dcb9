#include "tests/x509/signed_certificates.h"
#include "velmora/support/hash/vm_hash.h"

namespace velmora::test {
namespace {

TEST(Outputs, AnUnknownHashIsEmpty) {
  LoadedX509 cert(der::Certificate().der());
  LogText log;
  DataBuffer hash = bytesOf("what stood here");
  EXPECT_FALSE(cert.getCertHash(99, hash, log));
  EXPECT_TRUE(hash.empty() && !log.text().containsSubstring("ERROR"));
  EXPECT_TRUE(cert.getCertHash(_vmHash::kSha256, hash, log) && hash.size() == 32);
}

std::string summaryOf(VelmoraX509& cert, bool expected) {
  LogText log;
  const _clsOwner root(ClsXml::createNewCls());
  root->put_TagUtf8("cert");
  root->appendNewChild2("before", "");
  EXPECT_EQ(cert.toXmlInfo(*root, log), expected);
  EXPECT_TRUE(log.text().beginsWith("x509ToXmlInfo:\n"));
  // What is compressed reads back as the certificate.
  if (root->findChild2("compressedDer")) {
    DataBuffer der;
    EXPECT_TRUE(root->getBinaryContent(true, 1 << 20, der, log)) << log.text().view();
    EXPECT_EQ(der.view(), derOf(cert));
    root->put_ContentUtf8("*");
  }
  StringBuffer xml;
  root->GetRoot2();
  root->getXml(true, xml, log);
  return std::string(xml.view());
}

TEST(Summary, HoldsItsElementsInOrder) {
  der::Certificate fields;
  fields.serial = integer("\x01\xAB");
  fields.issuer = der::name({{"2.5.4.5", "attribute"}, {"2.5.4.3", "Root"}});
  fields.subject = der::name({{"2.5.4.6", "US"},
                              {"2.5.4.8", "Ohio"},
                              {"2.5.4.7", "Bath"},
                              {"2.5.4.10", "A & B"},
                              {"2.5.4.11", "first"},
                              {"2.5.4.11", "second"},
                              {"2.5.4.3", "host"}});
  fields.validity = sequence(generalizedTime("19000228235959Z"), utcTime("200229010203Z"));
  fields.extensions = listOf(extension("2.5.29.14", octets("id")),
                             extension("2.5.29.17", sequence(element(0x82, "host"))));
  LoadedX509 cert(fields.der());
  EXPECT_EQ(
      summaryOf(cert, true),
      "<cert><before></before><subject><Serial>01AB</Serial><CN>host</CN><O>A &amp; "
      "B</O><OU>first</OU><C>US</C>"
      "<S>Ohio</S><L>Bath</L></subject>"
      "<issuer><Serial>attribute</Serial><CN>Root</CN><O></O><OU></OU><C></C><S></S><L></L>"
      "</issuer><subjectKeyIdentifier>aWQ=</subjectKeyIdentifier>"
      "<publicKey><alg>1.2.840.113549.1.1.1</alg><sequence><sequence>"
      "<oid>1.2.840.113549.1.1.1</oid><null></null></sequence><bits>6B6579</bits></sequence>"
      "</publicKey><signature><algOid>1.2.840.113549.1.1.12</algOid><sigBase64>c2lnbmVk</sigBase64>"
      "</signature><validFromUTC>Wed, 28 Feb 1900 23:59:59 GMT</validFromUTC>"
      "<validToUTC>Sat, 29 Feb 2020 01:02:03 GMT</validToUTC><certVersion>3</certVersion>"
      "<rfc822Name>host</rfc822Name><compressedDer>*</compressedDer></cert>");
}

TEST(Summary, WithoutAKeyItIsWholeAndFalse) {
  der::Certificate fields;
  fields.version = "";
  fields.publicKey = utf8("no key at all");
  fields.signature = "";
  fields.validity = sequence();
  LoadedX509 cert(fields.der());
  const std::string xml = summaryOf(cert, false);
  EXPECT_NE(xml.find("</issuer><publicKey><alg></alg></publicKey><signature>"), std::string::npos);
  EXPECT_NE(xml.find("<sigBase64></sigBase64>"), std::string::npos);
  EXPECT_NE(xml.find("<validToUTC>Mon, 01 Jan 0001 00:00:00 GMT</validToUTC><certVersion>"
                     "</certVersion><compressedDer>"),
            std::string::npos);
}

}  // namespace
}  // namespace velmora::test
