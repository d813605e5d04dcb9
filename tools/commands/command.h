#pragma once

// What a command is; main.cpp makes the help and the dispatch from the list of them.

#include <span>
#include <string_view>

#include "tools/reading/input.h"

namespace velmora::tool {

/// One command of the program.
struct Command {
  std::string_view name;
  std::string_view summary;  // one line
  std::string_view details;  // for the command's own help; ends with a newline when not empty
  std::span<const OptionSpec> options;
  /// Does the work, and tells the outcome to the console. Throws UsageError before it starts for an
  /// argument that makes no sense, and std::bad_alloc.
  void (*run)(const Arguments& arguments, Console& console);
  /// What to call an argument that comes before the files; empty when there is none.
  std::string_view operand = {};
  /// The words that argument may be, where they are few.
  std::span<const std::string_view> operandWords = {};
  /// Whether FILEs come behind it.
  bool takesFiles = true;
};

/// All that the program says about itself: help, completions and manual are made of it.
struct Program {
  std::span<const Command* const> commands;  // in the order of the help
  std::span<const OptionSpec> options;       // that stand in place of a command
  std::string_view aboutInput;               // paragraphs, the last one about the exit status
};

extern const Program kProgram;

/// Appends how a command is called, behind the program's name: "split [OPTION]... [FILE]...".
void appendUsage(const Command& command, StringBuffer& out);

/// Whether it is among the options of the command.
bool hasOption(const Command& command, std::string_view name);

/// The commands, each defined in the file that bears its name ("match" beside "pin").
extern const Command kShowCommand;
extern const Command kAsn1Command;
extern const Command kNameCommand;
extern const Command kExtCommand;
extern const Command kKeyCommand;
extern const Command kPinCommand;
extern const Command kMatchCommand;
extern const Command kExpiresCommand;
extern const Command kLintCommand;
extern const Command kSplitCommand;
extern const Command kVerifyCommand;
extern const Command kIssuerCommand;
extern const Command kTreeCommand;
extern const Command kDiffCommand;
extern const Command kCompletionsCommand;
extern const Command kManualCommand;

}  // namespace velmora::tool
