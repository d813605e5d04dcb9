#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "velmora/support/zip/zlib_codec.h"

// Property: what deflate streams stand for, how many octets they take, and which octets are none,
// is what a decoder says that reads them bit by bit (RFC 1951), also about what the project
// compresses, which comes back; and what stands around them is to the letter (RFC 1950). The first
// octet chooses, the second one bounds the output, or is that of a zlib stream.

namespace {

using namespace velmora;
using fuzz::require;
using Octets = std::vector<unsigned char>;
using Span = std::span<const unsigned char>;
using Code = std::map<std::pair<unsigned, unsigned>, unsigned>;  // symbols by length and word
constexpr InflateResult kBad = InflateResult::kBadHeader;        // whatever makes it none

// Of as many symbols as `mayBe` a code may lead nowhere for some words.
Code codeOf(const Octets& lengths, size_t mayBe) {
  Code code;
  unsigned word = 0;
  for (unsigned length = 1; length <= 15; ++length) {
    word <<= 1;
    for (unsigned symbol = 0; symbol < lengths.size(); ++symbol) {
      if (lengths[symbol] == length) code[{length, word++}] = symbol;
    }
    if (word > 1U << length) throw kBad;
  }
  const bool isOne = code.size() == 1 && code.begin()->first.first == 1 && mayBe >= 1;
  if (word != 1U << 15 && !isOne && !(code.empty() && mayBe == 2)) throw kBad;
  return code;
}

struct NaiveInflater {
  const Span in;
  const size_t most;
  const size_t window = 32768;
  Octets out = {};
  size_t at = 0;  // in bits

