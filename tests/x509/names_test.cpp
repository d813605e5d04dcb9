#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

der::Bytes cn(std::string_view value) {
  return attribute("2.5.4.3", printable(value));
}

TEST(Names, MultiValuedRdnsAreTornApartInAllStylesButOne) {
  LoadedX509 cert(
      withSubject(sequence(set(cn("a"), attribute("0.9.2342.19200300.100.1.1", printable("b"))),
                           set(cn("c"), cn("d")))));
  EXPECT_EQ(subjectOf(cert), "CN=a, OID.0.9.2342.19200300.100.1.1=b, CN=c, CN=d");
  EXPECT_EQ(subjectOf(cert, 6), "CN=a + OID.0.9.2342.19200300.100.1.1=b, CN=c + CN=d");
  LogNull log;
  EXPECT_EQ(textOf([&](XString& out) { cert.getDN_reverseOrder(true, true, 6, out, log); }),
            "CN=c + CN=d, CN=a + OID.0.9.2342.19200300.100.1.1=b");
}

TEST(Names, TheSeparatorDependsOnTextNotOnCount) {
  LoadedX509 cert(withSubject(sequence(set(cn("")), set(cn("x")))));
  LogNull log;
  EXPECT_EQ(textOf([&](XString& out) { cert.getDN(true, false, out, log, 0); }), "x");
  EXPECT_EQ(subjectOf(cert), "CN=, CN=x");
}

std::string jsonOf(VelmoraX509& cert, LogBase& log) {
  StringBuffer out;
  EXPECT_TRUE(cert.getDnJson(true, out, log, 0));
  return std::string(out.view());
}

TEST(Names, JsonEscapesAndTakesTheFirstOfAnRdnAlone) {
  LoadedX509 cert(
      withSubject(sequence(set(attribute("2.5.4.3", utf8("a\"b\\c,d/\n\0"s)), cn("left out")),
                           set(attribute("2.5.4.3", bmp(u"Z\u00FC"))), set(cn("")))));
  LogNull log;
  EXPECT_EQ(jsonOf(cert, log), R"("CN":"","CN":"Zü","CN":"a\"b\\c,d/\n\u0000")");
}

const der::Bytes kFirst = set(cn("f"));
const der::Bytes kLast = set(cn("l"));
const der::Bytes kNoValue = set(sequence(der::oid("2.5.4.3")));

// A malformed subject, followed by the public key and preceded by five fields that are no sets. It
// renders in three ways, each with the errors behind it.
const struct {
  const char* what;
  der::Bytes name;
  const char *forward, *reverse, *json;
} kMalformedNames[] = {
    {"RDN that is no set", sequence(kFirst, cn("a"), kLast), "CN=f, CN=l set", "CN=l, CN=f set",
     R"("CN":"l","CN":"f" set)"},
    {"empty RDN", sequence(kFirst, set(), kLast), "CN=f, CN=l is empty", "CN=l, CN=f is empty",
     R"("CN":"l","CN":"f" is empty)"},
    {"RDN of an OID: the walk goes on among its siblings",
     sequence(kFirst, set(der::oid("2.5.4.3"), set(cn("inner"))), kLast), "CN=f, CN=inner sequence",
     "CN=l sequence", R"("CN":"l" sequence)"},
    {"attribute that starts with a value",
     sequence(kFirst, set(cn("a"), sequence(printable("x")), cn("b")), kLast),
     "CN=f, CN=a, CN=l oid", "CN=l, CN=a, CN=f oid", R"("CN":"l","CN":"a","CN":"f")"},
    {"first attribute that starts with a value: JSON ends inside",
     sequence(kFirst, set(sequence(utf8("x"))), kLast), "CN=f, CN=l oid", "CN=l, CN=f oid",
     R"("CN":"l" oid)"},
    {"attribute without members: the walk goes on among the name's siblings",
     sequence(kFirst, set(sequence()), kLast), "CN=f oid set", "CN=l oid set set set set set",
     R"("CN":"l" oid)"},
    {"attribute without a value", sequence(kFirst, kNoValue, kLast), "CN=f, CN=l", "CN=l, CN=f",
     R"("CN":"l","CN":"f")"},
    {"last attribute without a value: a comma leads", sequence(kFirst, kNoValue), "CN=f", "CN=f",
     R"(,"CN":"f")"},
    {"later member of an RDN that is an OID itself: it names the one after it",
     sequence(set(cn("a"), der::oid("2.5.4.10"), utf8("o")), kLast), "CN=a, O=o oid set",
     "CN=l, CN=a, O=o oid set set set set set", R"("CN":"l","CN":"a")"},
};

