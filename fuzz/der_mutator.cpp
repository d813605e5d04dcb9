#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

// How libFuzzer changes an input that is DER: one element of it, at any depth and also in extension
// values and keys, after which the lengths around it are right again. Without that nearly every
// change would end in a length that does not work out.

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

using Octets = std::vector<uint8_t>;

struct Element {
  size_t at, contents, end;
};

std::optional<Element> elementAt(const Octets& der, size_t at, size_t end) {
  if (end - at < 2) return std::nullopt;
  size_t contents = at + 2;
  size_t length = der[at + 1];
  if (length >= 0x80) {
    const size_t count = length - 0x80;
    if (count == 0 || count > 4 || end - contents < count) return std::nullopt;
    length = 0;
    for (const size_t behind = contents + count; contents < behind; ++contents) {
      length = length << 8 | der[contents];
    }
  }
  if (length > end - contents) return std::nullopt;
  return Element{at, contents, contents + length};
}

// The elements inside one, also of a string that holds elements; none where others are.
std::vector<Element> membersOf(const Octets& der, const Element& element) {
  constexpr uint8_t kConstructed = 0x20, kBits = 3, kOctets = 4;
  const uint8_t identifier = der[element.at];
  std::vector<Element> members;
  const bool mayHold = (identifier & kConstructed) || identifier == kBits || identifier == kOctets;
  if (!mayHold) return members;
  for (size_t at = element.contents + (identifier == kBits); at < element.end;) {
    const auto member = elementAt(der, at, element.end);
    if (!member) return {};
    members.push_back(*member);
    at = member->end;
  }
  return members;
}

class Change {
 public:
  Change(const Octets& der, unsigned seed) : m_der(der), m_random(seed) {}

  // Empty when the input is no element.
  Octets make(size_t maxSize) {
    const std::vector<Element> path = anyPath();
    if (path.empty()) return {};
    Octets changed = changedElement(path.back(), maxSize);
    for (size_t i = path.size() - 1; i-- > 0;) {
      Octets contents = piece(path[i].contents, path[i + 1].at);
      append(contents, changed);
      append(contents, piece(path[i + 1].end, path[i].end));
      changed = encoded(m_der[path[i].at], contents);
    }
    return changed;
  }

 private:
  size_t below(size_t count) { return m_random() % count; }
  Octets piece(size_t from, size_t to) const {
    return {m_der.begin() + static_cast<ptrdiff_t>(from),
            m_der.begin() + static_cast<ptrdiff_t>(to)};
  }
  static void append(Octets& to, const Octets& octets) {
    to.insert(to.end(), octets.begin(), octets.end());
  }

  static Octets encoded(uint8_t identifier, const Octets& contents) {
    Octets result{identifier};
    size_t count = 1;
    while (contents.size() >> 8 * count != 0) ++count;
    if (contents.size() >= 0x80) result.push_back(static_cast<uint8_t>(0x80 + count));
    while (count-- > 0) result.push_back(static_cast<uint8_t>(contents.size() >> 8 * count));
    append(result, contents);
    return result;
  }

  // From the whole down to some element, mostly one without members.
  std::vector<Element> anyPath() {
    std::vector<Element> path;
    for (auto next = elementAt(m_der, 0, m_der.size()); next;) {
      path.push_back(*next);
      const std::vector<Element> members = membersOf(m_der, *next);
      if (members.empty() || below(8) == 0) break;
      next = members[below(members.size())];
    }
    return path;
  }

  Octets changedElement(const Element& it, size_t maxSize) {
    constexpr std::array<uint8_t, 24> kIdentifiers = {
        0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x0C, 0x13, 0x14, 0x16, 0x17,
        0x18, 0x1C, 0x1E, 0x30, 0x31, 0x80, 0x81, 0x82, 0x86, 0x87, 0xA0, 0xA4};
    const uint8_t identifier = m_der[it.at];
    Octets contents = piece(it.contents, it.end);
    const Octets whole = piece(it.at, it.end);
    switch (below(8)) {
      case 0:
        return {};
      case 1: {
        Octets twice = whole;
        append(twice, whole);
        return twice;
      }
      case 2: {
        const Element other = anyPath().back();
        return piece(other.at, other.end);
      }
      case 3:
        return encoded(kIdentifiers[below(kIdentifiers.size())], contents);
      case 4:
        if (!contents.empty()) contents[below(contents.size())] = static_cast<uint8_t>(m_random());
        return encoded(identifier, contents);
      default: {
        const size_t size = contents.size();
        contents.resize(size + std::min<size_t>(64, maxSize));
        contents.resize(LLVMFuzzerMutate(contents.data(), size, contents.size()));
        return encoded(identifier, contents);
      }
    }
  }

  const Octets& m_der;
  std::minstd_rand m_random;
};

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
  constexpr unsigned kOneInSoMany = 16;
  const Octets der(data, data + size);
  const Octets changed = seed % kOneInSoMany == 0 ? Octets() : Change(der, seed).make(maxSize);
  if (changed.empty() || changed.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::memcpy(data, changed.data(), changed.size());
  return changed.size();
}
