#include "velmora/support/xml/internal/xml_path.h"

#include <charconv>

#include "velmora/support/text/same_text.h"

namespace velmora {
namespace {

// What stands before and behind the first comma; false when there is none.
bool splitAtComma(std::string_view text, std::string_view& before,
                  std::string_view& behind) noexcept {
  const size_t comma = text.find(',');
  if (comma == std::string_view::npos) return false;
  behind = text.substr(comma + 1);
  before = text.substr(0, comma);
  return true;
}

// The number that a text of decimal digits alone stands for; -1 for any other text and for numbers
// beyond int.
int indexOf(std::string_view digits) noexcept {
  int n = -1;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, n);
  return error == std::errc() && stop == end && digits[0] != '-' ? n : -1;
}

}  // namespace

XmlIndex XmlPath::reach(XmlIndex from, std::string_view steps) const noexcept {
  for (size_t start = 0; from != kNoXmlIndex;) {
    const size_t bar = steps.find('|', start);
    from = take(from, steps.substr(start, bar - start));
    if (bar == std::string_view::npos) break;
    start = bar + 1;
  }
  return from;
}

XmlIndex XmlPath::take(XmlIndex from, std::string_view step) const noexcept {
  if (step.empty()) return kNoXmlIndex;
  if (step == "..") return m_document.node(from).parent;
  if (step.starts_with("/C/")) return belowWithContent(from, step.substr(3));
  if (step.starts_with("/A/")) return belowWithAttribute(from, step.substr(3));
  if (step.back() == ']') return indexedChild(from, step, step.find('['));
  return m_document.firstChildNamed(from, XmlNameKey(step));
}

// name[n] and name[j]
XmlIndex XmlPath::indexedChild(XmlIndex from, std::string_view step,
                               size_t bracket) const noexcept {
  if (bracket == std::string_view::npos) return kNoXmlIndex;
  const std::string_view index = step.substr(bracket + 1, step.size() - bracket - 2);
  const int n = index == "j" ? m_j : indexOf(index);
  if (n < 0) return kNoXmlIndex;
  const XmlNameKey key(step.substr(0, bracket));
  return m_cache.childNamed(m_document, from, key, static_cast<uint32_t>(n));
}

// /C/name,text: the text may hold commas itself.
XmlIndex XmlPath::belowWithContent(XmlIndex from, std::string_view arguments) const noexcept {
  std::string_view name;
  std::string_view text;
  if (!splitAtComma(arguments, name, text)) return kNoXmlIndex;
  return m_document.firstBelow(from, XmlNameKey(name), [this, text](XmlIndex at) {
    return sameText(m_document.content(at), text);
  });
}

// /A/name,attribute,value
XmlIndex XmlPath::belowWithAttribute(XmlIndex from, std::string_view arguments) const noexcept {
  std::string_view name;
  std::string_view attribute;
  std::string_view value;
  if (!splitAtComma(arguments, name, attribute) || !splitAtComma(attribute, attribute, value)) {
    return kNoXmlIndex;
  }
  const XmlNameKey attributeKey(attribute);
  return m_document.firstBelow(from, XmlNameKey(name), [this, &attributeKey, value](XmlIndex at) {
    const XmlIndex found = m_document.findAttribute(at, attributeKey);
    return found != kNoXmlIndex &&
           sameText(m_document.text(m_document.attribute(found).value), value);
  });
}

}  // namespace velmora
