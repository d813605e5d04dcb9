#include <map>

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// How each attribute type is written: by default, in lower case, and in the styles that change it
// ("#": the value is in hexadecimal).
struct NameRow {
  const char* oid;
  const char* name;
  const char* lower;
  std::map<int, std::string> styles;
};

// clang-format off
const NameRow kNames[] = {
    {"1.2.840.113549.1.9.1", "E", "e",
     {{1, "1.2.840.113549.1.9.1#"}, {2, "OID.1.2.840.113549.1.9.1#"}, {22, "OID.1.2.840.113549.1.9.1"}}},
    {"2.5.4.3", "CN", "cn", {}},
    {"2.5.4.11", "OU", "ou", {}},
    {"2.5.4.10", "O", "o", {}},
    {"2.5.4.7", "L", "l", {}},
    {"2.5.4.8", "ST", "st", {}},
    {"2.5.4.9", "STREET", "street", {}},
    {"2.5.4.6", "C", "c", {}},
    {"2.5.4.17", "PostalCode", "PostalCode", {}},
    {"2.5.4.97", "OrganizationID", "OrganizationID",
     {{1, "2.5.4.97#"}, {4, "2.5.4.97#"}, {2, "OID.2.5.4.97#"}, {5, "OID.2.5.4.97"}, {22, "OID.2.5.4.97"}}},
    {"2.5.4.4", "SN", "sn", {}},
    {"2.5.4.5", "SERIALNUMBER", "SERIALNUMBER",
     {{1, "2.5.4.5#"}, {4, "2.5.4.5#"}, {2, "OID.2.5.4.5#"}, {22, "OID.2.5.4.5"}}},
    {"2.5.4.12", "Title", "Title",
     {{1, "2.5.4.12#"}, {4, "2.5.4.12#"}, {2, "OID.2.5.4.12#"}, {22, "OID.2.5.4.12"}, {3, "T"}, {6, "T"}}},
    {"2.5.4.13", "Description", "Description", {}},
    {"2.5.4.14", "SearchGuide", "SearchGuide", {}},
    {"2.5.4.15", "BusinessCategory", "BusinessCategory", {}},
    {"2.5.4.16", "PostalAddress", "PostalAddress", {}},
    {"2.5.4.18", "PostOfficeBox", "PostOfficeBox", {}},
    {"2.5.4.19", "PhysicalDeliveryOfficeName", "PhysicalDeliveryOfficeName", {}},
    {"2.5.4.20", "TelephoneNumber", "TelephoneNumber", {}},
    {"2.5.4.23", "FaxNumber", "FaxNumber", {}},
    {"2.5.4.42", "G", "g", {}},
    {"0.9.2342.19200300.100.1.25", "DC", "DC", {}},
    {"2.5.4.41", "OID.2.5.4.41", "OID.2.5.4.41", {{1, "2.5.4.41#"}}},
    {"2.5.4.3.1", "OID.2.5.4.3.1", "OID.2.5.4.3.1", {{1, "2.5.4.3.1#"}}},
};
// clang-format on

std::string expectedName(const NameRow& row, int style, const std::string& keyword) {
  if (keyword == "OrgID_OID_Hex" && std::string(row.oid) == "2.5.4.97") return "2.5.4.97#";
  const auto styled = row.styles.find(style);
  if (styled != row.styles.end()) return styled->second;
  return keyword == "DN_Lowercase" ? row.lower : row.name;
}

std::string expectedPair(const NameRow& row, int style, const std::string& keyword) {
  std::string name = expectedName(row, style, keyword);
  if (name.back() != '#') return name + "=v";
  name.pop_back();
  return name + "=#130176";  // PrintableString, one octet, "v"
}

// JSON knows fewer of the styles, and keywords change names as text alone.
std::string expectedMember(const NameRow& row, int style) {
  const bool known = style < 4 || style == 22;
  const bool styled = known && std::string_view(row.oid) != "2.5.4.97";
  std::string key = expectedName(row, styled ? style : 0, "");
  const bool hex = key.back() == '#';
  if (hex) key.pop_back();
  return "\"" + key + "\":\"" + (hex ? "#130176" : "v") + "\"";
}

// One after the other, or the last one first.
template <class Expected>
std::string joined(const Expected& expected, const std::string& separator, bool reverse) {
  std::string text = expected(kNames[0]);
  for (const NameRow& row : std::span(kNames).subspan(1)) {
    text = reverse ? expected(row) + separator + text : text + separator + expected(row);
  }
  return text;
}

TEST(DistinguishedNameTable, EveryTypeInEveryStyleUnderEveryKeyword) {
  der::Bytes rdns;
  for (const NameRow& row : kNames) {
    rdns += set(attribute(row.oid, printable("v")));
  }
  LoadedX509 cert(withField(&der::Certificate::issuer, sequence(rdns)));
  for (const int style : {0, 1, 2, 3, 4, 5, 6, 22, 7, -1}) {
    for (const char* keyword : {"", "DN_Lowercase", "DN_NoSpaceAfterComma", "OrgID_OID_Hex"}) {
      SCOPED_TRACE(testing::Message() << "style " << style << ", keyword " << keyword);
      const bool isTight = style == 22 || keyword == "DN_NoSpaceAfterComma"s;
      const std::string separator = isTight ? "," : ", ";
      const auto pair = [&](const NameRow& row) { return expectedPair(row, style, keyword); };
      const auto member = [&](const NameRow& row) { return expectedMember(row, style); };
      LogNull log;
      log.m_optionKeywords.append(keyword);
      XString out;
      EXPECT_TRUE(cert.getDN(false, true, out, log, style));
      EXPECT_EQ(out.view(), joined(pair, separator, false));
      EXPECT_TRUE(cert.getDN_reverseOrder(false, true, style, out, log));
      EXPECT_EQ(out.view(), joined(pair, separator, true));
      StringBuffer json;
      EXPECT_TRUE(cert.getDnJson(false, json, log, style));
      EXPECT_EQ(json.view(), joined(member, ",", true));
    }
  }
}

}  // namespace
}  // namespace velmora::test
