#include "velmora/certificate/internal/encoding_check.h"

#include <algorithm>
#include <array>

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/der_walk.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora {
namespace {

using asn1_identifier::kLongTag, asn1_identifier::kSequence;

constexpr unsigned char kFirstOtherClass = 0x40;

// By the identifier of a type below 31.
constexpr std::array<ContentRule, 256> rulesOfTypes() noexcept {
  std::array<ContentRule, 256> rules{};
  rules[asn1_tag::kBoolean] = ContentRule::boolean;
  rules[asn1_tag::kInteger] = rules[asn1_tag::kEnumerated] = ContentRule::integer;
  rules[asn1_tag::kBitString] = ContentRule::bitString;
  rules[asn1_tag::kNull] = ContentRule::null;
  rules[asn1_tag::kOid] = ContentRule::objectId;
  rules[asn1_identifier::kSet] = ContentRule::setOf;
  return rules;
}

constexpr std::array<ContentRule, 256> kRules = rulesOfTypes();

bool isZero(Bytes content) noexcept {
  return content.size() == 1 && content[0] == std::byte{0};
}

// Walks the elements of one value.
class EncodingCheck {
 public:
  EncodingCheck(Bytes value, size_t offset, std::span<const ContentSpot> spots,
                DepartureList& list) noexcept
      : m_value(value), m_offset(offset), m_spots(spots), m_list(list) {}

  void run() {
    if (!runUsual()) runBer();
  }

 private:
  // An element around the place of the walk: whether its members are sorted, and the one before.
  // Nothing is set until it is entered, since most values have few of them.
  struct Set {
    bool isOne;
    size_t lastAt;
    size_t lastSize;  // 0 for none
  };

  // Walks while all is DER, as it nearly always is, and no deeper than is usual. False where
  // something else comes; what was found until then is found again.
  bool runUsual() {
    constexpr size_t kUsualDepth = 16;
    DerWalk walk(m_value);
    Asn1Header header;
    do {
      if (!walk.take(header) || header.tagNumber >= kLongTag) return false;
      const size_t at = walk.at();
      const auto identifier = std::to_integer<unsigned char>(m_value[at]);
      const size_t next = walk.contentAt() + header.contentSize;
      const size_t depth = walk.depth();
      if (depth == 0 && next != walk.endOffset()) return false;
      if (depth != 0) checkOrder(m_sets[depth - 1], at, next - at);
      const ContentRule rule = ruleAt(depth, identifier);
      if (header.constructed) {
        const bool isOther = identifier < kFirstOtherClass && identifier != kSequence &&
                             kRules[identifier] != ContentRule::setOf;
        if (depth == kUsualDepth || isOther) return false;
        m_sets[depth] = {rule == ContentRule::setOf, 0, 0};
      } else if (rule != ContentRule::none) {
        checkContent(rule, m_value.subspan(walk.contentAt(), header.contentSize), at);
      }
    } while (walk.moveOn(header));
    return true;
  }

  // Goes on over what is not DER as far as it is BER.
  void runBer() {
    BerWalk walk(octetsOf(m_value));
    Asn1Header header;
    std::span<const unsigned char> content;
    for (;;) {
      const size_t start = walk.offset();
      switch (walk.next(header, content)) {
        case BerStep::kElement:
          checkElement(walk, header, bytesOf(content));
          break;
        case BerStep::kClose:
          break;
        case BerStep::kFault:
          return checkFault(start);
        case BerStep::kEnd:
          return;
      }
    }
  }

  void add(DepartureCode code, size_t at) { m_list.add(code, m_offset + at); }

  void checkElement(const BerWalk& walk, const Asn1Header& header, Bytes content) {
    const size_t at =
        walk.offset() - (header.constructed ? 0 : header.contentSize) - header.headerSize;
    const size_t depth = walk.depth() - (header.constructed ? 1 : 0);
    checkHeader(header, at);
    if (depth != 0) checkOrder(m_sets[depth - 1], at, header.headerSize + header.contentSize);
    const ContentRule rule = ruleAt(depth, std::to_integer<unsigned char>(m_value[at]));
    if (header.constructed) {
      m_sets[depth] = {rule == ContentRule::setOf && !header.indefinite, 0, 0};
    } else {
      checkContent(rule, content, at);
    }
  }

  // The rule of a spot, else the one of the type.
  ContentRule ruleAt(size_t depth, unsigned char identifier) const noexcept {
    for (const ContentSpot& spot : m_spots) {
      if (spot.depth == depth && spot.identifier == identifier) return spot.rule;
    }
    return kRules[identifier];
  }

  void checkHeader(const Asn1Header& header, size_t at) {
    const bool isTwoOctets = header.headerSize == 2 && !header.indefinite;  // no fewer will do
    if (!isTwoOctets && !hasShortestHeader(header)) add(DepartureCode::lengthNotShortest, at);
    if (!header.constructed || header.tagClass != Asn1Class::kUniversal) return;
    if (isBerString(header.tagNumber)) add(DepartureCode::stringInSegments, at);
  }

  // X.690 §11.6: the encodings ascend.
  void checkOrder(Set& set, size_t at, size_t size) {
    if (!set.isOne) return;
    const Bytes member = m_value.subspan(at, size);
    const Bytes last = m_value.subspan(set.lastAt, set.lastSize);
    if (std::lexicographical_compare(member.begin(), member.end(), last.begin(), last.end())) {
      add(DepartureCode::setNotSorted, at);
    }
    set.lastAt = at;
    set.lastSize = size;
  }

  void checkContent(ContentRule rule, Bytes content, size_t at) {
    switch (rule) {
      case ContentRule::none:
      case ContentRule::setOf:
        return;
      case ContentRule::falseIsDefault:
        if (isZero(content)) add(DepartureCode::defaultEncoded, at);
        [[fallthrough]];
      case ContentRule::boolean:
        if (!isZero(content) && !(content.size() == 1 && content[0] == std::byte{0xFF})) {
          add(DepartureCode::booleanNotDer, at);
        }
        return;
      case ContentRule::zeroIsDefault:
        if (isZero(content)) add(DepartureCode::defaultEncoded, at);
        [[fallthrough]];
      case ContentRule::integer:
        if (content.empty()) return add(DepartureCode::contentMalformed, at);
        if (!isShortestInteger(content)) add(DepartureCode::integerPadded, at);
        return;
      case ContentRule::bitString:
      case ContentRule::namedBits:
        return checkBits(rule, content, at);
      case ContentRule::null:
        if (!content.empty()) add(DepartureCode::contentMalformed, at);
        return;
      case ContentRule::objectId:
        if (!isOid(content)) add(DepartureCode::contentMalformed, at);
        return;
    }
  }

  void checkBits(ContentRule rule, Bytes content, size_t at) {
    if (!isBitString(content)) return add(DepartureCode::contentMalformed, at);
    const auto unused = std::to_integer<unsigned>(content[0]);
    const auto last = std::to_integer<unsigned>(content.back());
    if (content.size() == 1) return;
    if ((last & ((1U << unused) - 1)) != 0) add(DepartureCode::unusedBitsSet, at);
    const bool endsInZero = (last >> unused & 1) == 0;
    if (rule == ContentRule::namedBits && endsInZero) add(DepartureCode::trailingZeroBits, at);
  }

  // Where the walk ended: BER wants a tag number in its shortest form as well.
  void checkFault(size_t at) {
    if (m_value.size() - at < 2) return;
    const auto first = std::to_integer<unsigned>(m_value[at]);
    const auto number = std::to_integer<unsigned>(m_value[at + 1]);
    const bool isPadded = number == 0x80 || number < kLongTag;
    if ((first & kLongTag) == kLongTag && isPadded) add(DepartureCode::identifierNotShortest, at);
  }

  Bytes m_value;
  size_t m_offset;
  std::span<const ContentSpot> m_spots;
  DepartureList& m_list;
  std::array<Set, kMaxAsn1Depth> m_sets;
};

}  // namespace

void checkEncoding(Bytes element, size_t offset, std::span<const ContentSpot> spots,
                   DepartureList& list) {
  EncodingCheck(element, offset, spots, list).run();
}

}  // namespace velmora
