#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <new>

#include "tools/commands/command.h"

namespace velmora::tool {

namespace {

// In the order of the help. A new command is one line here and a file of its own.
constexpr const Command* kCommands[] = {
    &kShowCommand, &kVerifyCommand, &kIssuerCommand,  &kNameCommand, &kExtCommand,   &kKeyCommand,
    &kPinCommand,  &kMatchCommand,  &kExpiresCommand, &kLintCommand, &kSplitCommand, &kAsn1Command};

constexpr std::string_view kAboutInput =
    "\n"
    "FILE, or - for standard input, holds certificates as DER, PEM, PKCS #7 (p7b),\n"
    "bare base64 or ASN.1 XML; the content tells which. All certificates of a file\n"
    "are treated, in order. What cannot be read or is no certificate has a line on\n"
    "standard error, blocks in a row with the same fault one behind the first, and\n"
    "stops nothing.\n"
    "\n"
    "Control characters, bidirectional controls and bytes that are not UTF-8 are\n"
    "printed as \\xHH or \\u{HHHH}, a backslash as \\\\; in XML, JSON and RFC 4514 text,\n"
    "as the escapes of these.\n"
    "\n"
    "Exit status: 0 done; 1 the answer is no; 2 usage; 3 something could not be read\n"
    "or was not a certificate.\n";

constexpr size_t kHelpColumn = 22;
constexpr size_t kHelpWidth = 58;

// Appends text from the help column on, broken between words.
void appendWrapped(std::string_view text, size_t column, StringBuffer& out) {
  while (!text.empty()) {
    for (; column < kHelpColumn; ++column) out.appendChar(' ');
    size_t size = std::min(text.size(), kHelpWidth);
    if (size < text.size()) size = text.rfind(' ', size);
    out.append(text.substr(0, size));
    out.appendChar('\n');
    text.remove_prefix(std::min(size + 1, text.size()));
    column = 0;
  }
}

void appendHelpRow(std::string_view name, std::string_view value, std::string_view help,
                   StringBuffer& out) {
  const size_t before = out.getSize();
  print(out, "  ", name, value.empty() ? "" : " ", value);
  appendWrapped(help, out.getSize() - before, out);
}

void appendHelp(StringBuffer& out) {
  print(out, "Usage: velmora-x509 [COMMAND] [OPTION]... FILE...\n\nCommands:\n");
  for (const Command* command : kCommands) appendHelpRow(command->name, "", command->summary, out);
  print(out, "\nOptions:\n");
  appendHelpRow("--help", "", "this text; behind a command, the command's own", out);
  appendHelpRow("--version", "", "the program's version", out);
  print(out, kAboutInput);
}

void appendCommandHelp(const Command& command, StringBuffer& out) {
  print(out, "Usage: velmora-x509 ", command.name, " [OPTION]... ", command.operand,
        command.operand.empty() ? "FILE...\n\n" : " FILE...\n\n", command.summary,
        "\n\nOptions:\n");
  for (const OptionSpec& option : command.options) {
    appendHelpRow(option.name, option.value, option.help, out);
  }
  print(out, command.details.empty() ? "" : "\n", command.details, kAboutInput);
}

const Command* commandNamed(std::string_view name) {
  const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                  [&](const Command* command) { return command->name == name; });
  return found == std::end(kCommands) ? nullptr : *found;
}

// Refuses a word that names neither a command nor a file and most likely means a command.
void refuseMistyped(const char* word) {
  struct stat status;
  if (::stat(word, &status) == 0) return;
  std::vector<std::string_view> names;
  for (const Command* command : kCommands) names.push_back(command->name);
  const std::string meant = didYouMean(word, names);
  if (!meant.empty()) throw UsageError("no command or file \"" + std::string(word) + "\"" + meant);
}

void runCommand(const Command& command, std::span<char* const> words, Console& console) {
  const auto options = std::find(words.begin(), words.end(), std::string_view("--"));
  const bool wantsHelp = std::any_of(words.begin(), options, [](std::string_view word) {
    return word == "--help" || word == "-h";
  });
  if (wantsHelp) return appendCommandHelp(command, console.out());
  const Arguments arguments(words, command.options, command.operand);
  command.run(arguments, console);
}

// `command` becomes the one that the words name, as soon as it is known.
void run(std::span<char* const> words, Console& console, const Command*& command) {
  if (words.empty()) throw UsageError("neither a command nor a FILE given");
  const std::string_view first = words[0];
  if (first == "--help" || first == "-h") return appendHelp(console.out());
  if (first == "--version") return print(console.out(), "velmora-x509 " VELMORA_VERSION "\n");
  command = commandNamed(first);
  if (command != nullptr) return runCommand(*command, words.subspan(1), console);
  refuseMistyped(words[0]);
  command = &kShowCommand;
  runCommand(*command, words, console);
}

}  // namespace

}  // namespace velmora::tool

int main(int count, char** words) {
  using namespace velmora::tool;
  // A reader that goes away is told by the failing write.
  std::signal(SIGPIPE, SIG_IGN);
  Console console;
  const Command* command = nullptr;
  try {
    const std::span<char* const> all(words, static_cast<size_t>(count));
    run(all.subspan(all.empty() ? 0 : 1), console, command);
  } catch (const UsageError& error) {
    const std::string_view name = command != nullptr ? command->name : "";
    console.error(Safe{error.message}, "\nTry \"velmora-x509 ", name, name.empty() ? "" : " ",
                  "--help\".");
    console.raise(ExitStatus::kUsage);
  } catch (const std::bad_alloc&) {
    console.error("out of memory");
    console.raise(ExitStatus::kUnreadable);
  }
  console.flush();
  return static_cast<int>(console.status());
}
