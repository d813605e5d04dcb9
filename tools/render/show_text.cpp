#include <algorithm>
#include <utility>

#include "tools/render/dates.h"
#include "tools/render/escape.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/fold.h"
#include "tools/render/general_names.h"
#include "tools/render/show.h"
#include "tools/render/shown_certificate.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

enum class Colour { kNone, kHeading, kLabel, kGood, kBad };

class ShowText {
 public:
  static constexpr size_t kValueColumn = 23;

  ShowText(OidStyle style, Console& console)
      : m_style(style), m_isColoured(console.coloured()), m_out(console.out()) {}

  void show(const InputCertificate& input) {
    const Certificate& certificate = input.certificate;
    const ShownCertificate shown(certificate);
    coloured(Colour::kHeading, "Certificate ", input.index + 1, " of ",
             Safe{sourceForPeople(input.source)});
    m_out.appendChar('\n');
    name("Subject", certificate.subject(), shown.subject);
    name("Issuer", certificate.issuer(), shown.issuer);
    row("Self-issued", isSameName(shown.subject, shown.issuer) ? "yes" : "no");
    row("Serial number", Hex{certificate.parts().serial});
    version(shown.version);
    validity(shown);
    oidRow("Signature algorithm", certificate.signatureAlgorithm());
    oidRow("Key algorithm", shown.key.algorithm);
    key(shown.key);
    if (shown.subjectKeyId) row("Key identifier", Hex{*shown.subjectKeyId});
    if (shown.authorityKeyId) row("Issuer's key", Hex{*shown.authorityKeyId});
    rows("E-mail", shown.emails, [&](auto email) { print(m_out, Safe{email}); });
    rows("Alternative names", shown.alternativeNames,
         [&](auto& name) { ShownName(name).append(m_style, appendPrintable, m_out); });
    row("SHA-1", Hex{Bytes(digestOf<Sha1Digest>(input.der))});
    row("SHA-256", Hex{Bytes(digestOf<Sha256Digest>(input.der))});
    row("SPKI pin (SHA-256)", Base64{Bytes(certificate.spkiPin<Hash::sha256>())});
    extensions(certificate, shown);
    if (const std::string_view warning = shown.versionWarning(); !warning.empty()) {
      label("Warning");
      coloured(Colour::kBad, warning);
      m_out.appendChar('\n');
    }
  }

 private:
  static constexpr size_t kLabelWidth = kValueColumn - 2;

  void label(std::string_view text) {
    constexpr std::string_view kSpaces = "                     ";
    static_assert(kSpaces.size() == kLabelWidth);
    m_out.append("  ");
    coloured(Colour::kLabel, text);
    m_out.append(kSpaces.substr(text.size()));
  }

  // A row of items that are safe to print.
  template <class... Items>
  void row(std::string_view name, const Items&... items) {
    label(name);
    print(m_out, items..., '\n');
  }

  // Rows of what `write(item)` appends, of which the first alone has the name.
  template <class Items, class Write>
  void rows(std::string_view name, const Items& items, Write write) {
    for (const auto& item : items) {
      label(std::exchange(name, ""));
      write(item);
      m_out.appendChar('\n');
    }
  }

  void name(std::string_view title, const Name& name, const Attributes& attributes) {
    StringBuffer text;
    const bool isRead = appendName(name, attributes, text);
    isRead ? row(title, Safe{whole(text).view()}) : unreadableRow(title);
  }

  void oidRow(std::string_view name, const Oid& id) {
    label(name);
    oid(DottedOid(id));
    m_out.appendChar('\n');
  }

  void oid(const DottedOid& id) {
    id.text().empty() ? unreadable() : appendOid(id, m_style, m_out);
  }

  void version(const ShownVersion& version) {
    if (version.number) return row("Version", *version.number);
    if (version.longOctets == 0) return unreadableRow("Version");
    row("Version", "an INTEGER of ", version.longOctets, " octets");
  }

  void key(const PublicKey& key) {
    const DottedOid algorithm(key.algorithm);
    const std::string_view kind = key.kindName().empty() ? algorithm.text() : key.kindName();
    label("Key");
    kind.empty() ? unreadable() : print(m_out, Safe{kind});
    if (key.bits != 0) print(m_out, ", ", key.bits, " bits");
    if (!key.curve.isEmpty()) print(m_out, ", ", DottedOid(key.curve).nameOrText());
    m_out.appendChar('\n');
  }

  void extensions(const Certificate& certificate, const ShownCertificate& shown) {
    // Of several extensions with one OID, the first has a row of its own.
    std::pair<Oid, bool> above[] = {
        {oid::subjectAltName, !shown.alternativeNames.empty()},
        {oid::subjectKeyIdentifier, shown.subjectKeyId.has_value()},
        {oid::authorityKeyIdentifier, shown.authorityKeyId.has_value()}};
    rows("Extensions", shown.extensions, [&](const Extension& extension) {
      oid(DottedOid(extension.rawId));
      m_out.append(extension.critical ? ", critical: " : ": ");
      auto* const row = std::find_if(std::begin(above), std::end(above),
                                     [&](auto& each) { return each.first == extension.id; });
      const bool isAbove = row != std::end(above) && std::exchange(row->second, false);
      isAbove ? print(m_out, "above") : appendMeaning(certificate, extension, m_style, m_out);
    });
  }

  void validity(const ShownCertificate& shown) {
    const Moment now = momentNow();
    const auto& from = shown.notBefore;
    const auto& until = shown.notAfter;
    const bool notYet = from && *from > now;
    date("Valid from", from);
    if (notYet) remark(Colour::kBad, "not yet valid, starts in ", secondsBetween(now, *from), "");
    m_out.appendChar('\n');
    date("Valid until", until);
    if (until && now > *until) {
      remark(Colour::kBad, "expired ", secondsBetween(*until, now), " ago");
    } else if (until && from && !notYet) {
      remark(Colour::kGood, "valid, ", secondsBetween(now, *until), " left");
    }
    m_out.appendChar('\n');
  }

  void date(std::string_view name, const Result<std::chrono::sys_seconds>& time) {
    label(name);
    time ? print(m_out, toIso8601(*time)) : unreadable();
  }

  void remark(Colour tone, std::string_view before, std::chrono::seconds span,
              std::string_view after) {
    StringBuffer words;
    appendSpan(span, words);
    m_out.append("  ");
    coloured(tone, before, words, after);
  }

  void unreadable() { coloured(Colour::kBad, "cannot be read"); }
  void unreadableRow(std::string_view name) {
    label(name);
    unreadable();
    m_out.appendChar('\n');
  }

  template <class... Items>
  void coloured(Colour tone, const Items&... items) {
    print(m_out, sequence(tone), items..., sequence(Colour::kNone));
  }

  std::string_view sequence(Colour colour) const {
    constexpr const char* kSequences[] = {"\x1b[0m", "\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[31m"};
    return m_isColoured ? kSequences[static_cast<size_t>(colour)] : "";
  }

  OidStyle m_style;
  bool m_isColoured;
  StringBuffer& m_out;
};

}  // namespace

void showAsText(const InputCertificate& input, OidStyle style, Console& console) {
  const size_t start = console.out().getSize();
  ShowText(style, console).show(input);
  foldLines(start, console.width(), ShowText::kValueColumn, console.out());
}

}  // namespace velmora::tool
