#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <new>

#include "tools/bulk/lines.h"
#include "tools/commands/command.h"

namespace velmora::tool {

namespace {

// In the order of the help. A new command is one line here and a file of its own.
constexpr const Command* kCommands[] = {
    &kShowCommand,    &kVerifyCommand, &kIssuerCommand,      &kTreeCommand,
    &kDiffCommand,    &kNameCommand,   &kExtCommand,         &kKeyCommand,
    &kPinCommand,     &kMatchCommand,  &kLintCommand,        &kSplitCommand,
    &kExpiresCommand, &kAsn1Command,   &kCompletionsCommand, &kManualCommand};

constexpr OptionSpec kOptions[] = {
    {"--help", "", "this text; behind a command, the command's own; also -h, help, help COMMAND"},
    {"--version", "", "the program's version; also -V, version"},
};

constexpr std::string_view kAboutInput =
    "\n"
    "FILE, or - for standard input, which is also read when it is a pipe or a file\n"
    "and no FILE is given, holds certificates as DER, PEM, PKCS #7 (p7b), bare base64\n"
    "or ASN.1 XML; the content tells which. All certificates of a file are treated,\n"
    "in order. What cannot be read or is no certificate has a line on standard error,\n"
    "blocks in a row with the same fault one behind the first, and stops nothing.\n"
    "Keys, requests and CRLs beside certificates are noted in one line and no fault.\n"
    "\n"
    "Control characters, bidirectional controls and bytes that are not UTF-8 are\n"
    "printed as \\xHH or \\u{HHHH}, a backslash as \\\\; in XML, JSON and RFC 4514 text,\n"
    "as the escapes of these.\n"
    "\n"
    "Exit status: 0 done; 1 the answer is no; 2 usage; 3 something could not be read\n"
    "or written, or was not a certificate; 130 interrupted with --lines.\n";

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
  print(out, "Usage: velmora-x509 [COMMAND] [OPTION]... [FILE]...\n\nCommands:\n");
  for (const Command* command : kCommands) appendHelpRow(command->name, "", command->summary, out);
  print(out, "\nOptions:\n");
  for (const OptionSpec& option : kOptions) {
    appendHelpRow(option.name, option.value, option.help, out);
  }
  print(out, kAboutInput);
}

void appendCommandHelp(const Command& command, StringBuffer& out) {
  print(out, "Usage: velmora-x509 ");
  appendUsage(command, out);
  print(out, "\n\n", command.summary, command.options.empty() ? "\n" : "\n\nOptions:\n");
  for (const OptionSpec& option : command.options) {
    appendHelpRow(option.name, option.value, option.help, out);
  }
  print(out, command.details.empty() ? "" : "\n", command.details);
  if (hasOption(command, kLinesOption.name)) print(out, "\n", kAboutLines);
  if (command.takesFiles) out.append(kAboutInput);
}

const Command* commandNamed(std::string_view name) {
  const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                  [&](const Command* command) { return command->name == name; });
  return found == std::end(kCommands) ? nullptr : *found;
}

std::vector<std::string_view> commandNames() {
  std::vector<std::string_view> names = {"help", "version"};
  for (const Command* command : kCommands) names.push_back(command->name);
  return names;
}

// Refuses a word that names neither a command nor a file and most likely means a command.
void refuseMistyped(const char* word) {
  struct stat status;
  if (::stat(word, &status) == 0) return;
  const std::string meant = didYouMean(word, commandNames());
  if (!meant.empty()) throw UsageError("no command or file \"" + std::string(word) + "\"" + meant);
}

void runCommand(const Command& command, std::span<char* const> words, Console& console) {
  const auto options = std::find(words.begin(), words.end(), std::string_view("--"));
  const bool wantsHelp = std::any_of(words.begin(), options, [](std::string_view word) {
    return word == "--help" || word == "-h";
  });
  if (wantsHelp) return appendCommandHelp(command, console.out());
  const Arguments arguments(words, command.options, command.operand, command.takesFiles);
  command.run(arguments, console);
}

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// The help of the command that is asked for, or of all.
void help(std::span<char* const> words, StringBuffer& out) {
  if (words.empty() || isOneOf(words[0], {"help", "version"})) return appendHelp(out);
  const Command* const command = commandNamed(words[0]);
  if (command != nullptr) return appendCommandHelp(*command, out);
  throw UsageError("no command \"" + std::string(words[0]) + "\"" +
                   didYouMean(words[0], commandNames()));
}

// `command` becomes the one that the words name, as soon as it is known.
void run(std::span<char* const> words, Console& console, const Command*& command) {
  if (words.empty()) {
    if (!isInputGiven()) throw UsageError("neither a command nor a FILE given");
    command = &kShowCommand;
    return runCommand(*command, words, console);
  }
  const std::string_view first = words[0];
  if (isOneOf(first, {"help", "--help", "-h"})) return help(words.subspan(1), console.out());
  if (isOneOf(first, {"version", "--version", "-V"})) {
    return print(console.out(), "velmora-x509 " VELMORA_VERSION "\n");
  }
  command = commandNamed(first);
  if (command != nullptr) return runCommand(*command, words.subspan(1), console);
  refuseMistyped(words[0]);
  command = &kShowCommand;
  runCommand(*command, words, console);
}

}  // namespace

void appendUsage(const Command& command, StringBuffer& out) {
  print(out, command.name, command.options.empty() ? "" : " [OPTION]...",
        command.operand.empty() ? "" : " ", command.operand,
        command.takesFiles ? " [FILE]..." : "");
}

bool hasOption(const Command& command, std::string_view name) {
  return std::any_of(command.options.begin(), command.options.end(),
                     [&](const OptionSpec& option) { return option.name == name; });
}

constinit const Program kProgram = {kCommands, kOptions, kAboutInput};

}  // namespace velmora::tool

int main(int count, char** words) {
  using namespace velmora::tool;
  // A reader that goes away, and a file that may not grow, are told by the failing write.
  for (const int each : {SIGPIPE, SIGXFSZ}) (void)std::signal(each, SIG_IGN);
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
