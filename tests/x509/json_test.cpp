#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

std::string jsonOf(VelmoraX509& cert, int nameStyle = 0) {
  LogNull log;
  StringBuffer out;
  EXPECT_TRUE(cert.getDnJson(true, out, log, nameStyle));
  return std::string(out.view());
}

TEST(NameJson, MembersAreAppendedLastRdnFirst) {
  LoadedX509 cert(der::Certificate().der());
  LogText log;
  StringBuffer out(std::string_view("{\"x\":1,"));
  EXPECT_TRUE(cert.getDnJson(true, out, log, 0));
  EXPECT_EQ(out.view(), R"({"x":1,"CN":"host","O":"Acme","C":"US")");
  out.clear();
  EXPECT_TRUE(cert.getDnJson(false, out, log, 0));
  EXPECT_EQ(out.view(), R"("CN":"Root","O":"Acme","C":"US")");
  EXPECT_EQ(log.text().view(), "getDnJson:\ngetDnJson:\n");

  VelmoraX509 never;
  EXPECT_FALSE(never.getDnJson(true, out, log, 0));
  EXPECT_EQ(out.view(), R"("CN":"Root","O":"Acme","C":"US")");
  LoadedX509 unnamed(withSubject(der::sequence()));
  EXPECT_EQ(jsonOf(unnamed), "");
}

der::Bytes cn(std::string_view value) {
  return der::attribute("2.5.4.3", der::utf8(value));
}

TEST(NameJson, ValuesAreEscapedAndOnlyTheFirstOfAnRdnCounts) {
  using namespace std::string_literals;
  LoadedX509 cert(withSubject(der::sequence(
      der::set(cn("a\"b\\c,d/\n\0"s), der::attribute("2.5.4.11", der::utf8("left out"))),
      der::set(der::attribute("2.5.4.3", der::bmp(u"Z\u00FC"))), der::set(cn("")))));
  EXPECT_EQ(jsonOf(cert), R"("CN":"","CN":"Zü","CN":"a\"b\\c,d/\n\u0000")");
}

const der::Bytes kGood = der::set(cn("b"));
const der::Bytes kLast = der::set(cn("z"));

// A malformed RDN between two good ones; the walk starts at the last.
TEST(NameJson, MalformedNamesGiveWhatIsLeftOfTheWalk) {
  const struct {
    const char* what;
    der::Bytes name;
    const char* json;
    std::vector<std::string> errors;
  } kCases[] = {
      {"no set",
       der::sequence(kGood, cn("a"), kLast),
       R"("CN":"z","CN":"b")",
       {"DistinguishedName: Expected set."}},
      {"empty set",
       der::sequence(kGood, der::set(), kLast),
       R"("CN":"z","CN":"b")",
       {"DistinguishedName is empty."}},
      {"no attribute: the walk ends inside",
       der::sequence(kGood, der::set(der::oid("2.5.4.3")), kLast),
       R"("CN":"z")",
       {"DistinguishedName: Expected sequence."}},
      {"no type: the walk ends inside",
       der::sequence(kGood, der::set(der::sequence(der::utf8("x"))), kLast),
       R"("CN":"z")",
       {"DistinguishedName: Expected oid."}},
      {"no value",
       der::sequence(kGood, der::set(der::sequence(der::oid("2.5.4.3"))), kLast),
       R"("CN":"z","CN":"b")",
       {}},
      {"no value in the last: a comma leads",
       der::sequence(kGood, der::set(der::sequence(der::oid("2.5.4.3")))),
       R"(,"CN":"b")",
       {}},
  };
  for (const auto& [what, name, json, errors] : kCases) {
    SCOPED_TRACE(what);
    LoadedX509 cert(withSubject(name));
    ErrorLog log;
    StringBuffer out;
    EXPECT_TRUE(cert.getDnJson(true, out, log, 0));
    EXPECT_EQ(out.view(), json);
    EXPECT_EQ(log.errors, errors);
    EXPECT_EQ(jsonOf(cert), json) << "the handle is not back on the root";
  }
}

}  // namespace
}  // namespace velmora::test
