#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

std::string dataOf(VelmoraX509& cert, const char* oid) {
  LogText log;
  DataBuffer out = bytesOf("x");
  const bool found = cert.getExtensionDataByOid(oid, out, log);
  EXPECT_TRUE(log.text().isEmpty());
  return (found ? "" : "none") + std::string(out.view());
}

TEST(Extensions, AreFoundByTheirOid) {
  const der::Bytes listed =
      der::sequence(der::sequence(der::oid("1.2.3"), der::boolean(true), der::octets("critical")),
                    extension("1.2.3.4", "longer OID"), extension("1.2.5", "first"),
                    extension("1.2.5", "second"), der::sequence(der::oid("1.2.6")),
                    extension("1.2.6", "after one without a value"), extension("1.2.7", ""));
  for (const unsigned tag : {3u, 0u}) {  // both places of the list
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
    EXPECT_EQ(dataOf(cert, nullptr), "none");
  }
}

// What stands in the certificate's other fields, before the list and in it, and what is found.
TEST(Extensions, AreFoundAtTheirPlaceAlone) {
  const der::Bytes own = extension("1.2.3", "own");
  const der::Bytes list = der::sequence(extension("1.2.3", "hidden"));
  const auto keyWith = [](const der::Bytes& parameters) {
    return der::sequence(der::sequence(der::oid("1.2.840.10045.2.1"), parameters),
                         der::bits("key"));
  };
  const auto nameWith = [](const der::Bytes& value) {
    return der::sequence(der::set(der::attribute("2.5.4.3", value)));
  };
  const der::Bytes key = der::Certificate().publicKey;
  const der::Bytes name = der::Certificate().subject;
  const der::Bytes listed = der::context(3, der::sequence(own));
  const struct {
    der::Bytes subject, publicKey, extensions;
    const char* found;
  } kCases[] = {
      {name, keyWith(der::context(3, list)), listed, "own"},
      {name, keyWith(der::context(3, list)), der::context(0, der::sequence(own)), "own"},
      {name, keyWith(der::context(3, list)), "", "none"},
      {name, keyWith(der::context(0, list)), "", "none"},
      {nameWith(der::context(3, list)), key, listed, "own"},
      {nameWith(der::context(3, list)), key, "", "none"},
      {name, key, der::context(2, der::context(3, list)) + listed, "own"},
      {name, key, der::context(3, der::context(3, list)) + listed, "own"},
      {name, key, der::context(3, der::set(own)), "none"},
      {name, key, der::context(0, list) + listed, "own"},
      {name, key, der::context(3, der::integer("\x01")) + der::context(0, der::sequence(own)),
       "own"},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(&row - kCases);
    der::Certificate fields;
    fields.subject = row.subject;
    fields.publicKey = row.publicKey;
    fields.extensions = row.extensions;
    LoadedX509 cert(fields.der());
    EXPECT_EQ(dataOf(cert, "1.2.3"), row.found);
    EXPECT_EQ(serialOf(cert), "01") << "the handle is not back on the root";
  }
}

TEST(Extensions, WhatIsNoDerHasNoXml) {
  LoadedX509 cert(withExtensions(extension("1.2.4", "no DER")));
  LogNull log;
  StringBuffer out(std::string_view("what stood here"));
  EXPECT_FALSE(cert.getExtensionAsnXmlByOid("1.2.4", out, log));
  EXPECT_EQ(out.view(), "");
}

