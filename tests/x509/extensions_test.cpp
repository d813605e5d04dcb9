#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

constexpr const char* kSki = "2.5.29.14";
constexpr const char* kAki = "2.5.29.35";

std::string dataOf(VelmoraX509& cert, const char* oid) {
  LogText log;
  DataBuffer out;
  DataBuffer same;
  out.append("x", 1);
  const bool found = cert.getExtensionDerDataByOid(oid, out, log);
  EXPECT_EQ(cert.getExtensionDataByOid(oid, same, log), found);
  EXPECT_TRUE(same.equals(out));
  EXPECT_TRUE(log.text().isEmpty());
  return found ? std::string(out.view()) : "none" + std::string(out.view());
}

TEST(Extensions, AreFoundByTheirOid) {
  const der::Bytes listed =
      der::sequence(der::sequence(der::oid("1.2.3"), der::boolean(true), der::octets("critical")),
                    extension("1.2.3.4", "longer OID"), extension("1.2.5", "first"),
                    extension("1.2.5", "second"), der::sequence(der::oid("1.2.6")),
                    extension("1.2.6", "after one without a value"), extension("1.2.7", ""));
  for (const unsigned tag : {3u, 0u}) {  // [0] was used for extensions before version 3
    der::Certificate fields;
    fields.extensions = der::context(tag, listed);
    if (tag == 0) fields.version = "";
    LoadedX509 cert(fields.der());
    EXPECT_EQ(dataOf(cert, "1.2.3"), "critical");
    EXPECT_EQ(dataOf(cert, "1.2.3.4"), "longer OID");
    EXPECT_EQ(dataOf(cert, "1.2.5"), "first");
    EXPECT_EQ(dataOf(cert, "1.2.6"), "none");
    EXPECT_EQ(dataOf(cert, "1.2.7"), "");
    EXPECT_EQ(dataOf(cert, "1.2"), "none");
    EXPECT_EQ(dataOf(cert, ""), "none");
    EXPECT_EQ(dataOf(cert, nullptr), "none");
  }
}

TEST(Extensions, TextIsAppendedAndXmlReplaced) {
  LoadedX509 cert(withExtensions(extension("1.2.3", der::utf8("v")), extension("1.2.4", "no DER")));
  LogNull log;
  StringBuffer out(std::string_view("x"));
  EXPECT_TRUE(cert.getExtensionTextByOid("1.2.3", out, log));
  EXPECT_TRUE(cert.getExtensionTextByOid("1.2.3", out, log));
  EXPECT_FALSE(cert.getExtensionTextByOid("1.2.9", out, log));
  EXPECT_EQ(out.view(), "x\x0C\x01v\x0C\x01v");
  EXPECT_TRUE(cert.getExtensionAsnXmlByOid("1.2.3", out, log));
  EXPECT_EQ(out.view(), "<utf8>v</utf8>");
  EXPECT_FALSE(cert.getExtensionAsnXmlByOid("1.2.4", out, log));
  EXPECT_EQ(out.view(), "");
}

// What stands in the extension, and what the identifier is ("": none).
struct IdentifierCase {
  const char* what;
  der::Bytes value;
  const char* identifier;
};

TEST(KeyIdentifiers, OfTheSubject) {
  const IdentifierCase kCases[] = {
      {"usual", der::octets("id"), "aWQ="},
      {"empty", der::octets(""), ""},
      {"of another type: shown as XML", der::integer("\x05"), "<int>05</int>"},
      {"no DER", "\x04\x05", ""},
  };
  for (const auto& [what, value, identifier] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(withExtensions(extension(kSki, value)));
    LogNull log;
    StringBuffer out(std::string_view("what stood here"));
    EXPECT_EQ(cert.getSubjectKeyIdentifier(out, log), *identifier != 0);
    EXPECT_EQ(out.view(), identifier);
  }
}

TEST(KeyIdentifiers, OfTheAuthority) {
  const der::Bytes issuer = der::context(1, der::context(4, der::Certificate().issuer));
  const der::Bytes serial = primitive(2, "\x12\x67");
  const IdentifierCase kCases[] = {
      {"identifier alone", der::sequence(primitive(0, "id")), "aWQ="},
      {"with issuer and serial", der::sequence(primitive(0, "id"), issuer, serial), "aWQ="},
      {"identifier last", der::sequence(issuer, serial, primitive(0, "id")), "aWQ="},
      {"bare octets", der::octets("id"), "aWQ="},
      {"issuer and serial alone", der::sequence(issuer, serial), ""},
      {"empty SEQUENCE", der::sequence(), ""},
      {"empty identifier", der::sequence(primitive(0, "")), ""},
      {"constructed [0]", der::sequence(der::context(0, der::octets("id"))), ""},
      {"of another type", der::sequence(der::integer("\x05")), ""},
  };
  for (const auto& [what, value, identifier] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(withExtensions(extension(kAki, value)));
    LogText log;
    StringBuffer xml;
    StringBuffer out(std::string_view("what stood here"));
    ASSERT_TRUE(cert.getExtensionAsnXmlByOid(kAki, xml, log));
    EXPECT_EQ(cert.getAuthorityKeyIdentifier(out, log), *identifier != 0);
    EXPECT_EQ(out.view(), identifier);
    EXPECT_EQ(log.text().view(), *identifier != 0 ? "getAuthorityKeyIdentifier:\n"
                                                  : "getAuthorityKeyIdentifier:\n  authKeyIdXml: " +
                                                        std::string(xml.view()) + "\n");
  }
}

TEST(KeyIdentifiers, AbsentOnesAreFalseWithoutAMessage) {
  LoadedX509 bare(der::Certificate().der());
  VelmoraX509 never;
  for (VelmoraX509* cert : {static_cast<VelmoraX509*>(&bare), &never}) {
    LogText log;
    StringBuffer out(std::string_view("what stood here"));
    EXPECT_EQ(dataOf(*cert, kSki), "none");
    EXPECT_FALSE(cert->getExtensionTextByOid(kSki, out, log));
    EXPECT_EQ(out.view(), "what stood here");
    EXPECT_FALSE(cert->getSubjectKeyIdentifier(out, log));
    EXPECT_FALSE(cert->getAuthorityKeyIdentifier(out, log));
    EXPECT_TRUE(out.isEmpty());
    EXPECT_EQ(log.text().view(), "getSubjectKeyIdentifier:\ngetAuthorityKeyIdentifier:\n");
  }
}

}  // namespace
}  // namespace velmora::test
