#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/fuzz_target.h"

// Runs a fuzz target on the files given and on every file of the folders given; fails when there is
// none.

namespace {

void replay(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  in.exceptions(std::ios::badbit | std::ios::failbit);
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);  // names the input when the target ends the program
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

size_t replayAll(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return replay(path), 1;
  size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (!entry.is_regular_file()) continue;
    replay(entry.path());
    ++count;
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) count += replayAll(argv[i]);
    std::printf("%zu inputs\n", count);
    return count != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s\n", fault.what());
    return EXIT_FAILURE;
  }
}
