#include "tools/render/extension_meaning.h"

#include <variant>

#include "tools/render/escape.h"
#include "tools/render/general_names.h"

namespace velmora::tool {

namespace {

// What an extension says as items of one line, with commas between them.
class Words {
 public:
  Words(OidStyle style, StringBuffer& out) noexcept : m_style(style), m_out(out) {}

  // Whether there are any.
  bool any() const noexcept { return m_any; }

  void say(const BasicConstraints& constraints) {
    item(constraints.ca ? "a CA" : "not a CA");
    if (!constraints.pathLength) return;
    const bool isMore = *constraints.pathLength == UINT64_MAX;
    item("path length ", std::to_string(*constraints.pathLength), isMore ? " or more" : "");
  }

  void say(const KeyUsage& usage) {
    for (size_t i = 0; i < std::size(kKeyUses); ++i) {
      if ((usage.bits >> i & 1) != 0) item(kKeyUses[i]);
    }
    if (!m_any) item("nothing");
  }

  void say(const ExtendedKeyUsage& usage) {
    for (const Oid& purpose : usage.purposes) oid(DottedOid(purpose));
  }

  void say(const std::vector<GeneralName>& names) {
    for (const GeneralName& each : names) name(each);
  }

  void say(const std::vector<Access>& accesses) {
    for (const Access& access : accesses) {
      oid(DottedOid(access.method));
      alsoName(access.location);
    }
  }

  void say(const std::vector<DistributionPoint>& points) {
    for (const DistributionPoint& point : points) {
      say(point.fullName);
      if (!point.relativeName.empty()) item("a name relative to the issuer's");
      if (point.reasons) item("for some reasons only");
      if (!point.crlIssuer.empty()) item("issued by");
      for (const GeneralName& issuer : point.crlIssuer) alsoName(issuer);
    }
  }

  void say(const std::vector<Policy>& policies) {
    for (const Policy& policy : policies) {
      oid(DottedOid(policy.rawId));
      for (const PolicyQualifier& each : policy.qualifiers) {
        std::visit([this](const auto& qualifier) { alsoText(textOf(qualifier)); }, each);
      }
    }
  }

  void say(const NameConstraints& constraints) {
    for (const GeneralName& base : constraints.permitted) subtree("only", base);
    for (const GeneralName& base : constraints.excluded) subtree("not", base);
  }

  // Of the others their size is shown.
  template <class Other>
  void say(const Other&) {}

 private:
  using Text = std::optional<std::string>;
  static Text textOf(const CpsUri& statement) { return statement.text; }
  static Text textOf(const UserNotice& notice) { return notice.text; }
  static Text textOf(const OtherQualifier& other) {
    Result<std::string> text = other.text();
    return text ? Text(*std::move(text)) : Text();
  }

  template <class... Items>
  void item(const Items&... items) {
    print(m_out, m_any ? ", " : "", items...);
    m_any = true;
  }
  void oid(const DottedOid& id) {
    item(id.text().empty() ? "an OID that is too long" : "");
    appendOidShort(id, m_style, m_out);
  }
  void name(const GeneralName& name) {
    item();
    ShownName(name).append(m_style, appendPrintableItem, m_out);
  }
  void subtree(std::string_view which, const GeneralName& base) {
    item(which);
    alsoName(base);
  }
  // Behind the last item and part of it.
  void alsoName(const GeneralName& name) {
    m_out.appendChar(' ');
    ShownName(name).append(m_style, appendPrintableItem, m_out);
  }
  void alsoText(const Text& text) {
    if (!text) return;
    m_out.appendChar(' ');
    appendPrintableItem(*text, m_out);
  }

  OidStyle m_style;
  StringBuffer& m_out;
  bool m_any = false;
};

}  // namespace

void appendMeaning(const Certificate& certificate, const Extension& extension, OidStyle style,
                   StringBuffer& out) {
  if (!extension.hasValue) return print(out, "without a value");
  const auto content = certificate.content(extension, Strictness::lenient);
  Words words(style, out);
  if (content) std::visit([&](const auto& value) { words.say(value); }, *content);
  if (words.any()) return;
  const size_t size = extension.value.size();
  print(out, content ? "" : "cannot be read, ", size, size == 1 ? " byte" : " bytes");
}

}  // namespace velmora::tool
