#include "tools/render/difference.h"

#include <functional>
#include <map>
#include <utility>

#include "tools/render/dates.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/name_text.h"
#include "tools/render/shown_certificate.h"

namespace velmora::tool {

namespace {

// Appends what one of the two has there, safe to print.
using Say = std::function<void(const Certificate& certificate, StringBuffer& out)>;

class Difference {
 public:
  Difference(const Certificate& before, const Certificate& after) noexcept
      : m_before(before), m_after(after) {}

  std::vector<FieldDifference> tell() {
    if (m_before == m_after) return {};
    const Parts before = m_before.parts();
    const Parts after = m_after.parts();
    tell("Version", before.version, after.version, sayVersion);
    tell("Serial number", before.serial, after.serial,
         [](auto& certificate, auto& out) { print(out, Hex{certificate.parts().serial}); });
    tell("Subject", before.subject, after.subject,
         [](auto& certificate, auto& out) { sayName(certificate.subject(), out); });
    tell("Issuer", before.issuer, after.issuer,
         [](auto& certificate, auto& out) { sayName(certificate.issuer(), out); });
    tell("Validity", before.validity, after.validity, sayValidity);
    tell("Public key", before.spki, after.spki, sayKey);
    tellExtensions();
    tell("Signature algorithm in what is signed", before.innerAlgorithm, after.innerAlgorithm,
         sayAlgorithm);
    tell("Signature algorithm", before.outerAlgorithm, after.outerAlgorithm, sayAlgorithm);
    tell("Signature", before.signature, after.signature, [](auto& certificate, auto& out) {
      print(out, certificate.parts().signature.size(), " octets");
    });
    if (m_told.empty()) {
      m_told.emplace_back().field.append("Other octets, in none of the fields that are compared");
    }
    return std::move(m_told);
  }

 private:
  using ByOid = std::map<std::string_view, std::vector<const Extension*>>;

  void tell(std::string_view field, Bytes before, Bytes after, const Say& say) {
    if (isSame(before, after)) return;
    FieldDifference& told = m_told.emplace_back();
    told.field.append(field);
    say(m_before, told.before);
    say(m_after, told.after);
    noteSameWords(told);
  }

  static void noteSameWords(FieldDifference& told) {
    if (told.before.equals(told.after)) told.after.append(", in other octets");
  }

  static void sayVersion(const Certificate& certificate, StringBuffer& out) {
    const Result<int> version = certificate.version();
    version ? print(out, *version) : print(out, "none that can be read");
  }

  static void sayName(const Name& name, StringBuffer& out) {
    StringBuffer text;
    if (!appendName(name, text)) text.append("a name that cannot be read");
    print(out, Safe{text.view()});
  }

  static void sayValidity(const Certificate& certificate, StringBuffer& out) {
    const auto say = [&](const Result<std::chrono::sys_seconds>& date) {
      date ? print(out, toIso8601(*date)) : print(out, "what cannot be read");
    };
    say(certificate.notBefore());
    out.append(" to ");
    say(certificate.notAfter());
  }

  static void sayKey(const Certificate& certificate, StringBuffer& out) {
    const PublicKey key = certificate.describedKey();
    const DottedOid algorithm(key.algorithm);
    print(out, Safe{key.kindName().empty() ? algorithm.text() : key.kindName()});
    if (key.bits != 0) print(out, ", ", key.bits, " bits");
    print(out, ", pin ", Base64{Bytes(certificate.spkiPin<Hash::sha256>())});
  }

  static void sayAlgorithm(const Certificate& certificate, StringBuffer& out) {
    appendOid(DottedOid(certificate.signatureAlgorithm()), OidStyle::kNamed, out);
  }

  // Those of one OID are compared in their order.
  void tellExtensions() {
    const std::vector<Extension> before = m_before.listedExtensions();
    const std::vector<Extension> after = m_after.listedExtensions();
    const ByOid inBefore = byOid(before);
    const ByOid inAfter = byOid(after);
    for (const auto& [id, all] : inBefore) {
      const auto found = inAfter.find(id);
      const size_t others = found == inAfter.end() ? 0 : found->second.size();
      for (size_t i = 0; i < std::max(all.size(), others); ++i) {
        tellExtension(i < all.size() ? all[i] : nullptr, i < others ? found->second[i] : nullptr);
      }
    }
    for (const auto& [id, all] : inAfter) {
      if (inBefore.contains(id)) continue;
      for (const Extension* each : all) tellExtension(nullptr, each);
    }
  }

  static ByOid byOid(const std::vector<Extension>& extensions) {
    ByOid ids;
    for (const Extension& each : extensions) ids[charactersOf(each.rawId)].push_back(&each);
    return ids;
  }

  void tellExtension(const Extension* before, const Extension* after) {
    const bool areBoth = before != nullptr && after != nullptr;
    if (areBoth && before->critical == after->critical && before->hasValue == after->hasValue &&
        isSame(before->value, after->value)) {
      return;
    }
    FieldDifference& told = m_told.emplace_back();
    print(told.field, "Extension ");
    appendOid(DottedOid((before != nullptr ? before : after)->rawId), OidStyle::kNamed, told.field);
    sayExtension(m_before, before, told.before);
    sayExtension(m_after, after, told.after);
    if (areBoth && told.before.equals(told.after)) {
      print(told.before, ", ", Hex{before->value});
      print(told.after, ", ", Hex{after->value});
    }
    noteSameWords(told);
  }

  static void sayExtension(const Certificate& certificate, const Extension* extension,
                           StringBuffer& out) {
    if (extension == nullptr) return print(out, "absent");
    if (extension->critical) out.append("critical: ");
    appendMeaning(certificate, *extension, OidStyle::kNamed, out);
  }

  const Certificate& m_before;
  const Certificate& m_after;
  std::vector<FieldDifference> m_told;
};

}  // namespace

std::vector<FieldDifference> differencesOf(const Certificate& before, const Certificate& after) {
  return Difference(before, after).tell();
}

}  // namespace velmora::tool
