#include "tools/completion/completion.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kStart =
    R"(# Completion of velmora-x509 for fish, made by "velmora-x509 completions fish".
function __velmora_x509_is_first
    test (count (commandline -opc)) -eq 1
end
function __velmora_x509_is
    set -l words (commandline -opc)
    if not set -q words[2]; or not contains -- $words[2] )";

constexpr std::string_view kStartEnd = R"(
        test $argv[1] = show
    else
        test $argv[1] = $words[2]
    end
end
)";

constexpr std::string_view kQuote = "\\'";

void appendDescription(std::string_view text, StringBuffer& out) {
  print(out, " -d ");
  appendQuoted(text, kQuote, out);
  out.appendChar('\n');
}

// What completes a value or an operand, as options of "complete".
void appendOffer(std::string_view name, std::span<const std::string_view> words,
                 StringBuffer& out) {
  const Expected expected = expectedOf(name);
  print(out, expected == Expected::kFiles ? " -r -F" : " -x");
  if (expected == Expected::kFolders) print(out, " -a '(__fish_complete_directories)'");
  if (words.empty()) return;
  print(out, " -a '");
  appendWords(words, out);
  out.appendChar('\'');
}

void appendOption(std::string_view condition, const OptionSpec& option, StringBuffer& out) {
  const bool isLong = option.name.starts_with("--");
  print(out, "complete -c velmora-x509 -n '", condition, isLong ? "' -l " : "' -s ",
        option.name.substr(isLong ? 2 : 1));
  if (!option.value.empty()) appendOffer(option.value, option.words, out);
  appendDescription(option.help, out);
}

void appendCommand(const Command& command, StringBuffer& out) {
  print(out, "complete -c velmora-x509 -n __velmora_x509_is_first -a ", command.name);
  appendDescription(command.summary, out);
  StringBuffer condition("__velmora_x509_is ");
  condition.append(command.name);
  for (const OptionSpec& option : command.options)
    appendOption(whole(condition).view(), option, out);
  appendOption(condition.view(), {"--help", "", "how the command is used"}, out);
  if (command.takesFiles) return;
  print(out, "complete -c velmora-x509 -n '", condition, "' -f");
  if (!command.operandWords.empty()) {
    print(out, " -a '");
    appendWords(command.operandWords, out);
    out.appendChar('\'');
  }
  out.appendChar('\n');
}

}  // namespace

void appendFishCompletion(const Program& program, StringBuffer& out) {
  print(out, kStart);
  appendCommandNames(program, " ", out);
  print(out, kStartEnd);
  for (const Command* command : program.commands) appendCommand(*command, out);
  for (const OptionSpec& option : program.options) {
    if (option.name != "--help") appendOption("__velmora_x509_is_first", option, out);
  }
}

}  // namespace velmora::tool
