#pragma once

// Excluded subtrees of directory names, where doubt goes against the name: Name::folded() folds
// what is certain to be the same, and what it tells apart somebody else may still take for one
// name. An issuer must not get round an exclusion by another string type or by an accent.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/certificate/name.h"

namespace velmora {

/// A text as somebody may read it who folds more than ASCII: what is certain of it stands in front
/// and behind, and between them may be anything. That is what lies from its first to its last
/// character that is not printable ASCII or white space, with the character before the first and
/// the one behind the last, on which a combining mark may sit.
class DoubtfulText {
 public:
  /// Any text at all.
  DoubtfulText() = default;
  /// `text` is UTF-8.
  explicit DoubtfulText(std::string_view text);

  bool isCertain() const noexcept { return m_isCertain; }
  /// All of a text that is certain.
  const std::string& certain() const noexcept { return m_front; }
  bool mayBe(const DoubtfulText& other) const noexcept;

 private:
  bool mayBeCertain(std::string_view text) const noexcept;

  std::string m_front;
  std::string m_back;
  bool m_isCertain = false;
};

/// A directory name read in that way, for many comparisons.
class DoubtfulName {
 public:
  DoubtfulName() = default;
  /// Throws std::bad_alloc.
  explicit DoubtfulName(const Name& name);

  /// Whether all of it is certain. Then key() tells everything among such names: one may be within
  /// another exactly if its key starts with the other's.
  bool isCertain() const noexcept { return m_isCertain; }
  const std::string& key() const noexcept { return m_key; }

  /// Whether the name, or its beginning, may be taken for `base`. Values are compared by their
  /// type; one that is no text, or whose octets are none of its type, may be any, and so may be
  /// those of a type that an RDN holds more than once. A malformed name may be within anything, and
  /// anything within it. Linear in the smaller of both.
  bool mayBeWithin(const DoubtfulName& base) const noexcept;

 private:
  struct Value {
    uint32_t rdn = 0;
    Octets type;
    DoubtfulText text;
  };

  void appendKey();

  std::vector<Value> m_values;  // by RDN, then by type; of each type one
  std::string m_key;
  bool m_isCertain = false;
  bool m_isMalformed = false;
};

}  // namespace velmora