// The errors of a name without what they have in common.
std::string shortened(std::string errors) {
  for (const std::string common :
       {"DistinguishedName: Expected ", "DistinguishedName ", ".", "|"}) {
    while (errors.find(common) != std::string::npos) {
      errors.replace(errors.find(common), common.size(), common == "|" ? " " : "");
    }
  }
  return errors.empty() ? "" : " " + errors;
}

TEST(Names, MalformedOnesRenderWhatTheyHaveAndSayWhatIsWrong) {
  for (const auto& malformed : kMalformedNames) {
    SCOPED_TRACE(malformed.what);
    LoadedX509 cert(withSubject(malformed.name));
    ErrorLog forward, reverse, json;
    XString out;
    EXPECT_TRUE(cert.getDN(true, true, out, forward, 0));
    EXPECT_EQ(std::string(out.view()) + shortened(forward.errors), malformed.forward);
    EXPECT_TRUE(cert.getDN_reverseOrder(true, true, 0, out, reverse));
    EXPECT_EQ(std::string(out.view()) + shortened(reverse.errors), malformed.reverse);
    const std::string members = jsonOf(cert, json);
    EXPECT_EQ(members + shortened(json.errors), malformed.json);
    EXPECT_EQ(serialOf(cert), "01") << "the handle is not back on the root";
  }
}

constexpr const char* kCn = "2.5.4.3";

der::Bytes withNames(const der::Bytes& issuer, const der::Bytes& subject) {
  der::Certificate fields;
  fields.issuer = issuer;
  fields.subject = subject;
  return fields.der();
}

// One attribute with its members: as part of the whole name, and as its value alone. What is of no
// known string type is read as UTF-16, and only the subject leaves a trace of that.
enum class Alone { kNone, kText, kUtf16 };
using enum Alone;
const struct {
  const char* what;
  der::Bytes attributes;
  std::string name;
  Alone alone;
  std::string text;
} kValues[] = {
    {"UTF8String", attribute(kCn, utf8("Zürich")), "CN=Zürich", kText, "Zürich"},
    {"not UTF-8, so each octet is a character", attribute(kCn, utf8("\xFF")), "CN=ÿ", kText, "ÿ"},
    {"NUL", attribute(kCn, utf8("bank\0.example"s)), "CN=bank\0.example"s, kText,
     "bank\0.example"s},
    {"comma", attribute(kCn, utf8("Acme, Inc.")), "CN=\"Acme, Inc.\"", kText, "Acme, Inc."},
    {"no other character is special", attribute(kCn, ia5(" +=\"#\\;<>\n")), "CN= +=\"#\\;<>\n",
     kText, " +=\"#\\;<>\n"},
    {"T61String", attribute(kCn, t61("\xE9")), "CN=é", kText, "é"},
    {"empty", attribute(kCn, utf8("")), "CN=", kText, ""},
    {"OCTET STRING", attribute(kCn, octets("ab")), "CN=YWI=", kNone, ""},
    {"INTEGER", attribute(kCn, integer("\x05")), "CN=05", kNone, ""},
    {"no value", sequence(der::oid(kCn)), "", kNone, ""},
    {"another type", attribute("2.5.4.31", utf8("x")), "OID.2.5.4.31=x", kNone, ""},
    {"a type in a value", attribute("2.5.4.10", sequence(der::oid(kCn))), "O=", kNone, ""},
    {"string types are tried in their order, not in that of the values",
     sequence(der::oid(kCn), bmp(u"u"), t61("t"), ia5("i"), utf8("8")), "CN=u", kText, "8"},
    {"PrintableString before all", sequence(der::oid(kCn), utf8("8"), printable("p")), "CN=8",
     kText, "p"},
    {"the first of two decides even if it cannot be read",
     attribute(kCn, integer("\x05")) + attribute(kCn, printable("2")), "CN=05, CN=2", kNone, ""},
    {"BMPString", attribute(kCn, bmp(u"Zürich")), "CN=Zürich", kUtf16, "Zürich"},
    {"an odd octet counts for nothing alone", attribute(kCn, element(0x1E, "\0A\0"s)), "CN=A\uFFFD",
     kUtf16, "A"},
    {"half a pair, and a comma", attribute(kCn, bmp(u"Z, \xD800")), "CN=\"Z, \uFFFD\"", kUtf16,
     "Z, \uFFFD"},
    {"VisibleString", attribute(kCn, element(0x1A, "AB")), "CN=\u4142", kUtf16, "\u4142"},
};

