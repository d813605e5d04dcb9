#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/zip/zip_samples.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/zip/zlib_codec.h"

// Streams of another implementation read here, and streams made here read there. other_zlib.py is
// the other side, and describes the lines that are read.

namespace velmora {
namespace {

const std::string kFolder = VELMORA_SOURCE_DIR "/tests/support/zip/";

bool runOtherSide(const std::string& arguments) {
  return std::system(("python3 '" + kFolder + "other_zlib.py' " + arguments).c_str()) == 0;
}

DataBuffer fromHex(const std::string& hex) {
  DataBuffer bytes;
  EXPECT_TRUE(hex == "-" || bytes.appendEncoded(hex, "hex"));
  return bytes;
}

/// Reads every stream of a file; returns how many lines it has.
int expectSameAnswers(const std::string& path) {
  std::ifstream file(path);
  std::string kind, stream, expected;
  int lines = 0;
  while (file >> kind >> stream >> expected) {
    DataBuffer out;
    size_t used = 0;
    const DataBuffer in = fromHex(stream);
    const InflateResult result = kind == "zlib" ? zlibInflate(in.span(), 1 << 20, out)
                                                : inflateRaw(in.span(), 1 << 20, out, used);
    EXPECT_EQ(result == InflateResult::kOk, expected != "error")
        << kind << " " << stream.substr(0, 2000) << ": " << inflateResultText(result);
    if (expected != "error") {
      EXPECT_EQ(out.view(), fromHex(expected).view());
    }
    ++lines;
  }
  return lines;
}

class OtherZlib : public testing::Test {
 protected:
  void SetUp() override {
    if (std::system("python3 -c 'import zlib' >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
    std::filesystem::create_directories(m_folder);
  }
  void TearDown() override { std::filesystem::remove_all(m_folder); }

  const std::filesystem::path m_folder =
      std::filesystem::temp_directory_path() /
      (std::string("velmora_zip_") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST(OtherZlibVectors, AreReadHere) {
  EXPECT_EQ(expectSameAnswers(kFolder + "zlib_vectors.txt"), 15);
}

TEST_F(OtherZlib, ItsStreamsAreReadAndRefusedAlike) {
  const std::string path = (m_folder / "streams.txt").string();
  ASSERT_TRUE(runOtherSide("write '" + path + "'"));
  EXPECT_GT(expectSameAnswers(path), 4000);
}

TEST_F(OtherZlib, OurStreamsAreReadThere) {
  const zip_samples::Bytes highest(1000000, 0xff);  // of the largest checksums
  int number = 0;
  for (const auto& bytes :
       {zip_samples::Bytes{}, zip_samples::random(30), zip_samples::random(150000),
        zip_samples::words(100), zip_samples::words(400000), zip_samples::mixed(7),
        zip_samples::fibonacci(), highest}) {
    DataBuffer stream;
    ASSERT_TRUE(zlibCompress(bytes, stream));
    const std::string name = (m_folder / std::to_string(number++)).string();
    std::ofstream(name + ".raw", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    std::ofstream(name + ".z", std::ios::binary)
        .write(stream.view().data(), static_cast<std::streamsize>(stream.size()));
  }
  EXPECT_TRUE(runOtherSide("check '" + m_folder.string() + "'"));
}

}  // namespace
}  // namespace velmora
