#include "support/time/velmora_sys_time.h"
#include "tools/command.h"
#include "tools/escape.h"
#include "tools/input.h"
#include "tools/json_writer.h"

namespace velmora::tool {

namespace {

constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 24 * kHour;

// One of the dates. Reading succeeds also for a text that is no date and then leaves the time
// alone: what two different times both survive was not read.
bool readDate(VelmoraX509& certificate, bool from, VelmoraSysTime& date, LogBase& log) {
  const VelmoraSysTime untouched;
  date = untouched;
  if (!certificate.get_Valid_To_or_From_UTC(from, date, log)) return false;
  if (date.toUnixSeconds() != untouched.toUnixSeconds()) return true;
  VelmoraSysTime other;
  other.fromUnixSeconds(0);
  certificate.get_Valid_To_or_From_UTC(from, other, log);
  return other.toUnixSeconds() != 0;
}

// The version as people count it; a certificate without the field is one of version 1.
void readVersion(VelmoraX509& certificate, XString& version, LogBase& log) {
  if (!certificate.get_Version(version, log)) version.setFromUtf8("1");
}

class ShowJson final : public CertificateVisitor {
 public:
  explicit ShowJson(Console& console) : m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    VelmoraX509& certificate = m_loaded.get();
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    field(line, "subject", certificate.getDN(true, true, m_text, m_log, 0));
    field(line, "issuer", certificate.getDN(false, true, m_text, m_log, 0));
    m_text.weakClear();
    field(line, "serialNumber", certificate.get_SerialNumber(m_text, m_log));
    readVersion(certificate, m_text, m_log);
    line.number("version", m_text.view());
    date(line, "notBefore", true);
    date(line, "notAfter", false);
    line.boolean("validNow", !certificate.isCertExpired(m_log));
    field(line, "signatureAlgorithm", certificate.get_SignatureAlgorithm(m_text, m_log));
    field(line, "publicKeyAlgorithm", certificate.get_PublicKeyAlgorithm(m_text, m_log));
    line.end();
    return nullptr;
  }

 private:
  // m_text, when it was read.
  void field(JsonLine& line, std::string_view key, bool read) {
    read ? line.text(key, m_text.view()) : line.null(key);
  }

  void date(JsonLine& line, std::string_view key, bool from) {
    VelmoraSysTime time;
    m_date.weakClear();
    const bool read = readDate(m_loaded.get(), from, time, m_log) && time.appendIso8601(m_date);
    read ? line.text(key, m_date.view()) : line.null(key);
  }

  Console& m_console;
  LoadedCertificate m_loaded;
  LogNull m_log;
  XString m_text;
  StringBuffer m_date;
};

enum class Colour { kNone, kHeading, kLabel, kGood, kBad };

class ShowText final : public CertificateVisitor {
 public:
  explicit ShowText(Console& console) : m_console(console), m_out(console.out()) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    heading(input);
    VelmoraX509& certificate = m_loaded.get();
    row("Subject", certificate.getDN(true, true, m_text, m_log, 0));
    row("Issuer", certificate.getDN(false, true, m_text, m_log, 0));
    m_text.weakClear();
    row("Serial number", certificate.get_SerialNumber(m_text, m_log));
    readVersion(certificate, m_text, m_log);
    row("Version", true);
    validity();
    row("Signature algorithm", certificate.get_SignatureAlgorithm(m_text, m_log));
    row("Key algorithm", certificate.get_PublicKeyAlgorithm(m_text, m_log));
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
    label(name);
    read ? appendPrintable(m_text.view(), m_out) : unreadable();
    m_out.appendChar('\n');
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
    appendSpan(seconds);
    m_out.append(after);
    colour(Colour::kNone);
  }

  void appendSpan(int64_t seconds) {
    if (seconds < kHour) {
      m_out.append("less than an hour");
      return;
    }
    const bool inDays = seconds >= kDay;
    const int64_t count = seconds / (inDays ? kDay : kHour);
    m_out.appendInt(count);
    m_out.append(inDays ? " day" : " hour");
    if (count != 1) m_out.appendChar('s');
  }

  void colour(Colour colour) {
    if (!m_console.coloured()) return;
    constexpr const char* kSequences[] = {"\x1b[0m", "\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[31m"};
    m_out.append(kSequences[static_cast<size_t>(colour)]);
  }

  Console& m_console;
  StringBuffer& m_out;
  LoadedCertificate m_loaded;
  LogNull m_log;
  XString m_text;
  bool m_first = true;
};

bool runShow(const Arguments& arguments, Console& console, std::string&) {
  const bool json = arguments.has("--json");
  if (json) {
    ShowJson visitor(console);
    visitCertificates(arguments.files(), true, visitor, console);
  } else {
    ShowText visitor(console);
    visitCertificates(arguments.files(), false, visitor, console);
  }
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line: source, index, subject, issuer, serialNumber, version, notBefore, "
     "notAfter, validNow, signatureAlgorithm, publicKeyAlgorithm; or source, index, error"},
};

}  // namespace

const Command kShowCommand = {
    "show", "show the fields of each certificate (the default when the first argument is a file)",
    "The index in JSON counts from 0 within each source, the blocks for people from\n"
    "1; what could not be read counts too. A date that cannot be read is null.\n",
    kOptions, runShow};

}  // namespace velmora::tool
