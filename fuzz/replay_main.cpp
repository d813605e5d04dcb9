#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_target.h"

// replay_NAME [--damage] PATH...: runs a fuzz target on the files given and on every file of the
// folders given; fails when there is none. With --damage it runs every prefix of each as well, and
// each with one octet changed; but not of those in folders inside the folders given, which are
// dear.

namespace {

void run(const std::string& bytes) {
  const std::vector<uint8_t> exact(bytes.begin(), bytes.end());  // ends where its memory ends
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

void runDamaged(const std::string& bytes) {
  for (size_t at = 0; at < bytes.size(); ++at) {
    run(bytes.substr(0, at));
    for (const int change : {1 << at % 8, 0xFF}) {
      std::string changed = bytes;
      changed[at] = static_cast<char>(changed[at] ^ change);
      run(changed);
    }
  }
}

void replay(const std::filesystem::path& file, bool damage) {
  std::ifstream in(file, std::ios::binary);
  in.exceptions(std::ios::badbit | std::ios::failbit);
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);  // names the input when the target ends the program
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  run(bytes);
  if (damage) runDamaged(bytes);
}

size_t replayAll(const std::filesystem::path& path, bool damage) {
  if (!std::filesystem::is_directory(path)) return replay(path, damage), 1;
  size_t count = 0;
  const std::filesystem::recursive_directory_iterator end;
  for (std::filesystem::recursive_directory_iterator entry(path); entry != end; ++entry) {
    if (!entry->is_regular_file()) continue;
    replay(entry->path(), damage && entry.depth() == 0);
    ++count;
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    size_t count = 0;
    const bool damage = argc > 1 && std::string_view(argv[1]) == "--damage";
    for (int i = damage ? 2 : 1; i < argc; ++i) count += replayAll(argv[i], damage);
    std::printf("%zu inputs\n", count);
    return count != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s\n", fault.what());
    return EXIT_FAILURE;
  }
}
