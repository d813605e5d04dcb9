#include "tools/terminal/options.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

namespace velmora::tool {

namespace {

// The number of characters to insert, remove or replace that make one word the other.
size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

const OptionSpec* specOf(std::string_view name, std::span<const OptionSpec> specs) {
  const auto spec = std::find_if(specs.begin(), specs.end(), [&](const OptionSpec& candidate) {
    return candidate.name == name;
  });
  return spec == specs.end() ? nullptr : &*spec;
}

std::string unknownOption(std::string_view name, std::span<const OptionSpec> specs) {
  std::vector<std::string_view> names;
  for (const OptionSpec& spec : specs) names.push_back(spec.name);
  return "unknown option \"" + std::string(name) + "\"" + didYouMean(name, names);
}

// Whether what an option or operand takes is a file, of which "-" is one.
bool namesFile(std::string_view what) {
  return what == "FILE" || what == "WHERE" || what == "CERT";
}

}  // namespace

std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
  constexpr size_t kLongestWord = 32;
  if (word.size() > kLongestWord) return {};
  std::string_view nearest;
  size_t least = 3;
  for (const std::string_view candidate : candidates) {
    const size_t distance = editDistance(word, candidate);
    if (distance >= least || distance >= candidate.size() - 1) continue;
    least = distance;
    nearest = candidate;
  }
  if (nearest.empty()) return {};
  return "; did you mean \"" + std::string(nearest) + "\"?";
}

bool isInputGiven() noexcept {
  struct stat status = {};
  if (::fstat(STDIN_FILENO, &status) != 0) return false;
  return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || S_ISREG(status.st_mode);
}

Arguments::Arguments(std::span<char* const> words, std::span<const OptionSpec> specs,
                     std::string_view operand, bool takesFiles) {
  bool optionsEnded = false;
  std::ptrdiff_t inputs = 0;  // how often standard input is to be read
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string_view word = words[i];
    if (optionsEnded || !word.starts_with('-') || word == "-") {
      m_files.push_back(word);
      continue;
    }
    optionsEnded = word == "--";
    if (optionsEnded) continue;
    const size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const OptionSpec* spec = specOf(name, specs);
    const std::string quoted = "option \"" + std::string(name) + "\"";
    std::string_view value;
    if (spec == nullptr) throw UsageError(unknownOption(name, specs));
    if (has(name) && !spec->repeats) throw UsageError(quoted + " is given twice");
    if (equals != word.npos) {
      if (spec->value.empty()) throw UsageError(quoted + " takes no value");
      value = word.substr(equals + 1);
    } else if (!spec->value.empty()) {
      if (++i == words.size()) {
        throw UsageError(quoted + " needs a value: " + std::string(spec->value));
      }
      value = words[i];
    }
    m_options.emplace_back(name, value);
    if (value == "-" && namesFile(spec->value)) ++inputs;
  }
  if (!operand.empty()) {
    if (m_files.empty()) throw UsageError("no " + std::string(operand) + " given");
    m_operand = m_files.front();
    m_files.erase(m_files.begin());
    if (m_operand == "-" && namesFile(operand)) ++inputs;
  }
  if (!takesFiles && !m_files.empty()) {
    throw UsageError("\"" + std::string(m_files.front()) + "\" is too much");
  }
  if (takesFiles && m_files.empty()) {
    if (inputs != 0)
      throw UsageError("no FILE given, and standard input is read in its other place");
    if (!isInputGiven()) throw UsageError("no FILE given, and nothing piped into standard input");
    m_files.push_back("-");
  }
  inputs += std::count(m_files.begin(), m_files.end(), "-");
  if (inputs > 1) throw UsageError("standard input is read once: only one \"-\" can mean it");
}

std::optional<std::string_view> Arguments::value(std::string_view option) const {
  const auto given = std::find_if(m_options.begin(), m_options.end(),
                                  [&](const auto& each) { return each.first == option; });
  if (given == m_options.end()) return std::nullopt;
  return given->second;
}

std::vector<std::string_view> Arguments::values(std::string_view option) const {
  std::vector<std::string_view> values;
  for (const auto& [name, value] : m_options) {
    if (name == option) values.push_back(value);
  }
  return values;
}

void Arguments::wantAtMostOneOf(std::initializer_list<std::string_view> options) const {
  std::string_view first;
  for (const std::string_view option : options) {
    if (!has(option)) continue;
    if (!first.empty()) {
      throw UsageError("options \"" + std::string(first) + "\" and \"" + std::string(option) +
                       "\" exclude each other");
    }
    first = option;
  }
}

void Arguments::wantBoth(std::string_view option, std::string_view other) const {
  if (!has(option) || has(other)) return;
  throw UsageError("option \"" + std::string(option) + "\" needs \"" + std::string(other) + "\"");
}

}  // namespace velmora::tool
