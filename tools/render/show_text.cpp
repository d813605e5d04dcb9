#include <algorithm>
#include <utility>

#include "tools/reading/certificate_facts.h"
#include "tools/reading/dates.h"
#include "tools/reading/general_name.h"
#include "tools/reading/key_description.h"
#include "tools/reading/version.h"
#include "tools/reading/whole.h"
#include "tools/render/escape.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/show.h"

namespace velmora::tool {

namespace {

enum class Colour { kNone, kHeading, kLabel, kGood, kBad };

class ShowText final : public CertificateVisitor {
 public:
  ShowText(OidStyle style, Console& console)
      : m_style(style), m_console(console), m_out(console.out()) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    if (const char* reason = m_tree.load(input.der)) return reason;
    heading(input);
    VelmoraX509& certificate = m_loaded.get();
    row("Subject", certificate.getDN(true, true, m_text, m_log, 0));
    row("Issuer", certificate.getDN(false, true, m_text, m_log, 0));
    line("Self-issued", isSelfIssued(m_tree) ? "yes" : "no");
    m_text.weakClear();
    row("Serial number", certificate.get_SerialNumber(m_text, m_log));
    version();
    validity();
    oidRow("Signature algorithm", certificate.get_SignatureAlgorithm(m_text, m_log));
    oidRow("Key algorithm", certificate.get_PublicKeyAlgorithm(m_text, m_log));
    key();
    keyIdentifier("Key identifier", KeyIdentifier::kSubject);
    keyIdentifier("Issuer's key", KeyIdentifier::kAuthority);
    emailRows();
    nameRows();
    digests(input.der);
    extensions();
    warnings();
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

  // m_text, when it was read.
  void row(std::string_view name, bool read) {
    whole(m_text);
    label(name);
    read ? appendPrintable(m_text.view(), m_out) : unreadable();
    m_out.appendChar('\n');
  }

  // `text` is safe to print.
  void line(std::string_view name, std::string_view text) {
    label(name);
    m_out.append(text);
    m_out.appendChar('\n');
  }

  // The OID in m_text, when it was read.
  void oidRow(std::string_view name, bool read) {
    whole(m_text);
    label(name);
    read ? appendOid(m_text.view(), m_style, m_out) : unreadable();
    m_out.appendChar('\n');
  }

  void version() {
    const Version version = describeVersion(m_tree);
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

  void warnings() {
    for (const auto text : versionWarnings(describeVersion(m_tree), m_tree)) {
      label("Warning");
      colour(Colour::kBad);
      m_out.append(text);
      colour(Colour::kNone);
      m_out.appendChar('\n');
    }
  }

  void key() {
    const KeyDescription key = describeKey(*m_tree.publicKey());
    label("Key");
    key.type.empty() ? unreadable() : appendPrintable(key.type, m_out);
    if (key.bits) {
      m_out.append(", ");
      m_out.appendInt(*key.bits);
      m_out.append(" bits");
    }
    if (!key.curve.empty()) m_out.append(", ");
    appendPrintable(key.curve, m_out);
    m_out.appendChar('\n');
  }

  void keyIdentifier(std::string_view name, KeyIdentifier which) {
    if (!readKeyIdentifier(m_tree, which, m_octets)) return;
    label(name);
    m_octets.encodeDB("hex", m_out);
    m_out.appendChar('\n');
  }

  void emailRows() {
    std::string_view name = "E-mail";
    for (const std::string& address : emailAddresses(m_tree)) {
      label(std::exchange(name, ""));
      appendPrintable(address, m_out);
      m_out.appendChar('\n');
    }
  }

  void nameRows() {
    const XmlHandle names = alternativeNames(m_tree);
    if (!names) return;
    std::string_view title = "Alternative names";
    eachChild(*names, [&] {
      label(std::exchange(title, ""));
      readGeneralName(*names, m_name);
      appendGeneralName(m_name, m_style, m_out);
      m_out.appendChar('\n');
    });
  }

  void digests(std::span<const unsigned char> der) {
    m_text.weakClear();
    m_loaded.get().get_Sha1ThumbprintX(m_text, m_log);
    row("SHA-1", true);
    m_octets.clear();
    sha256(der, m_octets);
    label("SHA-256");
    whole(m_octets).encodeDB("hex", m_out);
    m_out.appendChar('\n');
    readSpkiPin(m_loaded.get(), m_text, m_log);
    row("SPKI pin (SHA-256)", true);
  }

  void extensions() {
    std::string_view title = "Extensions";
    // Of several extensions with one OID, the first has a row of its own.
    std::string_view withRows[] = {kSubjectAltName, kSubjectKeyIdentifier, kAuthorityKeyIdentifier};
    for (const ListedExtension& extension : m_tree.extensions()) {
      label(std::exchange(title, ""));
      extension.oid.empty() ? unreadable() : appendOid(extension.oid, m_style, m_out);
      if (extension.critical) m_out.append(", critical");
      m_out.append(": ");
      auto* const row = std::find(std::begin(withRows), std::end(withRows), extension.oid);
      const bool isFirst = row != std::end(withRows) && !extension.oid.empty();
      if (isFirst) *row = {};
      const bool isAbove = isFirst && hasRow(extension.oid);
      isAbove ? static_cast<void>(m_out.append("above")) : appendMeaning(extension, m_style, m_out);
      m_out.appendChar('\n');
    }
  }

  bool hasRow(std::string_view oid) {
    if (oid == kSubjectAltName) return static_cast<bool>(alternativeNames(m_tree));
    const bool ofSubject = oid == kSubjectKeyIdentifier;
    return readKeyIdentifier(
        m_tree, ofSubject ? KeyIdentifier::kSubject : KeyIdentifier::kAuthority, m_octets);
  }

  void unreadable() {
    colour(Colour::kBad);
    m_out.append("cannot be read");
    colour(Colour::kNone);
  }

  void validity() {
    VelmoraSysTime now;
    VelmoraSysTime from;
    VelmoraSysTime until;
    now.getCurrentGmt();
    const bool fromRead = readDate(m_loaded.get(), true, from, m_log);
    const bool untilRead = readDate(m_loaded.get(), false, until, m_log);
    const bool notYet = fromRead && from.is_after_by_compare(now, false);
    const bool expired = untilRead && now.is_after_by_compare(until, false);
    date("Valid from", fromRead, from);
    if (notYet) remark(Colour::kBad, "not yet valid, starts in ", distance(now, from), "");
    m_out.appendChar('\n');
    date("Valid until", untilRead, until);
    if (expired) {
      remark(Colour::kBad, "expired ", distance(until, now), " ago");
    } else if (untilRead && fromRead && !notYet) {
      remark(Colour::kGood, "valid, ", distance(now, until), " left");
    }
    m_out.appendChar('\n');
  }

  void date(std::string_view name, bool read, const VelmoraSysTime& time) {
    label(name);
    read ? static_cast<void>(time.appendIso8601(m_out)) : unreadable();
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
  LoadedCertificate m_loaded;
  CertificateTree m_tree;
  LogNull m_log;
  XString m_text;
  DataBuffer m_octets;
  GeneralName m_name;
  bool m_first = true;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makeShowText(OidStyle style, Console& console) {
  return std::make_unique<ShowText>(style, console);
}

}  // namespace velmora::tool
