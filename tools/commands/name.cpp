#include <algorithm>
#include <charconv>
#include <new>

#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/escape.h"
#include "tools/render/name_json.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kKeywords[] = {"DN_Lowercase", "DN_NoSpaceAfterComma", "OrgID_OID_Hex"};

struct NameForm {
  bool issuer = false;
  bool members = false;
  bool reverse = false;
  bool valuesOnly = false;
  int style = 0;
};

class PrintName final : public CertificateVisitor {
 public:
  PrintName(const NameForm& form, std::string_view keywords, Console& console)
      : m_form(form), m_console(console) {
    m_log.m_optionKeywords.append(keywords);
  }

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    if (m_form.members) return printMembers();
    const bool rendered = render(m_loaded.get());
    whole(m_name);
    if (!rendered) return "The name cannot be read.";
    appendPrintable(m_name.view(), m_console.out());
    m_console.out().appendChar('\n');
    return nullptr;
  }

 private:
  const char* printMembers() {
    StringBuffer members;
    const bool read = m_loaded.get().getDnJson(!m_form.issuer, members, m_log, m_form.style);
    std::string_view text = whole(members).view();
    if (!read) return "The name cannot be read.";
    // The members start with a comma where the last RDN gives no pair.
    if (text.starts_with(',')) text.remove_prefix(1);
    StringBuffer& out = m_console.out();
    out.appendChar('{');
    appendJsonDocument(text, out);
    out.append("}\n");
    return nullptr;
  }

  bool render(VelmoraX509& certificate) {
    const bool withNames = !m_form.valuesOnly;
    return m_form.reverse
               ? certificate.getDN_reverseOrder(!m_form.issuer, withNames, m_form.style, m_name,
                                                m_log)
               : certificate.getDN(!m_form.issuer, withNames, m_name, m_log, m_form.style);
  }

  NameForm m_form;
  Console& m_console;
  LoadedCertificate m_loaded;
  LogNull m_log;
  XString m_name;
};

// What steers a terminal as the escapes that RFC 4514 §2.4 has itself, \HH for each octet of the
// UTF-8: what comes out reads back as the same name.
void appendRfc4514(std::string_view text, StringBuffer& out) {
  static constexpr AsciiSet kPlain = printableWithout("");
  copyEscaped(text, kPlain, out, [&](char32_t, std::string_view octets) {
    for (const char octet : octets) {
      out.appendChar('\\');
      appendHexDigits(static_cast<unsigned char>(octet), 2, "0123456789ABCDEF", out);
    }
  });
}

// The whole name: a list of RDNs in JSON, or the text of RFC 4514.
class PrintWholeName final : public CertificateVisitor {
 public:
  PrintWholeName(bool issuer, bool json, Console& console)
      : m_issuer(issuer), m_json(json), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    const Certificate& certificate = input.certificate;
    const Name name = m_issuer ? certificate.issuer() : certificate.subject();
    const bool isPrinted = m_json ? printJson(name) : printRfc4514(name);
    return isPrinted ? nullptr : "The name is malformed.";
  }

 private:
  bool printJson(const Name& name) {
    const Attributes attributes = attributesOf(name);
    if (!attributes) return false;
    JsonLine line(m_console.out(), JsonLine::Kind::kValue);
    writeRdns("", attributes, line);
    line.end();
    return true;
  }

  bool printRfc4514(const Name& name) {
    const Result<std::string> text = name.rfc4514();
    if (!text) return false;
    appendRfc4514(*text, m_console.out());
    m_console.out().appendChar('\n');
    return true;
  }

  bool m_issuer;
  bool m_json;
  Console& m_console;
};

bool parseStyle(std::string_view text, int& style) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), style);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// Whether every one of the comma-separated words is a keyword.
bool areKeywords(std::string_view words) {
  while (true) {
    const size_t comma = words.find(',');
    const auto word = trimmedAscii(words.substr(0, comma));
    const bool known = std::any_of(std::begin(kKeywords), std::end(kKeywords), [&](auto keyword) {
      return equalsIgnoringAsciiCase(word, keyword);
    });
    if (!known) return false;
    if (comma == words.npos) return true;
    words.remove_prefix(comma + 1);
  }
}

// The options that have no meaning beside another.
bool checkOptions(const Arguments& arguments, std::string& usageError) {
  for (const std::string_view option :
       {"--reverse", "--values-only", "--keywords", "--json", "--rfc4514"}) {
    if (!arguments.atMostOneOf({"--members", option}, usageError)) return false;
  }
  for (const std::string_view form : {"--json", "--rfc4514"}) {
    for (const std::string_view option : {"--reverse", "--values-only", "--keywords", "--style"}) {
      if (!arguments.atMostOneOf({form, option}, usageError)) return false;
    }
  }
  return arguments.atMostOneOf({"--json", "--rfc4514"}, usageError);
}

bool runName(const Arguments& arguments, Console& console, std::string& usageError) {
  if (!checkOptions(arguments, usageError)) return false;
  const bool json = arguments.has("--json");
  if (json || arguments.has("--rfc4514")) {
    PrintWholeName visitor(arguments.has("--issuer"), json, console);
    visitCertificates(arguments.files(), json, visitor, console);
    return true;
  }
  NameForm form;
  form.issuer = arguments.has("--issuer");
  form.members = arguments.has("--members");
  form.reverse = arguments.has("--reverse");
  form.valuesOnly = arguments.has("--values-only");
  if (!parseStyle(arguments.value("--style").value_or("0"), form.style)) {
    usageError = "option \"--style\" needs a whole number";
    return false;
  }
  const auto keywords = arguments.value("--keywords");
  if (keywords && !areKeywords(*keywords)) {
    usageError =
        "option \"--keywords\" takes DN_Lowercase, DN_NoSpaceAfterComma and OrgID_OID_Hex, "
        "separated by commas";
    return false;
  }
  PrintName visitor(form, keywords.value_or(""), console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--issuer", "", "the issuer's name instead of the subject's"},
    {"--json", "",
     "all of the name: a list of RDNs, each a list of {oid, name, value}; a value that is no text "
     "is null and has its DER beside it as hex"},
    {"--members", "",
     "the library's JSON object: the first attribute of each RDN by name, the last RDN first"},
    {"--rfc4514", "",
     "all of the name as RFC 4514 has it, the last RDN first; control characters as its \\HH too"},
    {"--style", "N", "attribute names in style N: 1 to 6 or 22 (default 0, short names)"},
    {"--reverse", "", "the last part of the name first"},
    {"--values-only", "", "the values without attribute names"},
    {"--keywords", "K,K", "DN_Lowercase, DN_NoSpaceAfterComma, OrgID_OID_Hex"},
};

}  // namespace

const Command kNameCommand = {"name", "print the subject's or issuer's name, one line each", "",
                              kOptions, runName};

}  // namespace velmora::tool
