#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/zip/zip_samples.h"
#include "velmora/support/zip/zlib_codec.h"

// Streams made here read by another implementation, by other_zlib.py.

namespace velmora {
namespace {

const std::string kFolder = VELMORA_SOURCE_DIR "/tests/support/zip/";

// Without this a fault that both sides of our own share would show nowhere.
TEST(OtherZlib, OurStreamsAreReadThere) {
  if (std::system("python3 -c 'import zlib' >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
  const std::string folder = testing::TempDir() + "velmora_zip";
  std::filesystem::create_directories(folder);
  const zip_samples::Bytes highest(1000000, 0xff);  // of the largest checksums
  int number = 0;
  for (const auto& bytes :
       {zip_samples::Bytes{}, zip_samples::random(30), zip_samples::random(150000),
        zip_samples::words(100), zip_samples::words(400000), zip_samples::mixed(7),
        zip_samples::fibonacci(), highest}) {
    DataBuffer stream;
    ASSERT_TRUE(zlibCompress(bytes, stream));
    const std::string name = folder + "/" + std::to_string(number++);
    std::ofstream(name + ".raw", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    std::ofstream(name + ".z", std::ios::binary)
        .write(stream.view().data(), static_cast<std::streamsize>(stream.size()));
  }
  const std::string check = "python3 '" + kFolder + "other_zlib.py' check '" + folder + "'";
  EXPECT_EQ(std::system(check.c_str()), 0);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace velmora
