#include "tools/terminal/options.h"

#include <algorithm>

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
  const std::string_view meant = nearestWord(name, names);
  std::string error = "unknown option \"" + std::string(name) + "\"";
  if (!meant.empty()) error += "; did you mean \"" + std::string(meant) + "\"?";
  return error;
}

}  // namespace

std::string_view nearestWord(std::string_view word, std::span<const std::string_view> candidates) {
  constexpr size_t kLongestWord = 32;
  std::string_view nearest;
  size_t least = 3;
  if (word.size() > kLongestWord) return nearest;
  for (const std::string_view candidate : candidates) {
    const size_t distance = editDistance(word, candidate);
    if (distance >= least || distance >= candidate.size() - 1) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

bool Arguments::parse(std::span<char* const> words, std::span<const OptionSpec> specs,
                      std::string& error) {
  bool optionsEnded = false;
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
    if (spec == nullptr) {
      error = unknownOption(name, specs);
    } else if (has(name) && !spec->repeats) {
      error = quoted + " is given twice";
    } else if (spec->value.empty() && equals != word.npos) {
      error = quoted + " takes no value";
    } else if (equals != word.npos) {
      value = word.substr(equals + 1);
    } else if (!spec->value.empty() && ++i == words.size()) {
      error = quoted + " needs a value: " + std::string(spec->value);
    } else if (!spec->value.empty()) {
      value = words[i];
    }
    if (!error.empty()) return false;
    m_options.emplace_back(name, value);
  }
  return true;
}

const Arguments::Given* Arguments::find(std::string_view option) const {
  const auto given = std::find_if(m_options.begin(), m_options.end(),
                                  [&](const Given& each) { return each.first == option; });
  return given == m_options.end() ? nullptr : &*given;
}

std::optional<std::string_view> Arguments::value(std::string_view option) const {
  const Given* given = find(option);
  return given == nullptr ? std::nullopt : std::optional<std::string_view>(given->second);
}

std::vector<std::string_view> Arguments::values(std::string_view option) const {
  std::vector<std::string_view> values;
  for (const Given& given : m_options) {
    if (given.first == option) values.push_back(given.second);
  }
  return values;
}

bool Arguments::atMostOneOf(std::initializer_list<std::string_view> options,
                            std::string& error) const {
  const Given* first = nullptr;
  for (const std::string_view option : options) {
    const Given* given = find(option);
    if (given == nullptr) continue;
    if (first != nullptr) {
      error = "options \"" + std::string(first->first) + "\" and \"" + std::string(option) +
              "\" exclude each other";
      return false;
    }
    first = given;
  }
  return true;
}

void Arguments::takeOperand() {
  m_operand = m_files.front();
  m_files.erase(m_files.begin());
}

}  // namespace velmora::tool
