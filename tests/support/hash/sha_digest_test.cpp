#include "velmora/support/hash/sha_digest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "velmora/support/text/string_buffer.h"

namespace velmora {
namespace {

using Bytes = std::vector<unsigned char>;

#if defined(__OPTIMIZE__) && !defined(VELMORA_EMULATED)
constexpr bool kOptimised = true;
#else
constexpr bool kOptimised = false;  // then four gibibytes would take minutes
#endif

template <class Digest>
std::string finished(Digest& digest) {
  std::string out(Digest::kDigestSize, '\0');
  digest.finish(reinterpret_cast<unsigned char*>(out.data()));
  return out;
}

template <class Digest>
std::string digestOf(const ShaPath& path, const unsigned char* data, size_t size) {
  Digest digest(path);
  digest.update(data, size);
  return finished(digest);
}

std::string toHex(const std::string& bytes) {
  DataBuffer buffer;
  buffer.append(bytes.data(), bytes.size());
  StringBuffer hex;
  buffer.encodeDB("hexlower", hex);
  return std::string(hex.view());
}

/// Digest of the digests of the messages of 0 to 300 bytes, as make_known_answers.py describes it.
/// Each message ends where its memory ends, so that a read beyond it is seen by a sanitizer.
template <class Digest>
std::string digestOfLengths(const ShaPath& path) {
  std::string digests;
  for (size_t length = 0; length <= 300; ++length) {
    Bytes message(length);
    for (size_t i = 0; i < length; ++i) message[i] = static_cast<unsigned char>(7 * i + length);
    digests += digestOf<Digest>(path, message.data(), length);
  }
  return digestOf<Digest>(path, reinterpret_cast<const unsigned char*>(digests.data()),
                          digests.size());
}

/// Of 2^32 + 3 bytes: the count of bytes passes 32 bits, and that of bits long before.
template <class Digest>
std::string digestBeyond4GiB(const ShaPath& path) {
  const Bytes piece(size_t{1} << 24, 0x5a);
  Digest digest(path);
  for (int i = 0; i < 1 << 8; ++i) digest.update(piece.data(), piece.size());
  digest.update(piece.data(), 3);
  return finished(digest);
}

template <class Digest>
std::string answer(const ShaPath& path, const std::string& testCase) {
  if (testCase == "beyond_4gib") return digestBeyond4GiB<Digest>(path);
  if (testCase == "lengths") return digestOfLengths<Digest>(path);
  std::string message = testCase == "empty" ? "" : testCase;
  if (testCase == "million_a") message.assign(1000000, 'a');
  return digestOf<Digest>(path, reinterpret_cast<const unsigned char*>(message.data()),
                          message.size());
}

template <class Digest>
class ShaDigestTest : public testing::Test {
 protected:
  /// The case and its expected digest in hexadecimal, for the lines of this digest's algorithm.
  static std::vector<std::pair<std::string, std::string>> knownAnswers() {
    std::ifstream file(VELMORA_SOURCE_DIR "/tests/support/hash/sha_known_answers.txt");
    std::vector<std::pair<std::string, std::string>> answers;
    std::string algorithm, testCase, digest;
    while (file >> algorithm >> testCase >> digest) {
      if (digest.size() == 2 * Digest::kDigestSize) answers.emplace_back(testCase, digest);
    }
    return answers;
  }
};

using Digests = testing::Types<Sha1Digest, Sha256Digest, Sha384Digest, Sha512Digest>;
TYPED_TEST_SUITE(ShaDigestTest, Digests);

TYPED_TEST(ShaDigestTest, KnownAnswersOnEveryPath) {
  const auto answers = this->knownAnswers();
  ASSERT_GE(answers.size(), 6U);
  const std::string_view fastest = fastestShaPath().name;
  for (const ShaPath& path : shaPaths()) {
    for (const auto& [testCase, expected] : answers) {
      if (testCase == "beyond_4gib" && (!kOptimised || path.name != fastest)) continue;
      EXPECT_EQ(toHex(answer<TypeParam>(path, testCase)), expected) << path.name << " " << testCase;
    }
  }
}

TYPED_TEST(ShaDigestTest, PiecesOfAnySizeEqualTheWhole) {
  std::mt19937 random(20240607);
  Bytes data(3000);
  for (unsigned char& byte : data) byte = static_cast<unsigned char>(random());
  for (const ShaPath& path : shaPaths()) {
    const std::string whole = digestOf<TypeParam>(path, data.data(), data.size());
    for (size_t round = 0; round < 200; ++round) {
      TypeParam digest(path);
      for (size_t at = 0; at < data.size();) {
        const size_t piece = std::min(data.size() - at, random() % (round + 2));
        digest.update(piece == 0 ? nullptr : data.data() + at, piece);
        at += piece;
      }
      ASSERT_EQ(finished(digest), whole) << path.name << " round " << round;
    }
  }
}

TYPED_TEST(ShaDigestTest, FinishStartsAfreshAndACopyForksTheStream) {
  TypeParam digest;
  digest.update("certificate", 11);
  TypeParam fork(digest);
  const std::string first = finished(digest);
  EXPECT_EQ(finished(fork), first);
  digest.update("certificate", 11);
  EXPECT_EQ(finished(digest), first);
}

TEST(ShaDigest, HashDataAppendsAndTakesItsOwnBuffer) {
  DataBuffer data;
  data.append("abc", 3);
  Sha1Digest::hashData(data, data);
  EXPECT_EQ(toHex(std::string(data.view())), "616263a9993e364706816aba3e25717850c26c9cd0d89d");
  ASSERT_EQ(data.extend(SIZE_MAX), nullptr);
  DataBuffer ofShortened;
  Sha256Digest::hashData(data, ofShortened);
  EXPECT_TRUE(ofShortened.failed() && ofShortened.empty());
}

}  // namespace
}  // namespace velmora
