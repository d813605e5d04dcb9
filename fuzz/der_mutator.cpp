#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <random>
#include <span>
#include <vector>

// How libFuzzer changes an input that is DER: one element of it, at any depth and also in extension
// values and keys, after which the lengths around it are right again. Without that nearly every
// change would end in a length that does not work out.

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

using Octets = std::vector<uint8_t>;
using Span = std::span<const uint8_t>;

struct Element {
  Span whole, contents;
};

std::optional<Element> firstOf(Span der) {
  if (der.size() < 2) return std::nullopt;
  const size_t count = der[1] < 0x80 ? 0 : der[1] - size_t{0x80};
  size_t length = count == 0 ? der[1] : 0;
  if (der[1] == 0x80 || count > 4 || der.size() < 2 + count) return std::nullopt;
  for (const uint8_t octet : der.subspan(2, count)) length = length << 8 | octet;
  if (length > der.size() - 2 - count) return std::nullopt;
  return Element{der.first(2 + count + length), der.subspan(2 + count, length)};
}

// The elements inside one, also of a string that holds elements; none where others are.
std::vector<Element> membersOf(const Element& element) {
  constexpr uint8_t kConstructed = 0x20, kBits = 3, kOctets = 4;
  const uint8_t identifier = element.whole[0];
  std::vector<Element> members;
  if (!(identifier & kConstructed) && identifier != kBits && identifier != kOctets) return {};
  Span rest = element.contents;
  if (identifier == kBits && !rest.empty()) rest = rest.subspan(1);
  while (!rest.empty()) {
    const auto member = firstOf(rest);
    if (!member) return {};
    members.push_back(*member);
    rest = rest.subspan(member->whole.size());
  }
  return members;
}

Octets encoded(uint8_t identifier, const Octets& contents) {
  Octets result{identifier};
  size_t count = 1;
  while (contents.size() >> 8 * count != 0) ++count;
  if (contents.size() >= 0x80) result.push_back(static_cast<uint8_t>(0x80 + count));
  while (count-- > 0) result.push_back(static_cast<uint8_t>(contents.size() >> 8 * count));
  result.insert(result.end(), contents.begin(), contents.end());
  return result;
}

struct Change {
  const Element root;
  std::minstd_rand random;
  size_t below(size_t count) { return random() % count; }

  // With some element in it, mostly one without members, as another.
  Octets of(const Element& it) {
    const std::vector<Element> members = membersOf(it);
    if (members.empty() || below(8) == 0) return another(it);
    const Span member = members[below(members.size())].whole;
    const Octets made = of({member, firstOf(member)->contents});
    Octets contents(it.contents.begin(), it.contents.end());
    const auto at = contents.begin() + (member.data() - it.contents.data());
    contents.insert(contents.erase(at, at + static_cast<ptrdiff_t>(member.size())), made.begin(),
                    made.end());
    return encoded(it.whole[0], contents);
  }
  Octets another(const Element& it) {
    constexpr uint8_t kIdentifiers[] = {1,    2,    3,    4,    5,    6,    0x0A, 0x0C,
                                        0x13, 0x14, 0x16, 0x17, 0x18, 0x1C, 0x1E, 0x30,
                                        0x31, 0x80, 0x81, 0x82, 0x86, 0x87, 0xA0, 0xA4};
    Octets contents(it.contents.begin(), it.contents.end()),
        whole(it.whole.begin(), it.whole.end());
    const size_t what = below(8), size = contents.size();
    if (what == 0) return {};
    if (what == 1) {  // twice
      whole.insert(whole.end(), it.whole.begin(), it.whole.end());
      return whole;
    }
    if (what == 2) {  // one from elsewhere
      Element other = root;
      for (auto members = membersOf(other); !members.empty() && below(8) != 0;) {
        other = members[below(members.size())];
        members = membersOf(other);
      }
      return {other.whole.begin(), other.whole.end()};
    }
    if (what == 3) return encoded(kIdentifiers[below(std::size(kIdentifiers))], contents);
    if (what == 4 && size != 0) {
      contents[below(size)] = static_cast<uint8_t>(random());
    } else {
      contents.resize(size + 64);
      contents.resize(LLVMFuzzerMutate(contents.data(), size, contents.size()));
    }
    return encoded(whole[0], contents);
  }
};

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
  constexpr unsigned kOneInSoMany = 16;
  const Octets der(data, data + size);
  const auto root = firstOf(der);
  Octets changed;
  if (root && seed % kOneInSoMany != 0) changed = Change{*root, std::minstd_rand(seed)}.of(*root);
  if (changed.empty() || changed.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::memcpy(data, changed.data(), changed.size());
  return changed.size();
}
