#include "tools/completion/completion.h"

#include <algorithm>

namespace velmora::tool {

namespace {

// What is no file. Files are offered for every other value: too many offers hinder less than none.
constexpr std::string_view kTexts[] = {"ADDRESS", "COMMAND", "DAYS",  "K,K",  "N",    "NAME",
                                       "OID",     "PINSET",  "SHELL", "TIME", "WHAT", "WHOM"};

}  // namespace

Expected expectedOf(std::string_view valueName) {
  if (valueName == "DIR") return Expected::kFolders;
  const bool isText =
      std::find(std::begin(kTexts), std::end(kTexts), valueName) != std::end(kTexts);
  return isText ? Expected::kText : Expected::kFiles;
}

void appendWords(std::span<const std::string_view> words, StringBuffer& out) {
  for (const std::string_view& word : words) print(out, &word == words.data() ? "" : " ", word);
}

void appendCommandNames(const Program& program, std::string_view separator, StringBuffer& out) {
  std::string_view before;
  for (const Command* command : program.commands) {
    print(out, before, command->name);
    before = separator;
  }
}

void appendQuoted(std::string_view text, std::string_view escaped, StringBuffer& out) {
  out.appendChar('\'');
  for (const char c : text) c == '\'' ? out.append(escaped) : out.append(std::string_view(&c, 1));
  out.appendChar('\'');
}

}  // namespace velmora::tool
