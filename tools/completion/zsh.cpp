#include "tools/completion/completion.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kStart = R"(#compdef velmora-x509
# Completion of velmora-x509 for zsh, made by "velmora-x509 completions zsh".
_velmora-x509() {
  local command=show found=1
  local -a about commands=(
)";

constexpr std::string_view kDispatch = R"(  )
  if (( CURRENT == 2 )); then
    _describe -t commands command commands && found=0
    about=()";

constexpr std::string_view kDispatchEnd = R"()
  elif (( $commands[(I)${words[2]}:*] )); then
    command=$words[2]
    shift words
    (( CURRENT-- ))
  fi
  case $command in
)";

constexpr std::string_view kEnd = R"(  esac
  return found
}
if [[ $funcstack[1] == _velmora-x509 ]]; then
  _velmora-x509 "$@"
else
  compdef _velmora-x509 velmora-x509
fi
)";

constexpr std::string_view kQuote = "'\\''";

// ":NAME:action", behind an option or the number of an operand.
void appendAction(std::string_view name, std::span<const std::string_view> words,
                  StringBuffer& out) {
  print(out, ':', name, ':');
  const Expected expected = expectedOf(name);
  if (!words.empty()) {
    print(out, expected == Expected::kFiles ? "{compadd - " : "(");
    appendWords(words, out);
    print(out, expected == Expected::kFiles ? "; _files}" : ")");
  } else {
    print(out, expected == Expected::kFiles     ? "_files"
               : expected == Expected::kFolders ? "_files -/"
                                                : " ");
  }
}

// "--name=[help]:VALUE:action", quoted.
void appendOption(const OptionSpec& option, StringBuffer& out) {
  StringBuffer row;
  print(row, option.repeats ? "*" : "", option.name, option.value.empty() ? "[" : "=[");
  for (const char c : option.help) {
    if (c == '[' || c == ']' || c == '\\') row.appendChar('\\');
    row.appendChar(c);
  }
  row.appendChar(']');
  if (!option.value.empty()) appendAction(option.value, option.words, row);
  print(out, " \\\n        ");
  appendQuoted(whole(row).view(), kQuote, out);
}

// The options that stand in place of a command follow from where the word stands.
void appendCommandCase(const Command& command, StringBuffer& out) {
  print(out, "    ", command.name, ")\n      _arguments -S $about");
  for (const OptionSpec& option : command.options) appendOption(option, out);
  appendOption({"--help", "", "how the command is used"}, out);
  if (!command.operand.empty()) {
    StringBuffer row("1");
    appendAction(command.operand, command.operandWords, row);
    print(out, " \\\n        ");
    appendQuoted(whole(row).view(), kQuote, out);
  }
  print(out, command.takesFiles ? " \\\n        '*:FILE:_files'" : "", " && found=0\n      ;;\n");
}

}  // namespace

void appendZshCompletion(const Program& program, StringBuffer& out) {
  print(out, kStart);
  for (const Command* command : program.commands) {
    StringBuffer row;
    print(row, command->name, ':', command->summary);
    print(out, "    ");
    appendQuoted(whole(row).view(), kQuote, out);
    out.appendChar('\n');
  }
  print(out, kDispatch);
  for (const OptionSpec& option : program.options) {
    if (option.name != "--help") appendOption(option, out);
  }
  print(out, kDispatchEnd);
  for (const Command* command : program.commands) appendCommandCase(*command, out);
  print(out, kEnd);
}

}  // namespace velmora::tool
