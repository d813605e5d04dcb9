#include "velmora/support/hash/sip_hash.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmora {
namespace {

// The bytes 0, 1, 2 ... under the key of the bytes 0 to 15, as `openssl mac SIPHASH` has them.
TEST(SipHash, GivesTheKnownAnswers) {
  const SipHash hash(0x0706050403020100, 0x0F0E0D0C0B0A0908);
  const struct {
    size_t size;
    uint64_t answer;
  } rows[] = {{0, 0x726FDB47DD0E0E31},
              {7, 0xAB0200F58B01D137},
              {8, 0x93F5F5799A932462},
              {15, 0xA129CA6149BE45E5},
              {63, 0x958A324CEB064572}};
  for (const auto& row : rows) {
    std::vector<std::byte> bytes;
    for (size_t i = 0; i < row.size; ++i) bytes.push_back(static_cast<std::byte>(i));
    EXPECT_EQ(hash(bytes), row.answer) << row.size;
  }
}

TEST(SipHash, HasAnotherSecretEachTime) {
  const std::byte one[1] = {};
  EXPECT_NE(SipHash::withSecretKey()(one), SipHash::withSecretKey()(one));
}

}  // namespace
}  // namespace velmora
