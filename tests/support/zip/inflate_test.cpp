#include "velmora/support/zip/inflate.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/common/allocation_fault.h"
#include "tests/support/zip/zip_samples.h"
#include "velmora/support/zip/internal/deflate_format.h"
#include "velmora/support/zip/zlib_codec.h"

namespace velmora {
namespace {

using zip_samples::Bytes;

/// A stream written by hand, bit by bit.
class Bits {
 public:
  /// A number, lowest bit first.
  Bits& put(uint64_t value, unsigned count) {
    for (unsigned i = 0; i < count; ++i) add(static_cast<unsigned>(value >> i & 1));
    return *this;
  }
  /// A code word, highest bit first.
  Bits& code(unsigned word, unsigned count) {
    for (unsigned i = count; i-- > 0;) add(word >> i & 1);
    return *this;
  }
  Bits& block(unsigned type, bool final = true) { return put(final, 1).put(type, 2); }

  /// A dynamic block's header. The code lengths are sent in words of four bits each, so that any
  /// list of them can be.
  Bits& dynamic(const Bytes& literals, const Bytes& distances) {
    dynamicCounts(literals.size(), distances.size());
    for (const size_t symbol : deflate::kCodeLengthOrder) put(symbol < 16 ? 4 : 0, 3);
    for (const Bytes& lengths : {literals, distances}) {
      for (const unsigned char length : lengths) code(length, 4);
    }
    return *this;
  }
  Bits& dynamicCounts(size_t literals, size_t distances) {
    block(deflate::kDynamicBlock);
    put(static_cast<unsigned>(literals - 257), 5).put(static_cast<unsigned>(distances - 1), 5);
    return put(19 - 4, 4);
  }

  const Bytes& bytes() const { return m_bytes; }

 private:
  void add(unsigned bit) {
    if (m_used % 8 == 0) m_bytes.push_back(0);
    m_bytes.back() = static_cast<unsigned char>(m_bytes.back() | bit << m_used++ % 8);
  }

  Bytes m_bytes;
  size_t m_used = 0;
};

/// Code lengths for some of `count` symbols, 0 for the rest.
Bytes lengths(size_t count, std::initializer_list<std::pair<size_t, unsigned char>> used) {
  Bytes result(count, 0);
  for (const auto& [symbol, length] : used) result[symbol] = length;
  return result;
}

/// A block of which `a` is 0, the end 10 and a match of three 11.
Bits threeWords(const Bytes& distances) {
  return Bits().dynamic(lengths(258, {{'a', 1}, {256, 2}, {257, 2}}), distances);
}

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

TEST(Inflate, StreamsWrittenByHand) {
  using enum InflateResult;
  const Bytes oneEnd = lengths(257, {{'a', 1}, {256, 1}});
  const auto fixed = [] { return Bits().block(deflate::kFixedBlock).code(0x30 + 'a', 8); };
  const struct {
    const char* what;
    Bits stream;
    InflateResult result = kBadCodeLengths;
    std::string output = "";
  } cases[] = {
      // The incomplete codes that writers use.
      {"one distance", threeWords({1}).code(0b0'11'0'10, 6), kOk, "aaaa"},
      {"no distance", threeWords({0}).code(0b0'10, 3), kOk, "a"},
      {"only the end", Bits().dynamic(lengths(257, {{256, 1}}), {0}).code(0, 1), kOk},
      {"stored", Bits().block(0).put(0, 5).put(1, 16).put(0xfffe, 16).put('a', 8), kOk, "a"},
      {"block type 3", Bits().block(3), kBadBlockType},
      {"no final block", Bits().block(1, false).code(0, 7), kTruncated},
      {"stored: lengths differ", Bits().block(0).put(0, 5).put(1, 16).put(1, 16), kBadStoredLength},
      {"length symbol 286", fixed().code(0xc6, 8), kBadSymbol},
      {"distance symbol 30", fixed().code(1, 7).code(30, 5), kBadSymbol},
      {"a distance before the start", fixed().code(1, 7).code(1, 5).code(0, 7), kBadDistance},
      {"287 literal symbols", Bits().dynamicCounts(287, 1).put(0, 32)},
      {"31 distance symbols", Bits().dynamicCounts(257, 31).put(0, 32)},
      {"code-length code too full", Bits().dynamicCounts(257, 1).put(0x249249, 24).put(0, 33)},
      {"code-length code of one", Bits().dynamicCounts(257, 1).put(1, 3).put(0, 32).put(0, 32)},
      {"a repetition of nothing",
       Bits().dynamicCounts(257, 1).put(1, 3).put(0, 6).put(1, 3).put(0, 45).code(1, 1).put(0, 32)},
      {"repetitions beyond the end",
       Bits().dynamicCounts(257, 1).put(9 << 6, 57).code(0b1'1111111, 8).put(255, 8).put(0, 32)},
      {"no code word for the end", Bits().dynamic(lengths(257, {{'a', 1}, {'b', 1}}), {1, 1})},
      {"literal code too full", Bits().dynamic(lengths(257, {{1, 1}, {2, 1}, {256, 1}}), {1, 1})},
      {"literal code incomplete", Bits().dynamic(lengths(257, {{1, 2}, {256, 1}}), {1, 1})},
      {"one literal word of two bits", Bits().dynamic(lengths(257, {{256, 2}}), {1, 1})},
      {"distance code incomplete", Bits().dynamic(oneEnd, {2, 2})},
      {"distance code too full", Bits().dynamic(oneEnd, {1, 1, 1})},
      {"the unused half of a single distance", threeWords({1}).code(0b0'11'1'10, 6).put(0, 32),
       kBadSymbol},
      {"a match where no distances are", threeWords({0}).code(0b0'11, 3).put(0, 64), kBadSymbol},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.what);
    const Bytes& stream = testCase.stream.bytes();
    // Far from the end of the input symbols are decoded with fewer checks.
    for (const size_t following : {0U, 64U}) {
      if (following != 0 && testCase.result == kTruncated) continue;
      Bytes longer(stream);
      longer.resize(stream.size() + following, 0xee);
      const Inflated inflated = inflate(longer);
      EXPECT_EQ(inflated.result, testCase.result);
      EXPECT_EQ(inflated.output, testCase.output);
      EXPECT_TRUE(testCase.result != kOk || inflated.used == stream.size());
    }
  }
}

TEST(Inflate, ABombStopsAtTheBoundWithoutMoreMemory) {
  // One literal, then matches of 258 at distance 1 in two bits each: a gibibyte from a mebibyte.
  Bits bomb;
  bomb.dynamic(lengths(286, {{0, 2}, {256, 2}, {285, 1}}), {1, 0});
  bomb.code(2, 2);
  constexpr size_t kMatches = (size_t{1} << 30) / 258;
  for (size_t i = 0; i < kMatches; ++i) bomb.put(0, 2);
  bomb.code(3, 2);
  for (const size_t bound : {size_t{0}, size_t{1}, size_t{1000}, size_t{5000000}}) {
    DataBuffer out;
    size_t used = 0;
    test::largestAllocation = 0;
    EXPECT_EQ(inflateRaw(bomb.bytes(), bound, out, used), InflateResult::kTooLarge);
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
