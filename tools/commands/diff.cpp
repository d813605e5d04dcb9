#include <functional>
#include <map>
#include <optional>

#include "tools/commands/command.h"
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
  Difference(const Certificate& before, const Certificate& after, StringBuffer& out)
      : m_before(before), m_after(after), m_out(out) {}

  // False when both are the same octets.
  bool tell() {
    if (m_before == m_after) return false;
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
    if (!m_hasTold) m_out.append("Other octets, in none of the fields that are compared\n");
    return true;
  }

 private:
  using ByOid = std::map<std::string_view, std::vector<const Extension*>>;

  void tell(std::string_view field, Bytes before, Bytes after, const Say& say) {
    if (isSame(before, after)) return;
    print(m_out, field, '\n');
    StringBuffer was;
    StringBuffer is;
    say(m_before, was);
    say(m_after, is);
    tellBoth(was, is);
  }

  void tellBoth(const StringBuffer& was, const StringBuffer& is) {
    m_hasTold = true;
    print(m_out, "  - ", was, "\n  + ", is, was.equals(is) ? ", in other octets\n" : "\n");
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
    print(m_out, "Extension ");
    appendOid(DottedOid((before != nullptr ? before : after)->rawId), OidStyle::kNamed, m_out);
    m_out.appendChar('\n');
    StringBuffer was;
    StringBuffer is;
    sayExtension(m_before, before, was);
    sayExtension(m_after, after, is);
    if (areBoth && was.equals(is)) {
      print(was, ", ", Hex{before->value});
      print(is, ", ", Hex{after->value});
    }
    tellBoth(was, is);
  }

  static void sayExtension(const Certificate& certificate, const Extension* extension,
                           StringBuffer& out) {
    if (extension == nullptr) return print(out, "absent");
    if (extension->critical) out.append("critical: ");
    appendMeaning(certificate, *extension, OidStyle::kNamed, out);
  }

  const Certificate& m_before;
  const Certificate& m_after;
  StringBuffer& m_out;
  bool m_hasTold = false;
};

std::optional<Certificate> firstOf(const std::vector<std::string_view>& sources, Console& console) {
  std::optional<Certificate> first;
  visitCertificates(sources, console, [&](const InputCertificate& input) {
    if (!first) first = input.certificate;
  });
  return first;
}

void runDiff(const Arguments& arguments, Console& console) {
  const auto before = firstOf({arguments.operand()}, console);
  const auto after = firstOf(arguments.files(), console);
  if (!before || !after) return console.raise(ExitStatus::kUnreadable);
  if (Difference(*before, *after, console.out()).tell()) console.raise(ExitStatus::kNo);
}

}  // namespace

const Command kDiffCommand = {
    "diff",
    "tell in which fields two certificates differ",
    "Compared are the first certificate of CERT and the first one of the FILEs, octet\n"
    "by octet. The line behind - has what CERT says in a field, the one behind + what\n"
    "FILE does. Nothing is printed for two that are the same; the exit status is 1\n"
    "for two that are not.\n",
    {},
    runDiff,
    "CERT"};

}  // namespace velmora::tool
