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

/// One option of a command.
struct OptionSpec {
  std::string_view name;   // with its dashes
  std::string_view value;  // what to call its value in the help; empty when it takes none
  std::string_view help;
  bool repeats = false;  // may be given more than once
};

/// The arguments of a command, taken apart.
class Arguments {
 public:
  /// Options may stand before, between and behind files, as "--name value" or "--name=value"; "--"
  /// ends them, and "-" is a file. False, with `error` set, for an option that is not in `specs`, a
  /// value that is missing or too much, and an option given twice.
  bool parse(std::span<char* const> words, std::span<const OptionSpec> specs, std::string& error);

  bool has(std::string_view option) const { return find(option) != nullptr; }
  /// The value of an option that was given.
  std::optional<std::string_view> value(std::string_view option) const;
  /// All values of one that may be repeated, in their order.
  std::vector<std::string_view> values(std::string_view option) const;
  /// False, with `error` set, when more than one of the options was given.
  bool atMostOneOf(std::initializer_list<std::string_view> options, std::string& error) const;

  /// Takes the first of the files, which is none, as what the command works with; there must be
  /// one.
  void takeOperand();
  std::string_view operand() const noexcept { return m_operand; }
  const std::vector<std::string_view>& files() const noexcept { return m_files; }

 private:
  using Given = std::pair<std::string_view, std::string_view>;
  const Given* find(std::string_view option) const;

  std::vector<Given> m_options;
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

/// The candidate that a mistyped word most likely means; empty when none is near.
std::string_view nearestWord(std::string_view word, std::span<const std::string_view> candidates);

}  // namespace velmora::tool
