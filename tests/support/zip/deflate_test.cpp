#include "support/zip/deflate.h"

#include <gtest/gtest.h>

#include <string>

#include "support/zip/adler32.h"
#include "support/zip/internal/huffman_code.h"
#include "support/zip/zlib_codec.h"
#include "tests/support/zip/zip_samples.h"

namespace velmora {
namespace {

using zip_samples::Bytes;

struct Sample {
  const char* name;
  Bytes bytes;
  size_t mostCompressed;  // bytes of the zlib stream
};

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
      {"pieces of different kinds", zip_samples::mixed(9), 3 * 70000 + 3 * 9000},
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
  ASSERT_EQ(back.size(), bytes.size());
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), back.data()));
}

TEST(Deflate, RoundTripsWithinTheExpectedSize) {
  for (const Sample& sample : samples()) {
    SCOPED_TRACE(sample.name);
    const DataBuffer stream = compressed(sample.bytes);
    EXPECT_LE(stream.size(), sample.mostCompressed);
    expectRoundTrip(sample.bytes, stream);
  }
}

TEST(Deflate, RoundTripsEveryShortLength) {
  const Bytes words = zip_samples::words(600), noise = zip_samples::random(600);
  for (size_t length = 0; length <= 600; ++length) {
    const auto end = static_cast<std::ptrdiff_t>(length);
    for (const Bytes& bytes : {words, noise}) {
      const Bytes front(bytes.begin(), bytes.begin() + end);
      expectRoundTrip(front, compressed(front));
    }
  }
}

TEST(Deflate, RoundTripsFiftyMegabytes) {
#ifdef __OPTIMIZE__
  const Bytes bytes = zip_samples::mixed(1000);
  ASSERT_GT(bytes.size(), 50000000U - 100000U);
#else
  const Bytes bytes = zip_samples::mixed(60);
#endif
  expectRoundTrip(bytes, compressed(bytes));
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
  expectRoundTrip(far, compressed(far));
  EXPECT_LT(compressed(near).size() + 200, compressed(far).size());
}

TEST(Deflate, AppendsTheSameStreamEveryTime) {
  const Bytes bytes = zip_samples::words(5000);
  DataBuffer out;
  ASSERT_TRUE(zlibCompress(bytes, out));
  const size_t size = out.size();
  ASSERT_TRUE(zlibCompress(bytes, out));
  ASSERT_EQ(out.size(), 2 * size);
  EXPECT_EQ(out.view().substr(0, size), out.view().substr(size));
}

TEST(HuffmanCode, IsCompleteAndWithinItsLimit) {
  // Fibonacci frequencies ask for words as long as there are symbols.
  std::vector<uint32_t> frequencies = {1, 1};
  while (frequencies.size() < 30)
    frequencies.push_back(frequencies.end()[-1] + frequencies.end()[-2]);
  for (size_t symbols = 2; symbols <= frequencies.size(); ++symbols) {
    for (const unsigned limit : {5U, 7U, 15U}) {
      std::vector<uint8_t> lengths(symbols);
      deflate::makeCodeLengths({frequencies.data(), symbols}, limit, lengths);
      uint32_t space = 0;
      for (const uint8_t length : lengths) {
        ASSERT_TRUE(length >= 1 && length <= limit) << symbols << " " << limit;
        space += 1U << (limit - length);
      }
      EXPECT_EQ(space, 1U << limit) << symbols << " " << limit;
    }
  }
}

TEST(Adler32, KnownValuesAndPieces) {
  const std::string text = "certificate";
  const auto* letters = reinterpret_cast<const unsigned char*>(text.data());
  EXPECT_EQ(adler32({}), 1U);
  EXPECT_EQ(adler32({letters, text.size()}), 0x1b2c0484U);
  const Bytes highest(1000000, 0xff);  // the largest sums
  uint64_t sum = 1, sumOfSums = 0;
  for (const unsigned char byte : highest) {
    sum = (sum + byte) % 65521;
    sumOfSums = (sumOfSums + sum) % 65521;
  }
  EXPECT_EQ(adler32(highest), sumOfSums << 16 | sum);
  const std::span<const unsigned char> all(highest);
  EXPECT_EQ(adler32(all.subspan(5557), adler32(all.first(5557))), adler32(highest));
}

}  // namespace
}  // namespace velmora
