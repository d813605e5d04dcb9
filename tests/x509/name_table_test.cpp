#include <map>

#include "tests/common/table_file.h"
#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// How each attribute type is written: by default, in lower case, and in the styles that change it
// ("#": the value is in hexadecimal).
struct NameRow {
  std::string oid, name, lower;
  std::map<int, std::string> styles;
};

const std::vector<NameRow>& names() {
  static const std::vector<NameRow> all = [] {
    std::vector<NameRow> made;
    for (const Row& row :
         tableOf("attribute_names",
                 "type, name, name in lower case, and in the styles that change it")) {
      NameRow& name = made.emplace_back(NameRow{row[0], row[1], row[2], {}});
      for (size_t i = 3; i < row.size(); ++i) {
        name.styles[std::stoi(row[i])] = row[i].substr(row[i].find('=') + 1);
      }
    }
    return made;
  }();
  return all;
}

std::string expectedName(const NameRow& row, int style, const std::string& keyword) {
  if (keyword == "OrgID_OID_Hex" && row.oid == "2.5.4.97") return "2.5.4.97#";
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
  const bool styled = known && row.oid != "2.5.4.97";
  std::string key = expectedName(row, styled ? style : 0, "");
  const bool hex = key.back() == '#';
  if (hex) key.pop_back();
  return "\"" + key + "\":\"" + (hex ? "#130176" : "v") + "\"";
}

// One after the other, or the last one first.
template <class Expected>
std::string joined(const Expected& expected, const std::string& separator, bool reverse) {
  std::string text = expected(names()[0]);
  for (const NameRow& row : std::span(names()).subspan(1)) {
    text = reverse ? expected(row) + separator + text : text + separator + expected(row);
  }
  return text;
}

TEST(DistinguishedNameTable, EveryTypeInEveryStyleUnderEveryKeyword) {
  der::Bytes rdns;
  for (const NameRow& row : names()) {
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
