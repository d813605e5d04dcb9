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
#include "velmora/support/hash/vm_hash.h"
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
    line("Self-issued", isSameName(shown.subject, shown.issuer) ? "yes" : "no");
    hexRow("Serial number", certificate.parts().serial);
    version(shown.version);
    validity(shown);
    oidRow("Signature algorithm", certificate.signatureAlgorithm());
    oidRow("Key algorithm", shown.key.algorithm);
    key(shown.key);
    if (shown.subjectKeyId) hexRow("Key identifier", *shown.subjectKeyId);
    if (shown.authorityKeyId) hexRow("Issuer's key", *shown.authorityKeyId);
    emailRows(shown.emails);
    nameRows(shown.alternativeNames);
    digests(input);
    extensions(certificate, shown);
    warning(shown.versionWarning());
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
    colour(Colour::kLabel);
    m_out.append(text);
    colour(Colour::kNone);
    m_out.append(kSpaces.substr(text.size()));
  }

  void name(std::string_view title, const Name& name, const Attributes& attributes) {
    StringBuffer text;
    label(title);
    appendName(name, attributes, text) ? appendPrintable(whole(text).view(), m_out) : unreadable();
    m_out.appendChar('\n');
  }

  // `text` is safe to print.
  void line(std::string_view name, std::string_view text) {
    label(name);
    m_out.append(text);
    m_out.appendChar('\n');
  }

  void hexRow(std::string_view name, Bytes octets) {
    label(name);
    appendHex(octets, m_out);
    m_out.appendChar('\n');
  }

  void oidRow(std::string_view name, const Oid& oid) {
    label(name);
    oid.isEmpty() ? unreadable() : appendOid(DottedOid(oid).text(), m_style, m_out);
    m_out.appendChar('\n');
  }

  void version(const ShownVersion& version) {
    label("Version");
    if (version.number) {
      m_out.appendInt(*version.number);
    } else if (version.longOctets != 0) {
      m_out.append("an INTEGER of ");
      m_out.appendInt(static_cast<int64_t>(version.longOctets));
      m_out.append(" octets");
    } else {
      unreadable();
    }
    m_out.appendChar('\n');
  }

  void warning(std::string_view text) {
    if (text.empty()) return;
    label("Warning");
    colour(Colour::kBad);
    m_out.append(text);
    colour(Colour::kNone);
    m_out.appendChar('\n');
  }

  void key(const PublicKey& key) {
    const DottedOid algorithm(key.algorithm);
    const DottedOid curve(key.curve);
    const std::string_view kind = key.kindName().empty() ? algorithm.text() : key.kindName();
    label("Key");
    kind.empty() ? unreadable() : appendPrintable(kind, m_out);
    if (key.bits != 0) {
      m_out.append(", ");
      m_out.appendInt(key.bits);
      m_out.append(" bits");
    }
    if (!key.curve.isEmpty()) m_out.append(", ");
    m_out.append(curve.nameOrText());
    m_out.appendChar('\n');
  }

  void emailRows(const std::vector<std::string_view>& emails) {
    std::string_view name = "E-mail";
    for (const std::string_view address : emails) {
      label(std::exchange(name, ""));
      appendPrintable(address, m_out);
      m_out.appendChar('\n');
    }
  }

  void nameRows(const std::vector<GeneralName>& names) {
    std::string_view title = "Alternative names";
    for (const GeneralName& each : names) {
      label(std::exchange(title, ""));
      ShownName(each).append(
          m_style, [](auto text, auto& out) { appendPrintable(text, out); }, m_out);
      m_out.appendChar('\n');
    }
  }

  void digests(const InputCertificate& input) {
    const auto pin = input.certificate.spkiPin<Hash::sha256>();
    hexRow("SHA-1", digest(_vmHash::kSha1, input.der));
    hexRow("SHA-256", digest(_vmHash::kSha256, input.der));
    m_octets.clear();
    m_octets.append(pin.data(), pin.size());
    label("SPKI pin (SHA-256)");
    whole(m_octets).encodeDB("base64", m_out);
    m_out.appendChar('\n');
  }

  Bytes digest(int hash, std::span<const unsigned char> octets) {
    m_octets.clear();
    _vmHash::doHash(octets.data(), static_cast<unsigned int>(octets.size()), hash, m_octets);
    return std::as_bytes(whole(m_octets).span());
  }

  void extensions(const Certificate& certificate, const ShownCertificate& shown) {
    std::string_view title = "Extensions";
    // Of several extensions with one OID, the first has a row of its own.
    std::pair<Oid, bool> rows[] = {{oid::subjectAltName, !shown.alternativeNames.empty()},
                                   {oid::subjectKeyIdentifier, shown.subjectKeyId.has_value()},
                                   {oid::authorityKeyIdentifier, shown.authorityKeyId.has_value()}};
    for (const Extension& extension : shown.extensions) {
      const DottedOid id(extension.rawId);
      label(std::exchange(title, ""));
      id.text().empty() ? unreadable() : appendOid(id.text(), m_style, m_out);
      m_out.append(extension.critical ? ", critical: " : ": ");
      auto* const row = std::find_if(std::begin(rows), std::end(rows),
                                     [&](auto& each) { return each.first == extension.id; });
      const bool isAbove = row != std::end(rows) && std::exchange(row->second, false);
      isAbove ? static_cast<void>(m_out.append("above"))
              : appendMeaning(certificate, extension, m_style, m_out);
      m_out.appendChar('\n');
    }
  }

  void unreadable() {
    colour(Colour::kBad);
    m_out.append("cannot be read");
    colour(Colour::kNone);
  }

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

  void colour(Colour colour) {
    if (!m_console.coloured()) return;
    constexpr const char* kSequences[] = {"\x1b[0m", "\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[31m"};
    m_out.append(kSequences[static_cast<size_t>(colour)]);
  }

  OidStyle m_style;
  Console& m_console;
  StringBuffer& m_out;
  DataBuffer m_octets;
  bool m_first = true;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makeShowText(OidStyle style, Console& console) {
  return std::make_unique<ShowText>(style, console);
}

}  // namespace velmora::tool
