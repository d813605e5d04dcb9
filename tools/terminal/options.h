#pragma once

// The command line taken apart, by the options that a command says it has.

#include <charconv>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::tool {

/// What makes no sense on the command line: thrown by whoever reads it, told by main().
struct UsageError {
  explicit UsageError(std::string what) : message(std::move(what)) {}
  std::string message;  // without a capital letter and a full stop
};

/// One option of a command.
struct OptionSpec {
  std::string_view name;   // with its dashes
  std::string_view value;  // what to call its value in the help; empty when it takes none
  std::string_view help;
  bool repeats = false;                          // may be given more than once
  std::span<const std::string_view> words = {};  // its values, where they are few
};

/// The arguments of a command, taken apart.
class Arguments {
 public:
  /// Options may stand before, between and behind files, as "--name value" or "--name=value"; "--"
  /// ends them, and "-" is a file. With an `operand`, which is what to call it, the first of them
  /// is no file but what the command works with. Throws UsageError for an option that is not in
  /// `specs`, a value that is missing or too much, an option given twice, without any file unless
  /// isInputGiven, which is the file then, with one where none is taken, and where standard
  /// input would be read twice.
  Arguments(std::span<char* const> words, std::span<const OptionSpec> specs,
            std::string_view operand, bool takesFiles = true);

  bool has(std::string_view option) const { return value(option).has_value(); }
  /// The value of an option that was given.
  std::optional<std::string_view> value(std::string_view option) const;
  /// All values of one that may be repeated, in their order.
  std::vector<std::string_view> values(std::string_view option) const;
  /// Throws UsageError when more than one of the options was given.
  void wantAtMostOneOf(std::initializer_list<std::string_view> options) const;

  /// Throws UsageError when the first option was given without the other.
  void wantBoth(std::string_view option, std::string_view other) const;

  std::string_view operand() const noexcept { return m_operand; }
  const std::vector<std::string_view>& files() const noexcept { return m_files; }

 private:
  std::vector<std::pair<std::string_view, std::string_view>> m_options;  // with their values
  std::string_view m_operand;
  std::vector<std::string_view> m_files;
};

/// Reads all of a text as a whole number in decimal. False for any other text, with the number set
/// or not.
template <class Number>
bool parseNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

/// Whether something was piped or redirected into standard input. What a device gives, be it a
/// terminal or /dev/null, nobody meant.
bool isInputGiven() noexcept;

/// "; did you mean "show"?", of the candidate that a mistyped word most likely means; empty when
/// none is near.
std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates);

}  // namespace velmora::tool
