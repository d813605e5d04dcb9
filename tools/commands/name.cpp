#include <algorithm>

#include "tools/commands/command.h"
#include "tools/render/escape.h"
#include "tools/render/name_text.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kKeywords[] = {"DN_Lowercase", "DN_NoSpaceAfterComma", "OrgID_OID_Hex"};
constexpr const char* kUnreadable = "The name cannot be read.";

// As VelmoraX509 has names: in a style, with option keywords.
void printStyled(const Arguments& arguments, int style, Console& console) {
  const bool forSubject = !arguments.has("--issuer");
  const bool withNames = !arguments.has("--values-only");
  const bool isReversed = arguments.has("--reverse");
  LogNull log;
  log.m_optionKeywords.append(arguments.value("--keywords").value_or(""));
  whole(log.m_optionKeywords);
  XString name;
  visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto&) {
    const bool read = isReversed
                          ? certificate.getDN_reverseOrder(forSubject, withNames, style, name, log)
                          : certificate.getDN(forSubject, withNames, name, log, style);
    whole(name);
    if (!read) throw Untreated(kUnreadable);
    print(console.out(), Safe{name.view()}, '\n');
  });
}

void printMembers(const Arguments& arguments, int style, Console& console) {
  const bool forSubject = !arguments.has("--issuer");
  LogNull log;
  visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto&) {
    StringBuffer members;
    const bool read = certificate.getDnJson(forSubject, members, log, style);
    std::string_view text = whole(members).view();
    if (!read) throw Untreated(kUnreadable);
    // The members start with a comma where the last RDN gives no pair.
    if (text.starts_with(',')) text.remove_prefix(1);
    console.out().appendChar('{');
    appendJsonDocument(text, console.out());
    print(console.out(), "}\n");
  });
}

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
void printWhole(const Arguments& arguments, Console& console) {
  StringBuffer& out = console.out();
  visitFiles(arguments, console, [&](const InputCertificate& input) {
    const Certificate& certificate = input.certificate;
    const Name name = arguments.has("--issuer") ? certificate.issuer() : certificate.subject();
    if (arguments.has("--json")) {
      const Attributes attributes = attributesOf(name);
      if (!attributes) throw Untreated(attributes.error());
      JsonLine line(out, JsonLine::Kind::kValue);
      writeRdns("", attributes, line);
      return line.end();
    }
    const Result<std::string> text = name.rfc4514();
    if (!text) throw Untreated(text.error());
    appendRfc4514(*text, out);
    out.appendChar('\n');
  });
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
void checkOptions(const Arguments& arguments) {
  for (const std::string_view option :
       {"--reverse", "--values-only", "--keywords", "--json", "--rfc4514"}) {
    arguments.wantAtMostOneOf({"--members", option});
  }
  for (const std::string_view form : {"--json", "--rfc4514"}) {
    for (const std::string_view option : {"--reverse", "--values-only", "--keywords", "--style"}) {
      arguments.wantAtMostOneOf({form, option});
    }
  }
  arguments.wantAtMostOneOf({"--json", "--rfc4514"});
}

void runName(const Arguments& arguments, Console& console) {
  checkOptions(arguments);
  if (arguments.has("--json") || arguments.has("--rfc4514")) return printWhole(arguments, console);
  int style = 0;
  const bool isNumber = parseNumber(arguments.value("--style").value_or("0"), style);
  if (!isNumber || !((style >= 0 && style <= 6) || style == 22)) {
    throw UsageError("option \"--style\" takes 0 to 6 or 22");
  }
  const auto keywords = arguments.value("--keywords");
  if (keywords && !areKeywords(*keywords)) {
    throw UsageError(
        "option \"--keywords\" takes DN_Lowercase, DN_NoSpaceAfterComma and OrgID_OID_Hex, "
        "separated by commas");
  }
  arguments.has("--members") ? printMembers(arguments, style, console)
                             : printStyled(arguments, style, console);
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
