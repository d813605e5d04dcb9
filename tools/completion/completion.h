#pragma once

// Completion of the command line by shells, made of the program's own tables: a command or an
// option that is there is completed, and no other.

#include "tools/commands/command.h"

namespace velmora::tool {

/// What may stand for a value or an operand, beside the words that its row has.
enum class Expected { kFiles, kFolders, kText };

/// Tells by what the help calls it.
Expected expectedOf(std::string_view valueName);

/// Appends all words with a space between them.
void appendWords(std::span<const std::string_view> words, StringBuffer& out);

/// Appends the names of all commands, with `separator` between them.
void appendCommandNames(const Program& program, std::string_view separator, StringBuffer& out);

/// Appends a text as one word of a shell, in single quotes; `escaped` is what a single quote inside
/// becomes.
void appendQuoted(std::string_view text, std::string_view escaped, StringBuffer& out);

/// Append the script that completes the program's command line in a shell: in bash 3.2 and later,
/// in zsh as an autoloaded function or sourced, in fish 3.0 and later.
void appendBashCompletion(const Program& program, StringBuffer& out);
void appendZshCompletion(const Program& program, StringBuffer& out);
void appendFishCompletion(const Program& program, StringBuffer& out);

}  // namespace velmora::tool
