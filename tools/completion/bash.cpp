#include "tools/completion/completion.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kStart =
    R"(# Completion of velmora-x509 for bash, made by "velmora-x509 completions bash".
_velmora_x509() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
  local words='' options='' files=any each
  # --option=value comes as three words.
  if [[ $word == = ]]; then
    word=''
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
)";

constexpr std::string_view kEnd = R"(  COMPREPLY=()
  while IFS= read -r each; do COMPREPLY+=("$each"); done < <(
    compgen -W "$words" -- "$word"
    case $files in
      any) compgen -f -- "$word" ;;
      folders) compgen -d -- "$word" ;;
    esac
  )
  if [[ $files != none ]]; then compopt -o filenames 2>/dev/null; fi
}
complete -F _velmora_x509 velmora-x509
)";

std::string_view filesWord(Expected expected) {
  return expected == Expected::kFiles ? "any" : expected == Expected::kFolders ? "folders" : "none";
}

// What completes a value, as assignments.
void appendOffer(std::string_view name, std::span<const std::string_view> words,
                 StringBuffer& out) {
  print(out, "files=", filesWord(expectedOf(name)));
  if (words.empty()) return;
  print(out, " words='");
  appendWords(words, out);
  out.appendChar('\'');
}

// One row for each option that takes a value.
void appendValues(const Command& command, StringBuffer& out) {
  for (const OptionSpec& option : command.options) {
    if (option.value.empty()) continue;
    print(out, "    '", command.name, ' ', option.name, "') ");
    appendOffer(option.value, option.words, out);
    print(out, " ;;\n");
  }
}

// What completes any other word behind the command.
void appendCommandRow(const Command& command, StringBuffer& out) {
  print(out, "        ", command.name, ")\n          options='");
  for (const OptionSpec& option : command.options) print(out, option.name, ' ');
  print(out, "--help'\n");
  if (!command.takesFiles) print(out, "          files=none\n");
  if (!command.operand.empty()) {
    print(out, "          if ((COMP_CWORD == 2)); then ");
    appendOffer(command.operand, command.operandWords, out);
    print(out, "; fi\n");
  }
  print(out, "          ;;\n");
}

}  // namespace

void appendBashCompletion(const Program& program, StringBuffer& out) {
  print(out, kStart, "  case $command in\n    ");
  appendCommandNames(program, " | ", out);
  print(out, ") ((COMP_CWORD > 1)) || command=show ;;\n    *) command=show ;;\n  esac\n");
  print(out, "  case \"$command $before\" in\n");
  for (const Command* command : program.commands) appendValues(*command, out);
  print(out, "    *)\n      case $command in\n");
  for (const Command* command : program.commands) appendCommandRow(*command, out);
  print(out, "      esac\n      if ((COMP_CWORD == 1)); then\n        words='");
  appendCommandNames(program, " ", out);
  out.appendChar('\'');
  print(out, "\n        options+='");
  for (const OptionSpec& option : program.options) print(out, ' ', option.name);
  print(out,
        "'\n      fi\n      if [[ $word == -* ]]; then words=$options; fi\n      ;;\n  esac\n");
  print(out, kEnd);
}

}  // namespace velmora::tool
