#include "velmora/certificate/oid.h"

#include <algorithm>

#include "tests/common/table_file.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/oid_names.h"

namespace velmora::test {
namespace {

std::string contentOf(const Oid& oid) {
  return std::string(charactersOf(oid.der()));
}
Oid fromContent(std::string_view content) {
  return Oid::fromDer(std::as_bytes(std::span<const char>(content)));
}
std::string repeated(size_t count, const char* text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

TEST(Oid, IsTheSameFromTextLiteralAndOctets) {
  const struct {
    Oid literal;
    std::string dotted, content;
  } rows[] = {
      {"2.5.4.3", "2.5.4.3", "\x55\x04\x03"},
      {"1.2.840.113549", "1.2.840.113549", "\x2A\x86\x48\x86\xF7\x0D"},
      {"0.0", "0.0", std::string(1, '\0')},
      {"1.39.0", "1.39.0", std::string("\x4F\0", 2)},
      {"2.47", "2.47", "\x7F"},
      {"2.49", "2.49", "\x81\x01"},
      {"2.18446744073709551615", "2.18446744073709551615",
       "\x82\x80\x80\x80\x80\x80\x80\x80\x80\x4F"},
      // A UUID as an arc (X.667 §6.3).
      {"2.25.329800735698586629295641978511506172918",
       "2.25.329800735698586629295641978511506172918",
       "\x69\x83\xF0\x9D\xA7\xEB\xCF\xDE\xE0\xC7\xA1\xA7\xB2\xC0\x94\x8C\xC8\xF9\xD7\x76"},
  };
  for (const auto& [literal, dotted, content] : rows) {
    const Result<Oid> oid = Oid::parse(dotted);
    ASSERT_TRUE(oid) << dotted;
    EXPECT_EQ(*oid, literal) << dotted;
    EXPECT_EQ(oid->text(), dotted);
    EXPECT_EQ(contentOf(*oid), content) << dotted;
    EXPECT_EQ(fromContent(contentOf(*oid)), *oid) << dotted;
  }
}

// 2^441 - 81, where the 80 that the root adds still fit into 63 octets.
const std::string kLargest =
    "2.5678427533559428832416592249125035424637823130369672345949142181098744438385921275985867583"
    "701277855943457200048954515105739075223471";

TEST(Oid, TellsWhereATextIsNone) {
  std::vector<std::tuple<std::string, size_t, ErrorCode>> rows = {
      {"", 0, ErrorCode::malformedText},
      {"1.1" + repeated(63, ".1"), 128, ErrorCode::tooLarge},
      {kLargest.substr(0, 134) + '2', 134, ErrorCode::tooLarge}};
  for (const Row& row : tableOf("oids_typed", "no OID, and the place of the fault")) {
    rows.emplace_back(row[0], std::stoul(row[1]), ErrorCode::malformedText);
  }
  for (const auto& [dotted, offset, code] : rows) {
    const Result<Oid> oid = Oid::parse(dotted);
    ASSERT_FALSE(oid) << dotted;
    EXPECT_EQ(oid.error(), Error::at(code, offset)) << dotted << ' ' << oid.error().offset;
  }
}

TEST(Oid, HoldsSixtyThreeOctets) {
  EXPECT_EQ(Oid::parse(kLargest)->text(), kLargest);
  EXPECT_FALSE(fromContent(std::string(63, '\1')).isEmpty());
  EXPECT_TRUE(fromContent(std::string(64, '\1')).isEmpty());
}

TEST(Oid, IsEmptyForOctetsThatAreNone) {
  for (const std::string content : {"", "\x80\x01", "\x2A\x86", "\x2A\x80\x03"}) {
    const Oid oid = fromContent(content);
    EXPECT_TRUE(oid.isEmpty());
    EXPECT_EQ(oid.text(), "");
    EXPECT_EQ(oid.name(), "");
  }
}

TEST(Oid, IsEqualAndOrderedByOctetsAndEmptyEqualToNothing) {
  EXPECT_FALSE(Oid() == Oid());
  EXPECT_FALSE(Oid() == oid::commonName);
  EXPECT_FALSE(oid::commonName == Oid());
  EXPECT_TRUE(oid::commonName == Oid("2.5.4.3"));
  const Oid ordered[] = {Oid(), "0.9", "1.2.3", "1.2.3.0", "1.2.4", "2.5"};
  EXPECT_TRUE(std::is_sorted(std::begin(ordered), std::end(ordered)));
  EXPECT_TRUE(Oid("1.2.3") < Oid("1.2.3.0"));
}

TEST(Oid, KnowsNames) {
  EXPECT_EQ(oid::commonName.name(), "commonName");
  EXPECT_EQ(oid::subjectAltName.name(), "subjectAltName");
  EXPECT_EQ(Oid("2.16.840.1.101.3.4.3.31").name(), "slhDsaShake-256f");
  EXPECT_EQ(Oid("1.2.3.4").name(), "");
  EXPECT_EQ(Oid("0.0.85.4.3").name(), "");  // leading zero octets count
  for (const char* arc : {"2.5.4.", "2.5.29.", "1.2.840.113549.1.1.", "2.16.840.1.101.3.4.3."}) {
    for (int i = 0; i < 100; ++i) {
      const std::string dotted = arc + std::to_string(i);
      const std::string_view name = oidName(dotted);
      EXPECT_EQ(oidOfName(name), name.empty() ? "" : dotted) << name;
    }
  }
}

}  // namespace
}  // namespace velmora::test
