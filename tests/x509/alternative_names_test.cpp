#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

constexpr const char* kSan = "2.5.29.17";
constexpr const char* kEmail = "1.2.840.113549.1.9.1";

template <class... Names>
der::Bytes withNames(const Names&... names) {
  return withExtensions(extension(kSan, der::sequence(names...)));
}

der::Bytes otherName(const der::Bytes& value) {
  return der::context(0, der::oid("1.2.3"), der::context(0, value));
}

std::string xmlOf(VelmoraX509& cert, LogBase& log) {
  return textOf([&](XString& out) {
    out.appendUtf8("what stood here");
    EXPECT_TRUE(cert.getSubjectAlternativeNameXml(out, log));
  });
}

const der::Bytes kDirectory = der::sequence(
    der::set(der::attribute("2.5.4.6", der::printable("CH")),
             der::attribute("2.5.4.7", der::utf8("second of its RDN"))),
    der::set(der::attribute("2.5.4.10", der::t61("t61"))), der::set(),
    der::set(der::attribute("2.5.4.10", der::bmp(u"bmp"))),
    der::set(der::attribute(kEmail, der::ia5("a@b"))),
    der::set(der::attribute("2.5.4.3", der::utf8("Zürich"))),
    der::set(der::sequence(der::oid("2.5.4.3"), der::printable("p"), der::utf8("8"))));

TEST(AlternativeNames, EveryKindOfNameAsXml) {
  const struct {
    const char* what;
    der::Bytes name;
    const char* xml;
  } kCases[] = {
      {"e-mail", primitive(1, "a@b"), "<rfc822Name>a@b</rfc822Name>"},
      {"host", primitive(2, "*.c"), "<dnsName>*.c</dnsName>"},
      {"empty host", primitive(2, ""), "<dnsName></dnsName>"},
      {"URI", primitive(6, "urn:a&b"),
       "<uniformResourceIdentifier>urn:a&amp;b</uniformResourceIdentifier>"},
      {"not UTF-8", primitive(1, "J\xFCrg"), "<rfc822Name>J\uFFFDrg</rfc822Name>"},
      {"NUL", primitive(2, "a\0b"s), "<dnsName>a&#0;b</dnsName>"},
      {"address", primitive(7, "\xC0\0\2\1"s), ""},
      {"registered ID", primitive(8, "\x2A"), ""},
      {"x400Address", der::context(3, der::sequence()), ""},
      {"ediPartyName", der::context(5, der::context(1, der::utf8("x"))), ""},
      {"directory", der::context(4, kDirectory),
       "<directoryName><2.5.4.6>CH</2.5.4.6><1.2.840.113549.1.9.1>a@b</1.2.840.113549.1.9.1>"
       "<2.5.4.3>Zürich</2.5.4.3><2.5.4.3>8</2.5.4.3></directoryName>"},
      {"directory of no RDNs", der::context(4, der::sequence()), "<directoryName></directoryName>"},
      {"two directories in one", der::context(4, kDirectory, kDirectory), ""},
      {"other name of octets", otherName(der::octets("raw")),
       "<name type=\"oid\" oid=\"1.2.3\">raw</name>"},
      {"octets before all, UTF-8 before IA5",
       otherName(der::ia5("i") + der::printable("p") + der::utf8("8")),
       "<name type=\"oid\" oid=\"1.2.3\">8</name>"},
      {"octets before text", otherName(der::utf8("8") + der::octets("raw")),
       "<name type=\"oid\" oid=\"1.2.3\">raw</name>"},
      {"IA5", otherName(der::ia5("i")), "<name type=\"oid\" oid=\"1.2.3\">i</name>"},
      {"printable", otherName(der::printable("p")), "<name type=\"oid\" oid=\"1.2.3\">p</name>"},
      {"other type", otherName(der::bmp(u"x")), "<name type=\"oid\" oid=\"1.2.3\"></name>"},
      {"no value", der::context(0, der::oid("1.2.3")), "<name type=\"oid\" oid=\"1.2.3\"></name>"},
  };
  der::Bytes all;
  std::string everything;
  for (const auto& [what, name, xml] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(withNames(name));
    LogText log;
    EXPECT_EQ(xmlOf(cert, log), "<SubjectAltName>" + std::string(xml) + "</SubjectAltName>");
    EXPECT_EQ(log.text().view(), "getSubjectAlternativeNameXml:\n  generalizedNames:\n    name:\n");
    all += name;
    everything += xml;
  }
  LoadedX509 cert(withNames(all));
  LogNull log;
  EXPECT_EQ(xmlOf(cert, log), "<SubjectAltName>" + everything + "</SubjectAltName>");
}

