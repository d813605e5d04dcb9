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
      sequence(sequence(der::oid("1.2.3"), boolean(true), octets("critical")),
               extension("1.2.3.4", "longer OID"), extension("1.2.5", "first"),
               extension("1.2.5", "second"), sequence(der::oid("1.2.6")),
               extension("1.2.6", "after one without a value"), extension("1.2.7", ""));
  for (const unsigned tag : {3u, 0u}) {  // both places of the list
    der::Certificate fields;
    fields.extensions = context(tag, listed);
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
  const der::Bytes list = sequence(extension("1.2.3", "hidden"));
  const auto keyWith = [](const der::Bytes& parameters) {
    return sequence(sequence(der::oid("1.2.840.10045.2.1"), parameters), bits("key"));
  };
  const auto nameWith = [](const der::Bytes& value) {
    return sequence(set(attribute("2.5.4.3", value)));
  };
  const der::Bytes key = der::Certificate().publicKey;
  const der::Bytes name = der::Certificate().subject;
  const der::Bytes listed = context(3, sequence(own));
  const struct {
    der::Bytes subject, publicKey, extensions;
    const char* found;
  } kCases[] = {
      {name, keyWith(context(3, list)), listed, "own"},
      {name, keyWith(context(3, list)), context(0, sequence(own)), "own"},
      {name, keyWith(context(3, list)), "", "none"},
      {name, keyWith(context(0, list)), "", "none"},
      {nameWith(context(3, list)), key, listed, "own"},
      {nameWith(context(3, list)), key, "", "none"},
      {name, key, context(2, context(3, list)) + listed, "own"},
      {name, key, context(3, context(3, list)) + listed, "own"},
      {name, key, context(3, set(own)), "none"},
      {name, key, context(0, list) + listed, "own"},
      {name, key, context(3, integer("\x01")) + context(0, sequence(own)), "own"},
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
  const der::Bytes issuer = context(1, context(4, der::Certificate().issuer));
  const der::Bytes serial = primitive(2, "\x12\x67");
  const struct {
    const char* what;
    const char* oid;
    der::Bytes value;
    const char* identifier;
  } kCases[] = {
      {"of the subject", kSki, octets("id"), "aWQ="},
      {"empty", kSki, octets(""), ""},
      {"of another type: shown as XML", kSki, integer("\x05"), "<int>05</int>"},
      {"of the authority, alone", kAki, sequence(primitive(0, "id")), "aWQ="},
      {"with issuer and serial", kAki, sequence(primitive(0, "id"), issuer, serial), "aWQ="},
      {"identifier last", kAki, sequence(issuer, serial, primitive(0, "id")), "aWQ="},
      {"bare octets", kAki, octets("id"), "aWQ="},
      {"issuer and serial alone", kAki, sequence(issuer, serial), ""},
      {"empty identifier", kAki, sequence(primitive(0, "")), ""},
      {"constructed [0]", kAki, sequence(context(0, octets("id"))), ""},
      {"of another type", kAki, sequence(integer("\x05")), ""},
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
  return withExtensions(extension(kSan, sequence(names...)));
}

der::Bytes otherName(const der::Bytes& value) {
  return context(0, der::oid("1.2.3"), context(0, value));
}

const der::Bytes kDirectory = sequence(
    set(attribute("2.5.4.6", printable("CH")), attribute("2.5.4.7", utf8("second of its RDN"))),
    set(attribute("2.5.4.10", t61("t61"))), set(), set(attribute("2.5.4.10", bmp(u"bmp"))),
    set(attribute(kEmail, ia5("a@b"))), set(attribute("2.5.4.3", utf8("Zürich"))),
    set(sequence(der::oid("2.5.4.3"), printable("p"), utf8("8"))));

TEST(AlternativeNames, EveryKindOfNameAsXml) {
  const std::pair<der::Bytes, const char*> kNames[] = {
      {primitive(1, "a@b"), "<rfc822Name>a@b</rfc822Name>"},
      {primitive(2, "*.c"), "<dnsName>*.c</dnsName>"},
      {primitive(2, ""), "<dnsName></dnsName>"},
      {primitive(6, "urn:a&b"),
       "<uniformResourceIdentifier>urn:a&amp;b</uniformResourceIdentifier>"},
      {primitive(1, "J\xFCrg"), "<rfc822Name>J\uFFFDrg</rfc822Name>"},  // not UTF-8
      {primitive(2, "a\0b"s), "<dnsName>a&#0;b</dnsName>"},
      {primitive(7, "\xC0\0\2\1"s), ""},  // what the document does not know
      {context(5, context(1, utf8("x"))), ""},
      {context(4, kDirectory),
       "<directoryName><2.5.4.6>CH</2.5.4.6><1.2.840.113549.1.9.1>a@b</1.2.840.113549.1.9.1>"
       "<2.5.4.3>Zürich</2.5.4.3><2.5.4.3>8</2.5.4.3></directoryName>"},
      {context(4, sequence()), "<directoryName></directoryName>"},
      {context(4, kDirectory, kDirectory), ""},
      // Octets before all, then UTF-8, IA5 and printable text.
      {otherName(utf8("8") + octets("raw")), "<name type=\"oid\" oid=\"1.2.3\">raw</name>"},
      {otherName(printable("p") + ia5("i") + utf8("8")),
       "<name type=\"oid\" oid=\"1.2.3\">8</name>"},
      {otherName(printable("p") + ia5("i")), "<name type=\"oid\" oid=\"1.2.3\">i</name>"},
      {otherName(printable("p")), "<name type=\"oid\" oid=\"1.2.3\">p</name>"},
      {otherName(bmp(u"x")), "<name type=\"oid\" oid=\"1.2.3\"></name>"},
      {context(0, der::oid("1.2.3")), "<name type=\"oid\" oid=\"1.2.3\"></name>"},
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
  const std::tuple<const char*, der::Bytes, const char*> kCases[] = {
      {"in their order",
       sequence(primitive(2, "h"), primitive(1, "a@b"), primitive(6, "urn:x"), primitive(1, "c@d")),
       "h,a@b,c@d"},
      {"empty ones leave no comma",
       sequence(primitive(1, ""), primitive(1, "a@b"), primitive(2, ""), primitive(2, "h")),
       "a@b,h"},
      {"UTF-8", sequence(primitive(1, "Jürg@b"), primitive(1, "J\xFCrg")), "Jürg@b,J\uFFFDrg"},
      {"of another class", sequence(element(0x41, "a"), primitive(2, "h")), "h"},
      {"constructed", sequence(context(1, ia5("a@b")), primitive(2, "h")), "h"},
      {"bare octets are Windows-1252", octets("J\xFCrg \x80"), "Jürg €"},
      {"none", sequence(primitive(6, "urn:x")), nullptr},
      {"empty ones alone", sequence(primitive(1, "")), nullptr},
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
  const der::Bytes names = sequence(primitive(1, "san@b"));
  der::Certificate fields;
  fields.extensions = listOf(extension(kSan, names));
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