// What stands in the extension, and what the identifier is ("": none).
TEST(KeyIdentifiers, AreReadInEveryForm) {
  constexpr const char* kSki = "2.5.29.14";
  constexpr const char* kAki = "2.5.29.35";
  const der::Bytes issuer = der::context(1, der::context(4, der::Certificate().issuer));
  const der::Bytes serial = primitive(2, "\x12\x67");
  const struct {
    const char* what;
    const char* oid;
    der::Bytes value;
    const char* identifier;
  } kCases[] = {
      {"of the subject", kSki, der::octets("id"), "aWQ="},
      {"empty", kSki, der::octets(""), ""},
      {"of another type: shown as XML", kSki, der::integer("\x05"), "<int>05</int>"},
      {"of the authority, alone", kAki, der::sequence(primitive(0, "id")), "aWQ="},
      {"with issuer and serial", kAki, der::sequence(primitive(0, "id"), issuer, serial), "aWQ="},
      {"identifier last", kAki, der::sequence(issuer, serial, primitive(0, "id")), "aWQ="},
      {"bare octets", kAki, der::octets("id"), "aWQ="},
      {"issuer and serial alone", kAki, der::sequence(issuer, serial), ""},
      {"empty identifier", kAki, der::sequence(primitive(0, "")), ""},
      {"constructed [0]", kAki, der::sequence(der::context(0, der::octets("id"))), ""},
      {"of another type", kAki, der::sequence(der::integer("\x05")), ""},
  };
  for (const auto& [what, oid, value, identifier] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(withExtensions(extension(oid, value)));
    LogText log;
    StringBuffer xml;
    StringBuffer out(std::string_view("what stood here"));
    ASSERT_TRUE(cert.getExtensionAsnXmlByOid(oid, xml, log));
    const bool ofAuthority = oid == kAki;
    EXPECT_EQ(ofAuthority ? cert.getAuthorityKeyIdentifier(out, log)
                          : cert.getSubjectKeyIdentifier(out, log),
              *identifier != 0);
    EXPECT_EQ(out.view(), identifier);
    const bool shown =
        log.text().containsSubstring(("  authKeyIdXml: " + std::string(xml.view()) + "\n").c_str());
    EXPECT_EQ(shown, ofAuthority && *identifier == 0) << log.text().view();
  }
}

constexpr const char* kSan = "2.5.29.17";
constexpr const char* kEmail = "1.2.840.113549.1.9.1";

template <class... Names>
der::Bytes withNames(const Names&... names) {
  return withExtensions(extension(kSan, der::sequence(names...)));
}

der::Bytes otherName(const der::Bytes& value) {
  return der::context(0, der::oid("1.2.3"), der::context(0, value));
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
    der::Bytes name;
    const char* xml;
  } kNames[] = {
      {primitive(1, "a@b"), "<rfc822Name>a@b</rfc822Name>"},
      {primitive(2, "*.c"), "<dnsName>*.c</dnsName>"},
      {primitive(2, ""), "<dnsName></dnsName>"},
      {primitive(6, "urn:a&b"),
       "<uniformResourceIdentifier>urn:a&amp;b</uniformResourceIdentifier>"},
      {primitive(1, "J\xFCrg"), "<rfc822Name>J\uFFFDrg</rfc822Name>"},  // not UTF-8
      {primitive(2, "a\0b"s), "<dnsName>a&#0;b</dnsName>"},
      {primitive(7, "\xC0\0\2\1"s), ""},  // what the document does not know
      {der::context(5, der::context(1, der::utf8("x"))), ""},
      {der::context(4, kDirectory),
       "<directoryName><2.5.4.6>CH</2.5.4.6><1.2.840.113549.1.9.1>a@b</1.2.840.113549.1.9.1>"
       "<2.5.4.3>Zürich</2.5.4.3><2.5.4.3>8</2.5.4.3></directoryName>"},
      {der::context(4, der::sequence()), "<directoryName></directoryName>"},
      {der::context(4, kDirectory, kDirectory), ""},
      // Octets before all, then UTF-8, IA5 and printable text.
      {otherName(der::utf8("8") + der::octets("raw")),
       "<name type=\"oid\" oid=\"1.2.3\">raw</name>"},
      {otherName(der::printable("p") + der::ia5("i") + der::utf8("8")),
       "<name type=\"oid\" oid=\"1.2.3\">8</name>"},
      {otherName(der::printable("p") + der::ia5("i")), "<name type=\"oid\" oid=\"1.2.3\">i</name>"},
      {otherName(der::printable("p")), "<name type=\"oid\" oid=\"1.2.3\">p</name>"},
      {otherName(der::bmp(u"x")), "<name type=\"oid\" oid=\"1.2.3\"></name>"},
      {der::context(0, der::oid("1.2.3")), "<name type=\"oid\" oid=\"1.2.3\"></name>"},
  };
  der::Bytes all;
  std::string expected;
  for (const auto& [name, xml] : kNames) {
    all += name;
    expected += xml;
  }
  LoadedX509 cert(withNames(all));
  LogNull log;
  EXPECT_EQ(textOf([&](XString& out) { cert.getSubjectAlternativeNameXml(out, log); }),
            "<SubjectAltName>" + expected + "</SubjectAltName>");
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
  const der::Bytes names = der::sequence(primitive(1, "san@b"));
  der::Certificate fields;
  fields.extensions = der::context(3, der::sequence(extension(kSan, names)));
  fields.subject = der::name({{kEmail, "subject@b"}});
  LoadedX509 inNames(withExtensions(extension(kSan, names)));
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