  InflateResult run() try {
    for (bool isLast = false; !isLast;) {
      isLast = bits(1) != 0;
      const unsigned type = bits(2);
      type == 0 ? stored() : type == 1 ? fixed() : type == 2 ? dynamic() : throw kBad;
    }
    return InflateResult::kOk;
  } catch (const InflateResult result) {
    return result;
  }
  size_t used() const { return (at + 7) / 8; }
  unsigned bits(unsigned count) {
    unsigned number = 0;
    for (unsigned i = 0; i < count; ++i, ++at) {
      if (at == 8 * in.size()) throw kBad;
      number |= (unsigned{in[at / 8]} >> at % 8 & 1U) << i;
    }
    return number;
  }
  void put(unsigned octet) {
    if (out.size() == most) throw InflateResult::kTooLarge;
    out.push_back(static_cast<unsigned char>(octet));
  }
  void stored() {
    at = 8 * used();
    const unsigned size = bits(16);
    if ((bits(16) ^ size) != 0xffff || at / 8 + size > in.size()) throw kBad;
    for (unsigned i = 0; i < size; ++i) put(bits(8));
  }
  void fixed() {
    Octets literals(288, 8);
    std::fill_n(literals.begin() + 144, 112, 9);
    std::fill_n(literals.begin() + 256, 24, 7);
    coded(codeOf(literals, 0), codeOf(Octets(32, 5), 0));
  }
  void dynamic() {
    const unsigned literals = bits(5) + 257, distances = bits(5) + 1, count = bits(4) + 4;
    if (literals > 286 || distances > 30) throw kBad;
    Octets small(19), all;
    for (unsigned i = 0; i < count; ++i) {
      constexpr int kOrder[] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
      small[static_cast<size_t>(kOrder[i])] = static_cast<unsigned char>(bits(3));
    }
    const Code code = codeOf(small, 0);
    while (all.size() < literals + distances) {
      const unsigned what = symbol(code);
      if (what == 16 && all.empty()) throw kBad;
      const unsigned char value = what < 16    ? static_cast<unsigned char>(what)
                                  : what == 16 ? all.back()
                                               : 0;
      const unsigned extra = what < 16 ? 0 : what == 16 ? 2 : what == 17 ? 3 : 7;
      all.insert(all.end(), (what < 16 ? 1U : what == 18 ? 11U : 3U) + bits(extra), value);
    }
    if (all.size() != literals + distances || all[256] == 0) throw kBad;
    const auto middle = all.begin() + literals;
    coded(codeOf({all.begin(), middle}, 1), codeOf({middle, all.end()}, 2));
  }
  unsigned symbol(const Code& code) {
    for (unsigned length = 1, word = 0; length <= 15; ++length) {
      word = word << 1 | bits(1);
      if (const auto it = code.find({length, word}); it != code.end()) return it->second;
    }
    throw kBad;
  }
  void coded(const Code& literals, const Code& distances) {
    for (unsigned what = symbol(literals); what != 256; what = symbol(literals)) {
      if (what < 256) {
        put(what);
        continue;
      }
      if (what > 285) throw kBad;
      const unsigned length = what == 285 ? 258 : 3 + value(what - 257, 4);
      const unsigned far = symbol(distances);
      if (far > 29) throw kBad;
      const unsigned distance = 1 + value(far, 2);
      if (distance > out.size() || distance > window) throw kBad;
      for (unsigned i = 0; i < length; ++i) put(out[out.size() - distance]);
    }
  }
  // Symbols come in groups, 4 for lengths and 2 for distances, each with a bit more behind them.
  unsigned value(unsigned symbol, unsigned group) {
    if (symbol < 2 * group) return symbol;
    const unsigned extra = symbol / group - 1;
    return ((symbol % group + group) << extra) + bits(extra);
  }
};

void inflate(Span in, size_t most) {
  NaiveInflater naive{in, most};
  const InflateResult expected = naive.run();
  DataBuffer out;
  size_t used = 0;
  const InflateResult result = inflateRaw(in, most, out, used);
  const bool isOk = result == InflateResult::kOk;
  if (!isOk) naive.out.clear();
  require(isOk == (expected == InflateResult::kOk), "the same streams");
  require((result == InflateResult::kTooLarge) == (expected == InflateResult::kTooLarge),
          "bounded");
  require(std::ranges::equal(out.span(), naive.out), "the same output");
  require(!isOk || used == naive.used(), "the same octets taken");
}

void compress(Span in) {
  DataBuffer stream, out;
  require(zlibCompress(in, stream), "compresses");
  require(zlibInflate(stream.span(), in.size(), out) == InflateResult::kOk, "inflates");
  require(std::ranges::equal(out.span(), in), "what was compressed comes back");
  inflate(stream.span().subspan(2), in.size());
}

// A stream in its frame, of which one octet is perhaps another one.
void unframe(unsigned cmf, unsigned damage, Span in) {
  constexpr size_t kMost = 1 << 16;
  NaiveInflater naive{in, kMost, size_t{256} << (cmf >> 4)};
  const bool isBody = naive.run() == InflateResult::kOk;
  const Span body = isBody ? in.first(naive.used()) : in;
  unsigned a = 1, b = 0;
  for (const unsigned char octet : naive.out) a = (a + octet) % 65521, b = (b + a) % 65521;
  Octets stream(2);
  stream.insert(stream.end(), body.begin(), body.end());
  for (const unsigned sum : {b, a}) {
    for (const unsigned octet : {sum >> 8, sum & 0xFF}) stream.push_back(octet & 0xFF);
  }
  const unsigned flags = damage == 3 ? 0x20 : 0;  // a dictionary is asked for
  stream[0] = cmf & 0xFF;
  stream[1] = (flags + 31 - ((cmf << 8) + flags) % 31) & 0xFF;
  const size_t end = stream.size() - damage % 4 - 1;
  if (damage >= 4) stream[end] ^= damage & 0xFF;
  if (damage == 1) stream.pop_back();
  if (damage == 2) stream.push_back(0);
  DataBuffer out;
  const bool isOk = zlibInflate(stream, kMost, out) == InflateResult::kOk;
  require(isOk == (isBody && (cmf & 15) == 8 && cmf >> 4 <= 7 && damage == 0),
          "the frame to the letter");
  require(!isOk || std::ranges::equal(out.span(), naive.out), "what was in it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const Span rest(data + 2, size - 2);
  if (data[0] % 4 == 0) {
    compress(rest);
  } else if (data[0] % 4 == 1) {
    unframe(data[1], data[0] / 4 & 0xF, rest);
  } else {
    inflate(rest, size_t{data[1]} * data[1]);
  }
  return 0;
}
