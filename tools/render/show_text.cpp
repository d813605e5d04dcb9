#include <algorithm>
#include <tuple>
#include <utility>

#include "tools/reading/dates.h"
#include "tools/render/escape.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/general_names.h"
#include "tools/render/octets.h"
#include "tools/render/show.h"
#include "tools/render/shown_certificate.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

enum class Colour { kNone, kHeading, kLabel, kGood, kBad };

class ShowText final : public CertificateVisitor {
 public:
  ShowText(OidStyle style, Console& console)
      : m_style(style), m_console(console), m_out(console.out()) {}

  const char* visit(const InputCertificate& input) override {
    const Certificate& certificate = input.certificate;
    const ShownCertificate shown(certificate);
    heading(input);
    name("Subject", certificate.subject(), shown.subject);
    name("Issuer", certificate.issuer(), shown.issuer);
    textRow("Self-issued", isSameName(shown.subject, shown.issuer) ? "yes" : "no");
    hexRow("Serial number", certificate.parts().serial);
    row("Version", [&] { version(shown.version); });
    validity(shown);
    oidRow("Signature algorithm", certificate.signatureAlgorithm());
    oidRow("Key algorithm", shown.key.algorithm);
    row("Key", [&] { key(shown.key); });
    if (shown.subjectKeyId) hexRow("Key identifier", *shown.subjectKeyId);
    if (shown.authorityKeyId) hexRow("Issuer's key", *shown.authorityKeyId);
    rows("E-mail", shown.emails, [&](auto email) { appendPrintable(email, m_out); });
    rows("Alternative names", shown.alternativeNames, [&](auto& name) { address(name); });
    hexRow("SHA-1", Bytes(digestOf<Sha1Digest>(input.der)));
    hexRow("SHA-256", Bytes(digestOf<Sha256Digest>(input.der)));
    row("SPKI pin (SHA-256)",
        [&] { appendBase64(Bytes(certificate.spkiPin<Hash::sha256>()), m_out); });
    extensions(certificate, shown);
    const std::string_view warning = shown.versionWarning();
    if (!warning.empty()) row("Warning", [&] { coloured(Colour::kBad, warning); });
    return nullptr;
  }

 private:
  static constexpr size_t kLabelWidth = 21;

  void heading(const InputCertificate& input) {
    if (!m_first) m_out.appendChar('\n');
    m_first = false;
    colour(Colour::kHeading);
    m_out.append("Certificate ");
    m_out.appendInt(static_cast<int64_t>(input.index) + 1);
    m_out.append(" of ");
    appendPrintable(sourceForPeople(input.source), m_out);
    colour(Colour::kNone);
    m_out.appendChar('\n');
  }

  void label(std::string_view text) {
    constexpr std::string_view kSpaces = "                     ";
    static_assert(kSpaces.size() == kLabelWidth);
    m_out.append("  ");
    coloured(Colour::kLabel, text);
    m_out.append(kSpaces.substr(text.size()));
  }

  // A row of what `write()` appends.
  template <class Write>
  void row(std::string_view name, Write write) {
    label(name);
    write();
    m_out.appendChar('\n');
  }

  // Rows of which the first alone has the name.
  template <class Items, class Write>
  void rows(std::string_view name, const Items& items, Write write) {
    for (const auto& item : items) row(std::exchange(name, ""), [&] { write(item); });
  }

  void name(std::string_view title, const Name& name, const Attributes& attributes) {
    StringBuffer text;
    const bool isRead = appendName(name, attributes, text);
    row(title, [&] { isRead ? appendPrintable(whole(text).view(), m_out) : unreadable(); });
  }

  // `text` is safe to print.
  void textRow(std::string_view name, std::string_view text) {
    row(name, [&] { m_out.append(text); });
  }

  void hexRow(std::string_view name, Bytes octets) {
    row(name, [&] { appendHex(octets, m_out); });
  }

  void oidRow(std::string_view name, const Oid& oid) {
    row(name, [&] { this->oid(DottedOid(oid)); });
  }

  void oid(const DottedOid& id) {
    id.text().empty() ? unreadable() : appendOid(id.text(), m_style, m_out);
  }

  void version(const ShownVersion& version) {
    if (version.number) {
      m_out.appendInt(*version.number);
    } else if (version.longOctets != 0) {
      m_out.append("an INTEGER of ");
      m_out.appendInt(static_cast<int64_t>(version.longOctets));
      m_out.append(" octets");
    } else {
      unreadable();
    }
  }

  void key(const PublicKey& key) {
    const DottedOid algorithm(key.algorithm);
    const DottedOid curve(key.curve);
    const std::string_view kind = key.kindName().empty() ? algorithm.text() : key.kindName();
    kind.empty() ? unreadable() : appendPrintable(kind, m_out);
    if (key.bits != 0) {
      m_out.append(", ");
      m_out.appendInt(key.bits);
      m_out.append(" bits");
    }
    if (!key.curve.isEmpty()) m_out.append(", ");
    m_out.append(curve.nameOrText());
  }

  void address(const GeneralName& name) {
    const auto appendText = [](auto text, auto& out) { appendPrintable(text, out); };
    ShownName(name).append(m_style, appendText, m_out);
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
      isAbove ? static_cast<void>(m_out.append("above"))
              : appendMeaning(certificate, extension, m_style, m_out);
    });
  }

  void unreadable() { coloured(Colour::kBad, "cannot be read"); }

  void validity(const ShownCertificate& shown) {
    VelmoraSysTime now;
    now.getCurrentGmt();
    const auto& [from, until] = std::tie(shown.notBefore, shown.notAfter);
    const bool notYet = from && from->is_after_by_compare(now, false);
    const bool expired = until && now.is_after_by_compare(*until, false);
    date("Valid from", from);
    if (notYet) remark(Colour::kBad, "not yet valid, starts in ", distance(now, *from), "");
    m_out.appendChar('\n');
    date("Valid until", until);
    if (expired) {
      remark(Colour::kBad, "expired ", distance(*until, now), " ago");
    } else if (until && from && !notYet) {
      remark(Colour::kGood, "valid, ", distance(now, *until), " left");
    }
    m_out.appendChar('\n');
  }

  void date(std::string_view name, const std::optional<VelmoraSysTime>& time) {
    label(name);
    time ? static_cast<void>(time->appendIso8601(m_out)) : unreadable();
  }

  static int64_t distance(const VelmoraSysTime& earlier, const VelmoraSysTime& later) {
    return later.toUnixSeconds() - earlier.toUnixSeconds();
  }

  void remark(Colour tone, std::string_view before, int64_t seconds, std::string_view after) {
    m_out.append("  ");
    colour(tone);
    m_out.append(before);
    appendSpan(seconds, m_out);
    m_out.append(after);
    colour(Colour::kNone);
  }

  void coloured(Colour tone, std::string_view text) {
    colour(tone);
    m_out.append(text);
    colour(Colour::kNone);
  }

  void colour(Colour colour) {
    if (!m_console.coloured()) return;
    constexpr const char* kSequences[] = {"\x1b[0m", "\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[31m"};
    m_out.append(kSequences[static_cast<size_t>(colour)]);
  }

  OidStyle m_style;
  Console& m_console;
  StringBuffer& m_out;
  bool m_first = true;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makeShowText(OidStyle style, Console& console) {
  return std::make_unique<ShowText>(style, console);
}

}  // namespace velmora::tool