TEST(AlternativeNames, WithoutTheExtensionThereIsAnInformationLine) {
  LoadedX509 cert(der::Certificate().der());
  LogText log;
  XString out(std::string_view("what stood here"));
  EXPECT_FALSE(cert.getSubjectAlternativeNameXml(out, log));
  EXPECT_TRUE(out.isEmpty());
  EXPECT_EQ(log.text().view(),
            "getSubjectAlternativeNameXml:\n  Cert has no 2.5.29.17 extension.\n");
  log.clear();
  EXPECT_FALSE(cert.getRfc822Name(out, log));
  EXPECT_EQ(log.text().view(), "getRfc822Name:\n");
}

// What getRfc822Name gives of an extension value; null: it fails and says so.
TEST(AlternativeNames, AddressesAreThoseOfMailAndHosts) {
  const struct {
    const char* what;
    der::Bytes value;
    const char* addresses;
  } kCases[] = {
      {"in their order",
       der::sequence(primitive(2, "h"), primitive(1, "a@b"), primitive(6, "urn:x"),
                     primitive(1, "c@d")),
       "h,a@b,c@d"},
      {"empty ones leave no comma",
       der::sequence(primitive(1, ""), primitive(1, "a@b"), primitive(2, ""), primitive(2, "h")),
       "a@b,h"},
      {"UTF-8", der::sequence(primitive(1, "Jürg@b"), primitive(1, "J\xFCrg")), "Jürg@b,J\uFFFDrg"},
      {"of another class", der::sequence(der::element(0x41, "a"), primitive(2, "h")), "h"},
      {"constructed", der::sequence(der::context(1, der::ia5("a@b")), primitive(2, "h")), "h"},
      {"bare octets are Windows-1252", der::octets("J\xFCrg \x80"), "Jürg €"},
      {"empty SEQUENCE", der::sequence(), ""},
      {"none", der::sequence(primitive(6, "urn:x")), nullptr},
      {"empty ones alone", der::sequence(primitive(1, "")), nullptr},
  };
  for (const auto& [what, value, addresses] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(withExtensions(extension(kSan, value)));
    LogText log;
    XString out(std::string_view("what stood here"));
    EXPECT_EQ(cert.getRfc822Name(out, log), addresses != nullptr);
    EXPECT_EQ(out.view(), addresses != nullptr ? addresses : "");
    const bool reported = log.text().containsSubstring("ERROR: Unexpected SubjectAltName\n") &&
                          log.text().containsSubstring("SubjectAltNameXml: <sequence>");
    EXPECT_EQ(reported, addresses == nullptr) << log.text().view();
  }
}

TEST(AlternativeNames, TheSubjectsAddressWins) {
  der::Certificate fields;
  fields.extensions =
      der::context(3, der::sequence(extension(kSan, der::sequence(primitive(1, "san@b")))));
  LoadedX509 inNames(fields.der());
  fields.subject = der::name({{kEmail, "subject@b"}});
  LoadedX509 inBoth(fields.der());
  LoadedX509 inNeither(withNames(primitive(6, "urn:x")));
  LogText log;
  const auto emailOf = [&](VelmoraX509& cert) {
    return textOf([&](XString& out) { EXPECT_TRUE(cert.getEmailAddress(out, log)); });
  };
  EXPECT_EQ(emailOf(inNames), "san@b");
  EXPECT_EQ(emailOf(inBoth), "subject@b");
  EXPECT_EQ(emailOf(inNeither), "");
  EXPECT_TRUE(log.text().isEmpty()) << "what getRfc822Name reports stays inside";
}

TEST(AlternativeNames, TheTextIsLoggedWhenVerbose) {
  LoadedX509 cert(withNames(primitive(2, "h")));
  LogText log;
  log.m_verbose = true;
  XString out;
  EXPECT_TRUE(cert.getSubjectAlternativeNameXml(out, log));
  EXPECT_TRUE(cert.getRfc822Name(out, log));
  const std::string xml =
      "<sequence><contextSpecific tag=\"2\" constructed=\"0\">aA==</contextSpecific></sequence>\n";
  EXPECT_EQ(log.text().view(),
            "getSubjectAlternativeNameXml:\n  sbXml: " + xml +
                "  generalizedNames:\n    name:\ngetRfc822Name:\n  SAN_xml: " + xml);
}

}  // namespace
}  // namespace velmora::test
