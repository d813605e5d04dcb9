#include "velmora/support/zip/deflate.h"

#include <gtest/gtest.h>

#include "tests/support/zip/zip_samples.h"
#include "velmora/support/zip/zlib_codec.h"

namespace velmora {
namespace {

using zip_samples::Bytes;

struct Sample {
  const char* name;
  Bytes bytes;
  size_t mostCompressed;  // bytes of the zlib stream
};

// Fifty megabytes, but less where the compiler did not optimise.
#ifdef __OPTIMIZE__
constexpr size_t kPieces = 999;
#else
constexpr size_t kPieces = 60;
#endif

std::vector<Sample> samples() {
  return {
      {"empty", {}, 8},
      {"one byte", {'x'}, 9},
      {"three bytes", {'x', 'y', 'z'}, 11},
      {"long run", Bytes(300000, 'r'), 320},
      {"longest match and one more", Bytes(260, 'm'), 14},
      {"words", zip_samples::words(200000), 55000},
      // Nothing but the headers of stored blocks may be added.
      {"random", zip_samples::random(200000), 200000 + 60},
      {"short random", zip_samples::random(50), 50 + 11},
      {"pieces of different kinds", zip_samples::mixed(kPieces), kPieces / 3 * 79000},
      {"frequencies that want long codes", zip_samples::fibonacci(), 47000},
  };
}

DataBuffer compressed(const Bytes& bytes) {
  DataBuffer out;
  EXPECT_TRUE(zlibCompress(bytes, out));
  return out;
}

void expectRoundTrip(const Bytes& bytes, const DataBuffer& stream) {
  DataBuffer back;
  ASSERT_EQ(zlibInflate(stream.span(), bytes.size(), back), InflateResult::kOk);
  ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), back.data(), back.data() + back.size()));
  if (bytes.empty()) return;
  ASSERT_EQ(zlibInflate(stream.span(), bytes.size() - 1, back), InflateResult::kTooLarge);
}

TEST(Deflate, RoundTripsWithinTheExpectedSize) {
  for (const Sample& sample : samples()) {
    SCOPED_TRACE(sample.name);
    const DataBuffer stream = compressed(sample.bytes);
    EXPECT_LE(stream.size(), sample.mostCompressed);
    expectRoundTrip(sample.bytes, stream);
    DataBuffer twice = compressed(sample.bytes);  // what is added is the same every time
    ASSERT_TRUE(zlibCompress(sample.bytes, twice));
    EXPECT_TRUE(twice.view() == std::string(stream.view()).append(stream.view()));
  }
}

TEST(Deflate, FindsMatchesAcrossTheWholeWindowAndNotBeyond) {
  const Bytes piece = zip_samples::random(300, 5);
  const auto repeatedAfter = [&piece](size_t distance) {
    Bytes bytes = zip_samples::random(distance + piece.size(), 6);
    std::copy(piece.begin(), piece.end(), bytes.begin());
    std::copy(piece.begin(), piece.end(), bytes.end() - static_cast<std::ptrdiff_t>(piece.size()));
    return bytes;
  };
  const Bytes near = repeatedAfter(32768), far = repeatedAfter(32769);
  expectRoundTrip(near, compressed(near));
  DataBuffer raw;
  size_t used = 0;
  EXPECT_EQ(inflateRaw(compressed(near).span().subspan(2), near.size(), raw, used),
            InflateResult::kOk);
  expectRoundTrip(far, compressed(far));
  EXPECT_LT(compressed(near).size() + 200, compressed(far).size());
}

}  // namespace
}  // namespace velmora
