#include "velmora/support/zip/inflate.h"

#include <cstring>
#include <fstream>
#include <sstream>

#include "tests/common/allocation_fault.h"
#include "tests/support/zip/zip_samples.h"
#include "velmora/support/zip/zlib_codec.h"

namespace velmora {
namespace {

using zip_samples::Bytes;

const char* const kBefore = "what was in the buffer before, long enough to be copied from";

struct Inflated {
  InflateResult result;
  std::string output;
  size_t used;
};

Inflated inflate(const Bytes& stream) {
  DataBuffer out;
  out.append(kBefore, std::strlen(kBefore));
  const Bytes exact(stream);  // ends where its memory ends
  size_t used = 0;
  const InflateResult result = inflateRaw(exact, 100000, out, used);
  EXPECT_TRUE(out.view().starts_with(kBefore));
  EXPECT_LE(used, stream.size());
  const std::string added(out.view().substr(std::strlen(kBefore)));
  EXPECT_TRUE(result == InflateResult::kOk || added.empty());
  return {result, added, used};
}

std::string fromHex(const std::string& hex) {
  DataBuffer bytes;
  EXPECT_TRUE(hex == "-" || bytes.appendEncoded(hex, "hex"));
  return std::string(bytes.view());
}

// Of another implementation, and such as none writes: other_zlib.py describes the lines.
TEST(Inflate, StreamsOfOthersAndThoseWrittenByHand) {
  using enum InflateResult;
  std::ifstream file(VELMORA_SOURCE_DIR "/tests/support/zip/zlib_vectors.txt");
  int streams = 0;
  for (std::string line, kind, hex, expected; std::getline(file, line);) {
    std::istringstream words(line);
    words >> kind >> hex >> expected;
    if (kind == "#") continue;
    SCOPED_TRACE(line);
    ++streams;
    const std::string octets = fromHex(hex);
    const Bytes stream(octets.begin(), octets.end());
    const bool isFault = expected[0] == '!';
    const auto result = isFault ? static_cast<InflateResult>(std::stoi(expected.substr(1))) : kOk;
    const std::string output = isFault ? "" : fromHex(expected);
    if (kind == "zlib") {
      DataBuffer out;
      EXPECT_EQ(zlibInflate(stream, 1 << 20, out), result);
      EXPECT_EQ(out.view(), output);
      continue;
    }
    // Far from the end of the input symbols are decoded with fewer checks.
    for (const size_t following : {0U, 64U}) {
      if (following != 0 && result == kTruncated) continue;
      Bytes longer(stream);
      longer.resize(stream.size() + following, 0xee);
      const Inflated inflated = inflate(longer);
      EXPECT_EQ(inflated.result, result);
      EXPECT_EQ(inflated.output, output);
      EXPECT_TRUE(isFault || inflated.used == stream.size());
    }
  }
  EXPECT_EQ(streams, 15 + 24);
}

TEST(Inflate, ABombStopsAtTheBoundWithoutMoreMemory) {
  DataBuffer bomb;
  ASSERT_TRUE(zlibCompress(Bytes(size_t{1} << 26), bomb));
  for (const size_t bound : {size_t{0}, size_t{1}, size_t{1000}, size_t{5000000}}) {
    DataBuffer out;
    size_t used = 0;
    test::largestAllocation = 0;
    EXPECT_EQ(inflateRaw(bomb.span().subspan(2), bound, out, used), InflateResult::kTooLarge);
    EXPECT_LE(test::largestAllocation, bound + 1);  // and the closing zero of the buffer
    EXPECT_TRUE(out.empty());
  }
}

TEST(ZlibInflate, ChecksItsFraming) {
  using enum InflateResult;
  DataBuffer good, out;
  ASSERT_TRUE(zlibCompress(zip_samples::words(2000), good));
  Bytes stream(good.data(), good.data() + good.size());
  const struct {
    unsigned char cmf, flags;
    InflateResult result;
  } headers[] = {
      {0x79, 0x18, kBadHeader},    // method 9
      {0x88, 0x1c, kBadHeader},    // a window of 64 KiB
      {0x78, 0xbb, kBadHeader},    // a preset dictionary
      {0x78, 0x9d, kBadHeader},    // no multiple of 31
      {0x08, 0x1d, kBadDistance},  // a window of 256 bytes, which matches reach beyond
      {0x78, 0x01, kOk},          {0x78, 0xda, kOk},
  };
  for (const auto& header : headers) {
    stream[0] = header.cmf, stream[1] = header.flags;
    EXPECT_EQ(zlibInflate(stream, 100000, out), header.result) << +header.flags;
  }
  stream.push_back(0);
  EXPECT_EQ(zlibInflate(stream, 100000, out), kTrailingBytes);
  stream.pop_back();
  ++stream.back();
  EXPECT_EQ(zlibInflate(stream, 100000, out), kBadChecksum);
}

TEST(Zlib, EveryFailedAllocationLeavesTheBufferAsItWas) {
  using enum InflateResult;
  const Bytes bytes = zip_samples::mixed(4);
  DataBuffer stream, out;
  ASSERT_TRUE(zlibCompress(bytes, stream));
  for (const bool compress : {true, false}) {
    out.append("before", 6);
    InflateResult result = kOk;
    const size_t faults = test::forEachAllocationFault(
        [&] {
          result = compress ? (zlibCompress(bytes, out) ? kOk : kOutOfMemory)
                            : zlibInflate(stream.span(), 1 << 20, out);
        },
        [&](bool faulted) {
          EXPECT_EQ(result, faulted ? kOutOfMemory : kOk);
          EXPECT_EQ(out.view() == "before", faulted);
          out = DataBuffer();
          out.append("before", faulted ? 6 : 0);
        });
    EXPECT_GT(faults, 0U);
  }
}

}  // namespace
}  // namespace velmora
