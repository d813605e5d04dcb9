#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

der::Bytes cn(std::string_view value) {
  return der::attribute("2.5.4.3", der::printable(value));
}

TEST(DistinguishedName, BothNamesInBothOrdersWithAndWithoutTypes) {
  LoadedX509 cert(der::Certificate().der());
  LogText log;
  XString out(std::string_view("what stood here"));
  EXPECT_TRUE(cert.getDN(false, true, out, log, 0));
  EXPECT_EQ(out.view(), "C=US, O=Acme, CN=Root");
  EXPECT_TRUE(cert.getDN_reverseOrder(true, true, 0, out, log));
  EXPECT_EQ(out.view(), "CN=host, O=Acme, C=US");
  EXPECT_TRUE(cert.getDN(false, false, out, log, 1));
  EXPECT_EQ(out.view(), "US, Acme, Root");
  EXPECT_EQ(log.text().view(), "dn_getDN:\ndn_getDN_reverseOrder:\ndn_getDN:\n");
}

TEST(DistinguishedName, ReadsEveryKindOfValue) {
  const struct {
    der::Bytes value;
    std::string text;
  } kCases[] = {
      {der::bmp(u"Zürich"), "Zürich"},
      {der::bmp(u"Z, \xD800"), "\"Z, \uFFFD\""},
      {der::utf8("Zürich"), "Zürich"},
      {der::utf8("\xFF"), "ÿ"},  // not UTF-8, so each octet is a character
      {der::t61("\xE9"), "é"},
      {der::ia5("a@b"), "a@b"},
      {der::utf8("bank\0.example"s), "bank\0.example"s},
      {der::utf8("a\nb\x1B"), "a\nb\x1B"},
      {der::utf8("Acme, Inc."), "\"Acme, Inc.\""},
      {der::utf8(" +=\"#\\;<> "), " +=\"#\\;<> "},
      {der::utf8(""), ""},
      {der::octets("ab"), "YWI="},
      {der::integer("\x05"), "05"},
      {der::sequence(der::null()), ""},
  };
  for (const auto& [value, text] : kCases) {
    LoadedX509 cert(withSubject(der::sequence(der::set(der::attribute("2.5.4.3", value)))));
    EXPECT_EQ(subjectOf(cert), "CN=" + text);
  }
}

TEST(DistinguishedName, HexadecimalValuesAreTheDerOfTheValueElement) {
  const der::Bytes value = der::bmp(u"Ab");
  LoadedX509 cert(withSubject(der::sequence(der::set(der::attribute("2.5.4.12", value)))));
  EXPECT_EQ(subjectOf(cert, 4), "2.5.4.12=#1e0400410062");
}

TEST(DistinguishedName, MultiValuedRdnsAreTornApartInAllStylesButOne) {
  LoadedX509 cert(withSubject(der::sequence(
      der::set(cn("a"), der::attribute("0.9.2342.19200300.100.1.1", der::printable("b"))),
      der::set(cn("c"), cn("d")))));
  EXPECT_EQ(subjectOf(cert), "CN=a, OID.0.9.2342.19200300.100.1.1=b, CN=c, CN=d");
  EXPECT_EQ(subjectOf(cert, 1), "CN=a, 0.9.2342.19200300.100.1.1=#130162, CN=c, CN=d");
  EXPECT_EQ(subjectOf(cert, 6), "CN=a + OID.0.9.2342.19200300.100.1.1=b, CN=c + CN=d");
  LogNull log;
  EXPECT_EQ(textOf([&](XString& out) { cert.getDN_reverseOrder(true, true, 6, out, log); }),
            "CN=c + CN=d, CN=a + OID.0.9.2342.19200300.100.1.1=b");
}

TEST(DistinguishedName, TheSeparatorDependsOnTextNotOnCount) {
  LoadedX509 cert(withSubject(der::sequence(der::set(cn("")), der::set(cn("x")))));
  LogNull log;
  EXPECT_EQ(textOf([&](XString& out) { cert.getDN(true, false, out, log, 0); }), "x");
  EXPECT_EQ(subjectOf(cert), "CN=, CN=x");
}

