#include "support/asn1/der_reader.h"

#include <gtest/gtest.h>

#include "tests/support/asn1/codec_texts.h"

namespace velmora {
namespace {

using test::octetsOf;
using test::spanOf;

TEST(DerReader, RefusesWithTheOffsetOfTheFault) {
  const struct {
    const char* hex;
    size_t offset;
  } cases[] = {
      {"", 0},
      {"30", 1},
      {"0480", 1},                  // indefinite and primitive
      {"0401", 1},                  // one octet too long
      {"30FF", 1},                  // the reserved length
      {"3082FF", 3},                // cut inside the length
      {"3088FFFFFFFFFFFFFFFF", 1},  // lengths that wrap
      {"308980000000000000000100", 1},
      {"9F", 1},              // tag numbers: cut,
      {"9F81", 2},            // cut later,
      {"9F8001 00", 1},       // padded,
      {"9F1E00", 1},          // in the long form without need,
      {"9F888080800000", 1},  // 2^31
  };
  for (const auto& c : cases) {
    const std::string octets = octetsOf(c.hex);
    DerReader reader(spanOf(octets), 1000);
    Asn1Header header;
    EXPECT_FALSE(reader.readHeader(header)) << c.hex;
    EXPECT_NE(reader.fault().reason, nullptr);
    EXPECT_EQ(reader.fault().offset, 1000 + c.offset) << c.hex;
    EXPECT_EQ(reader.offset(), 1000U) << c.hex;
  }
}

TEST(DerReader, ReadsElementsInARow) {
  const std::string octets = octetsOf("020105 04820002AABB 30800000");
  DerReader reader(spanOf(octets));
  Asn1Header header;
  EXPECT_TRUE(reader.peekHeader(header));
  EXPECT_EQ(header.tagNumber, 2U);
  EXPECT_EQ(reader.offset(), 0U);
  std::span<const unsigned char> content;
  ASSERT_TRUE(reader.readElement(header, content));
  EXPECT_EQ(test::hexOf(content), "05");
  ASSERT_TRUE(reader.readElement(header, content));
  EXPECT_EQ(test::hexOf(content), "AABB");
  EXPECT_EQ(header.headerSize, 4U);
  EXPECT_FALSE(reader.readElement(header, content));  // of indefinite length
  EXPECT_EQ(reader.offset(), 9U);
}

}  // namespace
}  // namespace velmora
