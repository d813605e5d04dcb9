#include <iterator>
#include <map>

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

der::Bytes withSubject(const der::Bytes& name) {
  der::Certificate fields;
  fields.subject = name;
  return fields.der();
}

std::string jsonOf(VelmoraX509& cert, int nameStyle = 0) {
  LogNull log;
  StringBuffer out;
  EXPECT_TRUE(cert.getDnJson(true, out, log, nameStyle));
  return std::string(out.view());
}

// The key of each attribute type, and what the styles that know it make of it ("#": the value is in
// hexadecimal).
struct KeyRow {
  const char* oid;
  const char* key;
  std::map<int, std::string> styles;
};

// clang-format off
const KeyRow kKeys[] = {
    {"1.2.840.113549.1.9.1", "E",
     {{1, "1.2.840.113549.1.9.1#"}, {2, "OID.1.2.840.113549.1.9.1#"}, {22, "OID.1.2.840.113549.1.9.1"}}},
    {"2.5.4.3", "CN", {}},
    {"2.5.4.11", "OU", {}},
    {"2.5.4.10", "O", {}},
    {"2.5.4.7", "L", {}},
    {"2.5.4.8", "ST", {}},
    {"2.5.4.9", "STREET", {}},
    {"2.5.4.6", "C", {}},
    {"2.5.4.17", "PostalCode", {}},
    {"2.5.4.97", "OrganizationID", {}},
    {"2.5.4.4", "SN", {}},
    {"2.5.4.5", "SERIALNUMBER", {{1, "2.5.4.5#"}, {2, "OID.2.5.4.5#"}, {22, "OID.2.5.4.5"}}},
    {"2.5.4.12", "Title", {{1, "2.5.4.12#"}, {2, "OID.2.5.4.12#"}, {22, "OID.2.5.4.12"}, {3, "T"}}},
    {"2.5.4.13", "Description", {}},
    {"2.5.4.14", "SearchGuide", {}},
    {"2.5.4.15", "BusinessCategory", {}},
    {"2.5.4.16", "PostalAddress", {}},
    {"2.5.4.18", "PostOfficeBox", {}},
    {"2.5.4.19", "PhysicalDeliveryOfficeName", {}},
    {"2.5.4.20", "TelephoneNumber", {}},
    {"2.5.4.23", "FaxNumber", {}},
    {"2.5.4.42", "G", {}},
    {"0.9.2342.19200300.100.1.25", "DC", {}},
    {"0.9.2342.19200300.100.1.1", "OID.0.9.2342.19200300.100.1.1", {{1, "0.9.2342.19200300.100.1.1#"}}},
};
// clang-format on

// The keywords change names as text alone.
TEST(NameJson, EveryKeyInEveryStyle) {
  der::Bytes name;
  for (const KeyRow& row : kKeys) name += der::set(der::attribute(row.oid, der::printable("b")));
  LoadedX509 cert(withSubject(der::sequence(name)));
  for (const int style : {0, 1, 2, 3, 4, 5, 6, 22, 7, -1}) {
    std::string expected;
    for (auto row = std::rbegin(kKeys); row != std::rend(kKeys); ++row) {
      const auto styled = row->styles.find(style);
      std::string key = styled != row->styles.end() ? styled->second : row->key;
      const bool hex = key.back() == '#';
      if (hex) key.pop_back();
      if (!expected.empty()) expected += ',';
      expected += "\"" + key + "\":\"" + (hex ? "#130162" : "b") + "\"";
    }
    LogNull log;
    log.m_optionKeywords.append("DN_Lowercase DN_NoSpaceAfterComma OrgID_OID_Hex");
    StringBuffer out;
    EXPECT_TRUE(cert.getDnJson(true, out, log, style));
    EXPECT_EQ(out.view(), expected) << "style " << style;
  }
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