TEST(DistinguishedName, AnEmptyNameIsReachableAndANeverLoadedOneIsNot) {
  LoadedX509 cert(withSubject(der::sequence()));
  VelmoraX509 empty;
  LogText log;
  XString out(std::string_view("what stood here"));
  EXPECT_TRUE(cert.getDN(true, true, out, log, 0));
  EXPECT_TRUE(out.isEmpty());
  out.appendUtf8("what stood here");
  EXPECT_FALSE(empty.getDN_reverseOrder(true, true, 0, out, log));
  EXPECT_TRUE(out.isEmpty());
  EXPECT_EQ(log.text().view(), "dn_getDN:\ndn_getDN_reverseOrder:\n");
}

constexpr const char* kExpectedSet = "DistinguishedName: Expected set.";
constexpr const char* kEmptySet = "DistinguishedName is empty.";
constexpr const char* kExpectedSequence = "DistinguishedName: Expected sequence.";
constexpr const char* kExpectedOid = "DistinguishedName: Expected oid.";

// A malformed subject (followed by the public key, preceded by five fields that are no sets), and
// what it renders as and reports in either order.
struct MalformedName {
  const char* what;
  der::Bytes name;
  const char* forward;
  std::vector<std::string> forwardErrors;
  const char* reverse;
  std::vector<std::string> reverseErrors;
};

const der::Bytes kGood = der::set(cn("b"));

const MalformedName kMalformedNames[] = {
    {"RDN that is no set",
     der::sequence(cn("a"), kGood),
     "CN=b",
     {kExpectedSet},
     "CN=b",
     {kExpectedSet}},
    {"empty RDN", der::sequence(der::set(), kGood), "CN=b", {kEmptySet}, "CN=b", {kEmptySet}},
    {"RDN of an OID: the walk goes on among its siblings",
     der::sequence(der::set(der::oid("2.5.4.3"), der::set(cn("inner"))), kGood),
     "CN=inner",
     {kExpectedSequence},
     "CN=b",
     {kExpectedSequence}},
    {"attribute that starts with a value",
     der::sequence(der::set(cn("a"), der::sequence(der::printable("x")), cn("skipped")), kGood),
     "CN=a, CN=b",
     {kExpectedOid},
     "CN=b, CN=a",
     {kExpectedOid}},
    {"attribute without members: the walk goes on among the name's siblings",
     der::sequence(der::set(cn("a")), der::set(der::sequence()), kGood),
     "CN=a",
     {kExpectedOid, kExpectedSet},
     "CN=b",
     {kExpectedOid, kExpectedSet, kExpectedSet, kExpectedSet, kExpectedSet, kExpectedSet}},
    {"attribute without a value",
     der::sequence(der::set(der::sequence(der::oid("2.5.4.3"))), kGood),
     "CN=b",
     {},
     "CN=b",
     {}},
    {"later member of an RDN that is an OID itself: it names the one after it",
     der::sequence(der::set(cn("a"), der::oid("2.5.4.10"), der::utf8("o")), kGood),
     "CN=a, O=o",
     {kExpectedOid, kExpectedSet},
     "CN=b, CN=a, O=o",
     {kExpectedOid, kExpectedSet, kExpectedSet, kExpectedSet, kExpectedSet, kExpectedSet}},
};

TEST(DistinguishedName, MalformedNamesRenderWhatTheyHaveAndSayWhatIsWrong) {
  for (const MalformedName& malformed : kMalformedNames) {
    SCOPED_TRACE(malformed.what);
    LoadedX509 cert(withSubject(malformed.name));
    ErrorLog forward;
    ErrorLog reverse;
    XString out;
    EXPECT_TRUE(cert.getDN(true, true, out, forward, 0));
    EXPECT_EQ(out.view(), malformed.forward);
    EXPECT_EQ(forward.errors, malformed.forwardErrors);
    EXPECT_TRUE(cert.getDN_reverseOrder(true, true, 0, out, reverse));
    EXPECT_EQ(out.view(), malformed.reverse);
    EXPECT_EQ(reverse.errors, malformed.reverseErrors);
    EXPECT_EQ(serialOf(cert), "01") << "the handle is not back on the root";
  }
}

}  // namespace
}  // namespace velmora::test
