#include <algorithm>
#include <vector>

#include "tools/completion/completion.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kShells[] = {"bash", "zsh", "fish"};
constexpr void (*kScripts[])(const Program&, StringBuffer&) = {
    appendBashCompletion, appendZshCompletion, appendFishCompletion};

void runCompletions(const Arguments& arguments, Console& console) {
  const auto shell = std::find(std::begin(kShells), std::end(kShells), arguments.operand());
  if (shell == std::end(kShells)) throw UsageError("the shell is one of bash, zsh, fish");

  // What stands in place of a command as a word is completed as one.
  std::vector<const Command*> commands(kProgram.commands.begin(), kProgram.commands.end());
  std::vector<std::string_view> names;
  names.reserve(commands.size());
  for (const Command* command : commands) names.push_back(command->name);
  const Command help = {
      "help", "print how the program or a command is used", {}, {}, nullptr, "COMMAND", names,
      false};
  const Command version = {"version", "print the program's version", {}, {}, nullptr, {}, {},
                           false};
  commands.insert(commands.end(), {&help, &version});

  Program program = kProgram;
  program.commands = commands;
  kScripts[shell - std::begin(kShells)](program, console.out());
}

}  // namespace

const Command kCompletionsCommand = {
    "completions",
    "print what makes a shell complete this program's command line",
    "SHELL is bash, zsh or fish. An installation has the scripts in place; without\n"
    "one the start-up file of bash takes\n"
    "\n"
    "    source <(velmora-x509 completions bash)\n"
    "\n"
    "that of zsh the same line with zsh, behind compinit, and that of fish\n"
    "\n"
    "    velmora-x509 completions fish | source\n",
    {},
    runCompletions,
    "SHELL",
    kShells,
    false};

}  // namespace velmora::tool
