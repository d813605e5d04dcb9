#include "velmora/path/internal/name_doubt.h"

#include <algorithm>
#include <tuple>

#include "velmora/support/text/folded_text.h"

namespace velmora {
namespace {

// Controls are among what is doubtful: RFC 4518 §2.2 maps some of them to nothing.
constexpr bool isDoubtful(char c) noexcept {
  return !isAsciiSpace(c) && (c < ' ' || c > '~');
}

std::string foldedOf(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  FoldedText reader(text);
  for (int c = reader.next(); c != FoldedText::kEnd; c = reader.next()) {
    folded += static_cast<char>(c);
  }
  return folded;
}

void appendSized(std::string_view octets, std::string& out) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(octets.size() >> shift);
  out += octets;
}

}  // namespace

DoubtfulText::DoubtfulText(std::string_view text) {
  const auto first = std::find_if(text.begin(), text.end(), isDoubtful);
  m_isCertain = first == text.end();
  const auto before = static_cast<size_t>(first - text.begin());
  if (m_isCertain || before > 1) m_front = foldedOf(text.substr(0, before - !m_isCertain));
  if (m_isCertain) return;
  const auto last = std::find_if(text.rbegin(), text.rend(), isDoubtful);
  const auto behind = static_cast<size_t>(last - text.rbegin());
  if (behind > 1) m_back = foldedOf(text.substr(text.size() - behind + 1));
}

bool DoubtfulText::mayBeCertain(std::string_view text) const noexcept {
  return text.size() >= m_front.size() + m_back.size() && text.starts_with(m_front) &&
         text.ends_with(m_back);
}

bool DoubtfulText::mayBe(const DoubtfulText& other) const noexcept {
  if (m_isCertain && other.m_isCertain) return m_front == other.m_front;
  if (m_isCertain) return other.mayBeCertain(m_front);
  if (other.m_isCertain) return mayBeCertain(other.m_front);
  const std::string_view ours = m_front;
  const std::string_view theirs = other.m_front;
  const std::string_view ourBack = m_back;
  const std::string_view theirBack = other.m_back;
  return (ours.starts_with(theirs) || theirs.starts_with(ours)) &&
         (ourBack.ends_with(theirBack) || theirBack.ends_with(ourBack));
}

DoubtfulName::DoubtfulName(const Name& name) {
  const Result<std::vector<Attribute>> attributes = name.attributes();
  m_isMalformed = !attributes;
  if (m_isMalformed) return;
  m_values.reserve(attributes->size());
  for (const Attribute& attribute : *attributes) {
    const bool isText = attribute.kind != TextKind::none;
    m_values.push_back(
        {attribute.rdn, attribute.rawType, isText ? DoubtfulText(attribute.text) : DoubtfulText()});
  }
  const auto place = [](const Value& value) { return std::tie(value.rdn, value.type); };
  const auto isBefore = [&](const Value& a, const Value& b) { return place(a) < place(b); };
  const auto isSame = [&](const Value& a, const Value& b) { return place(a) == place(b); };
  std::sort(m_values.begin(), m_values.end(), isBefore);
  for (size_t i = 1; i < m_values.size(); ++i) {
    if (isSame(m_values[i - 1], m_values[i])) {
      m_values[i - 1].text = m_values[i].text = DoubtfulText();
    }
  }
  m_values.erase(std::unique(m_values.begin(), m_values.end(), isSame), m_values.end());
  m_isCertain = std::all_of(m_values.begin(), m_values.end(),
                            [](const Value& value) { return value.text.isCertain(); });
  if (m_isCertain) appendKey();
}

// RDN by RDN, each with its size in front, so that no key starts with part of an RDN of another.
void DoubtfulName::appendKey() {
  std::string rdn;
  for (size_t i = 0; i < m_values.size(); ++i) {
    const Value& value = m_values[i];
    const auto* const type = reinterpret_cast<const char*>(value.type.data());
    appendSized({type, value.type.size()}, rdn);
    appendSized(value.text.certain(), rdn);
    if (i + 1 < m_values.size() && m_values[i + 1].rdn == value.rdn) continue;
    appendSized(rdn, m_key);
    rdn.clear();
  }
}

bool DoubtfulName::mayBeWithin(const DoubtfulName& base) const noexcept {
  if (m_isMalformed || base.m_isMalformed) return true;
  const size_t count = base.m_values.size();
  if (m_values.size() < count) return false;
  for (size_t i = 0; i < count; ++i) {
    const Value& ours = m_values[i];
    const Value& theirs = base.m_values[i];
    const bool isSame =
        ours.rdn == theirs.rdn && ours.type == theirs.type && ours.text.mayBe(theirs.text);
    if (!isSame) return false;
  }
  return count == 0 || m_values.size() == count || m_values[count].rdn > m_values[count - 1].rdn;
}

}  // namespace velmora
