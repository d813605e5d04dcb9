#include "support/time/vm_date_parser.h"
#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

std::string summaryOf(VelmoraX509& cert, bool expected) {
  LogText log;
  const _clsOwner root(ClsXml::createNewCls());
  root->put_TagUtf8("cert");
  EXPECT_EQ(cert.toXmlInfo(*root, log), expected);
  EXPECT_TRUE(log.text().beginsWith("x509ToXmlInfo:\n"));
  // What is compressed reads back as the certificate.
  if (root->findChild2("compressedDer")) {
    DataBuffer der;
    EXPECT_TRUE(root->getBinaryContent(true, 1 << 20, der, log)) << log.text().view();
    EXPECT_TRUE(der.equals(certDerOf(cert)));
    root->put_ContentUtf8("*");
  }
  StringBuffer xml;
  root->GetRoot2();
  root->getXml(true, xml, log);
  return std::string(xml.view());
}

TEST(Summary, HoldsItsElementsInOrder) {
  der::Certificate fields;
  fields.serial = der::integer("\x01\xAB");
  fields.issuer = der::name({{"2.5.4.5", "attribute"}, {"2.5.4.3", "Root"}});
  fields.subject = der::name({{"2.5.4.6", "US"},
                              {"2.5.4.8", "Ohio"},
                              {"2.5.4.7", "Bath"},
                              {"2.5.4.10", "A & B"},
                              {"2.5.4.11", "first"},
                              {"2.5.4.11", "second"},
                              {"2.5.4.3", "host"}});
  fields.validity = der::sequence(der::utcTime("691231235959Z"), der::utcTime("200229010203Z"));
  fields.extensions = der::context(
      3, der::sequence(extension("2.5.29.14", der::octets("id")),
                       extension("2.5.29.17", der::sequence(der::element(0x82, "host")))));
  LoadedX509 cert(fields.der());
  EXPECT_EQ(
      summaryOf(cert, true),
      "<cert><subject><Serial>01AB</Serial><CN>host</CN><O>A &amp; B</O><OU>first</OU><C>US</C>"
      "<S>Ohio</S><L>Bath</L></subject>"
      "<issuer><Serial>attribute</Serial><CN>Root</CN><O></O><OU></OU><C></C><S></S><L></L>"
      "</issuer><subjectKeyIdentifier>aWQ=</subjectKeyIdentifier>"
      "<publicKey><alg>1.2.840.113549.1.1.1</alg><sequence><sequence>"
      "<oid>1.2.840.113549.1.1.1</oid><null></null></sequence><bits>6B6579</bits></sequence>"
      "</publicKey><signature><algOid>1.2.840.113549.1.1.12</algOid><sigBase64>c2lnbmVk</sigBase64>"
      "</signature><validFromUTC>Wed, 31 Dec 1969 23:59:59 GMT</validFromUTC>"
      "<validToUTC>Sat, 29 Feb 2020 01:02:03 GMT</validToUTC><certVersion>3</certVersion>"
      "<rfc822Name>host</rfc822Name><compressedDer>*</compressedDer></cert>");
}

TEST(Summary, WithoutAKeyItIsWholeAndFalse) {
  der::Certificate fields;
  fields.version = "";
  fields.publicKey = der::utf8("no key at all");
  fields.signature = "";
  LoadedX509 cert(fields.der());
  const std::string xml = summaryOf(cert, false);
  EXPECT_NE(xml.find("</issuer><publicKey><alg></alg></publicKey><signature>"), std::string::npos);
  EXPECT_NE(xml.find("<sigBase64></sigBase64>"), std::string::npos);
  EXPECT_NE(xml.find("GMT</validToUTC><certVersion></certVersion><compressedDer>"),
            std::string::npos);
}

TEST(Summary, ASecondOneIsAppended) {
  LoadedX509 cert(der::Certificate().der());
  LogNull log;
  const _clsOwner root(ClsXml::createNewCls());
  EXPECT_TRUE(cert.toXmlInfo(*root, log));
  const int count = root->get_NumChildren();
  EXPECT_TRUE(cert.toXmlInfo(*root, log));
  EXPECT_EQ(root->get_NumChildren(), 2 * count);
}

TEST(Rfc822Date, DaysOfTheWeekOnBothSidesOf1970) {
  const std::pair<const char*, const char*> kDates[] = {
      {"00010101000000Z", "Mon, 01 Jan 0001 00:00:00 GMT"},
      {"19000228235959Z", "Wed, 28 Feb 1900 23:59:59 GMT"},
      {"19691231000000Z", "Wed, 31 Dec 1969 00:00:00 GMT"},
      {"19700101000000Z", "Thu, 01 Jan 1970 00:00:00 GMT"},
      {"20000229120000.9Z", "Tue, 29 Feb 2000 12:00:00 GMT"},
      {"99991231235959Z", "Fri, 31 Dec 9999 23:59:59 GMT"},
  };
  for (const auto& [text, expected] : kDates) {
    LogNull log;
    VelmoraSysTime t;
    ASSERT_TRUE(t.fromX509(text, true, log));
    StringBuffer out(std::string_view("x"));
    EXPECT_TRUE(_vmDateParser::generateDateRFC822(t, out));
    EXPECT_EQ(out.view(), "x" + std::string(expected));
  }
}

TEST(BinaryContent, WhatIsNotItsFormIsRefusedWithTheReason) {
  const _clsOwner xml(ClsXml::createNewCls());
  LogNull quiet;
  DataBuffer data;
  data.append("0123456789", 10);
  const struct {
    const char* content;  // null: what setBinaryContent writes
    bool zip;
    size_t maxSize;
    const char* reason;  // null: it reads back
  } kCases[] = {
      {nullptr, true, 10, nullptr},
      {nullptr, true, 9, "the output is larger than allowed"},
      {nullptr, false, 10, nullptr},
      {nullptr, false, 9, "the output is larger than allowed"},
      {"no base64!", false, 10, "Failed to decode binary content."},
      {"AAAA", true, 10, "Failed to read binary content."},
  };
  for (const auto& [content, zip, maxSize, reason] : kCases) {
    LogText log;
    ASSERT_TRUE(content != nullptr ? xml->put_ContentUtf8(content)
                                   : xml->setBinaryContent(data, zip, false, nullptr, quiet));
    DataBuffer out;
    out.append("x", 1);
    EXPECT_EQ(xml->getBinaryContent(zip, maxSize, out, log), reason == nullptr);
    EXPECT_EQ(out.view(), reason == nullptr ? "x0123456789" : "x");
    EXPECT_EQ(log.text().containsSubstring(reason), reason != nullptr) << log.text().view();
  }
}

}  // namespace
}  // namespace velmora::test
