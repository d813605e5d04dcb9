#include "tools/terminal/options.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "fuzz/fuzz_target.h"

// Property: a command line is refused with a reason, or every word of it is what a plain reading
// makes of it: an option, the value of one, or a file. Each line is a word.

namespace {

using namespace velmora::tool;
using velmora::fuzz::require;
using Words = std::vector<std::string>;

constexpr OptionSpec kSpecs[] = {
    {"--json", "", ""}, {"--at", "DATE", ""}, {"--root", "FILE", "", true}};

// Whether it makes sense.
bool read(const Words& words, std::map<std::string, Words>& values, Words& files) {
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string &word = words[i], name = word.substr(0, word.find('='));
    const bool takesValue = name == "--at" || name == "--root", hasValue = name != word;
    if (word == "--") {
      files.insert(files.end(), words.begin() + static_cast<ptrdiff_t>(i) + 1, words.end());
      break;
    }
    if (!word.starts_with('-') || word == "-") {
      files.push_back(word);
      continue;
    }
    if ((!takesValue && name != "--json") || (hasValue && !takesValue)) return false;
    if (!values[name].empty() && name != "--root") return false;
    if (takesValue && !hasValue && ++i == words.size()) return false;
    values[name].push_back(hasValue ? word.substr(name.size() + 1) : takesValue ? words[i] : "");
  }
  const Words& roots = values["--root"];
  const auto inputs = std::count(roots.begin(), roots.end(), "-") +
                      std::count(files.begin() + !files.empty(), files.end(), "-");
  return files.size() > 1 && inputs < 2;  // one is what the command works with
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string input(data, data + size);
  std::replace(input.begin(), input.end(), '\0', ' ');
  std::istringstream in(input);
  Words words, files;
  for (std::string word; std::getline(in, word);) words.push_back(word);
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  std::map<std::string, Words> values;
  const bool isUsable = read(words, values, files);
  try {
    const Arguments arguments(pointers, kSpecs, "WHAT");
    if (!isUsable && files.size() == 1 && isInputGiven()) return 0;  // which is the file then
    require(isUsable, "what makes no sense is refused");
    require(arguments.operand() == files[0] &&
                std::equal(arguments.files().begin(), arguments.files().end(), files.begin() + 1,
                           files.end()),
            "the same files");
    for (const OptionSpec& spec : kSpecs) {
      require(std::ranges::equal(arguments.values(spec.name), values[std::string(spec.name)]),
              "the same values");
    }
  } catch (const UsageError& error) {
    require(!isUsable && !error.message.empty(), "what makes sense is not refused");
  }
  return 0;
}
