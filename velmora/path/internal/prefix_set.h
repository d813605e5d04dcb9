#pragma once

// Sets that answer in logarithmic time, so that a certificate with many names under many
// constraints does not cost the product of both.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// Keys to which what starts with one of them belongs, such as subtrees. They are sorted and none
/// starts with another, so that one binary search finds the only one a text can start with.
class PrefixSet {
 public:
  /// Before the first question come all insertions, and seal() behind them.
  void insert(std::string key) { m_keys.push_back(std::move(key)); }
  void seal();

  bool holds(std::string_view text) const noexcept { return keyOf(text) != nullptr; }
  /// The same, but the key itself does not belong to its subtree.
  bool holdsBelow(std::string_view text) const noexcept {
    const std::string* const key = keyOf(text);
    return key != nullptr && key->size() < text.size();
  }

  const std::vector<std::string>& keys() const noexcept { return m_keys; }
  /// How many comparisons a question takes.
  uint32_t cost() const noexcept;

 private:
  const std::string* keyOf(std::string_view text) const noexcept;

  std::vector<std::string> m_keys;
};

/// Keys that are the whole text.
class KeySet {
 public:
  void insert(std::string key) { m_keys.push_back(std::move(key)); }
  void seal();

  bool holds(std::string_view text) const noexcept;
  uint32_t cost() const noexcept;

 private:
  std::vector<std::string> m_keys;
};

}  // namespace velmora
