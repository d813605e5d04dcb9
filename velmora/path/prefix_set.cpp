#include "velmora/path/internal/prefix_set.h"

#include <algorithm>
#include <bit>

namespace velmora {
namespace {

uint32_t searchCost(size_t size) noexcept {
  return static_cast<uint32_t>(std::bit_width(size));
}

}  // namespace

// What starts with a key stands directly behind it, before all that does not.
void PrefixSet::seal() {
  std::sort(m_keys.begin(), m_keys.end());
  const auto isWithin = [](const std::string& key, const std::string& other) {
    return other.starts_with(key);
  };
  m_keys.erase(std::unique(m_keys.begin(), m_keys.end(), isWithin), m_keys.end());
}

const std::string* PrefixSet::keyOf(std::string_view text) const noexcept {
  const auto behind = std::upper_bound(m_keys.begin(), m_keys.end(), text);
  if (behind == m_keys.begin()) return nullptr;
  const std::string& key = *std::prev(behind);
  return text.starts_with(key) ? &key : nullptr;
}

uint32_t PrefixSet::cost() const noexcept {
  return searchCost(m_keys.size());
}

void KeySet::seal() {
  std::sort(m_keys.begin(), m_keys.end());
  m_keys.erase(std::unique(m_keys.begin(), m_keys.end()), m_keys.end());
}

bool KeySet::holds(std::string_view text) const noexcept {
  return std::binary_search(m_keys.begin(), m_keys.end(), text);
}

uint32_t KeySet::cost() const noexcept {
  return searchCost(m_keys.size());
}

}  // namespace velmora