TEST(NameAttributes, EveryKindOfValue) {
  for (const auto& [what, attributes, name, alone, text] : kValues) {
    SCOPED_TRACE(what);
    const der::Bytes der = sequence(set(attributes));
    LoadedX509 cert(withNames(der, der));
    EXPECT_EQ(subjectOf(cert), name);
    LogText log;
    XString value(std::string_view("what stood here"));
    EXPECT_EQ(cert.get_IssuerValue(kCn, value, log), alone != kNone);
    EXPECT_EQ(value.view(), text);
    EXPECT_TRUE(log.text().isEmpty()) << log.text().view();
    EXPECT_EQ(cert.get_SubjectValue(kCn, value, log), alone != kNone);
    EXPECT_EQ(value.view(), text);
    EXPECT_EQ(log.text().view(), alone == kUtf16 ? "bmpStr: " + text + "\n" : "");
  }
}

TEST(NameAttributes, TheAccessorsReadTheirAttributeOfTheirName) {
  using Get = bool (VelmoraX509::*)(XString&, LogBase&);
  const struct {
    std::string oid;
    Get get[2];
  } kAccessors[] = {
      {"2.5.4.6", {&VelmoraX509::get_IssuerC, &VelmoraX509::get_SubjectC}},
      {"2.5.4.8", {&VelmoraX509::get_IssuerS, &VelmoraX509::get_SubjectS}},
      {"2.5.4.7", {&VelmoraX509::get_IssuerL, &VelmoraX509::get_SubjectL}},
      {"2.5.4.10", {&VelmoraX509::get_IssuerO, &VelmoraX509::get_SubjectO}},
      {"2.5.4.11", {&VelmoraX509::get_IssuerOU, &VelmoraX509::get_SubjectOU}},
      {"2.5.4.3", {&VelmoraX509::get_IssuerCN, &VelmoraX509::get_SubjectCN}},
      {"1.2.840.113549.1.9.1", {&VelmoraX509::get_IssuerE, &VelmoraX509::get_SubjectE}},
      {"2.5.4.5", {&VelmoraX509::get_IssuerSerial, nullptr}},
  };
  const std::string whose[] = {"issuer ", "subject "};
  der::Bytes rdns[2];
  for (const auto& it : kAccessors) {
    for (int i : {0, 1}) rdns[i] += set(attribute(it.oid, utf8(whose[i] + it.oid)));
  }
  LoadedX509 cert(withNames(sequence(rdns[0]), sequence(rdns[1])));
  LogNull log;
  for (const auto& it : kAccessors) {
    for (int i : {0, 1}) {
      if (it.get[i] == nullptr) continue;
      EXPECT_EQ(textOf([&](XString& out) { (cert.*it.get[i])(out, log); }), whose[i] + it.oid);
    }
  }
}

}  // namespace
}  // namespace velmora::test
