#include <algorithm>

#include "tools/bulk/lines.h"
#include "tools/commands/command.h"
#include "tools/render/roff.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// The examples of the manual: scripts/check-documents runs them in examples/chain and compares.
struct Example {
  std::string_view purpose;
  std::string_view session;
};

constexpr Example kExamples[] = {
    {"Whom the certificates of a bundle are for:",
     R"~($ velmora-x509 name --rfc4514 chain.pem
CN=www.example.org,O=Example Books\, Ltd.,L=Zürich,ST=Zürich,C=CH
CN=Example Server CA 3,O=Example Trust Services,C=CH
CN=Example Root CA 1,O=Example Trust Services,C=CH
)~"},
    {"Whether a server may be trusted, with a root of one's own:",
     R"~($ velmora-x509 verify --purpose server --host www.example.org \
    --roots root.pem --chain intermediate.pem leaf.pem | head -n 1
leaf.pem: certificate 1: verified for server www.example.org
)~"},
    {"The pin of a server's key, and whether a bundle has it:",
     R"~($ velmora-x509 pin leaf.pem
sha256,base64,j9yJjlHYVkzYK0cLBZsoNiwE29LMzwzxAYAD1BGn4nI=
$ velmora-x509 match "$(velmora-x509 pin leaf.pem)" chain.pem
yes  chain.pem: certificate 1
no   chain.pem: certificate 2
no   chain.pem: certificate 3
)~"},
    {"What expires within four weeks, as a condition:",
     R"~($ velmora-x509 expires --within 28 chain.pem && echo nothing
nothing
)~"},
    {"One member of the JSON of each certificate:",
     R"~($ velmora-x509 show --json chain.pem | jq -r .subjectAltNames[].value
www.example.org
example.org
192.0.2.17
)~"},
    {"A bundle as one file for each certificate:",
     R"~($ velmora-x509 split --out parts chain.pem
parts/chain-001.pem  C=CH, ST=Zürich, …
parts/chain-002.pem  C=CH, O=Example Trust Services, …
parts/chain-003.pem  C=CH, O=Example Trust Services, …
)~"},
};

constexpr std::string_view kExitStatus = "Exit status: ";

void writeCommand(const Command& command, Roff& page) {
  page.subsection(command.name);
  StringBuffer usage;
  appendUsage(command, usage);
  page.term("velmora-x509", whole(usage).view());
  page.text(command.summary);
  page.paragraphs(command.details);
  for (const OptionSpec& option : command.options) {
    page.term(option.name, option.value);
    page.text(option.help);
  }
  if (hasOption(command, kLinesOption.name)) page.paragraphs(kAboutLines);
}

// The last paragraph, on the exit status, has a section of its own, with a row for each "N
// meaning".
void writeInput(std::string_view about, Roff& page) {
  const size_t status = std::min(about.find(kExitStatus), about.size());
  page.section("INPUT AND OUTPUT");
  page.paragraphs(about.substr(0, status));
  page.section("EXIT STATUS");
  about.remove_prefix(std::min(about.size(), status + kExitStatus.size()));
  while (!about.empty()) {
    const std::string_view row = about.substr(0, about.find("; "));
    about.remove_prefix(std::min(about.size(), row.size() + 2));
    const size_t number = std::min(row.find(' '), row.size());
    page.term(row.substr(0, number), "");
    page.text(row.substr(std::min(number + 1, row.size())));
  }
}

void runManual(const Arguments&, Console& console) {
  Roff page(console.out());
  page.title("VELMORA-X509", "velmora-x509 " VELMORA_VERSION, "User Commands");
  page.section("NAME");
  page.text("velmora-x509 - show, question and verify X.509 certificates");
  page.section("SYNOPSIS");
  page.call("velmora-x509", "[COMMAND] [OPTION]... [FILE]...");
  page.section("COMMANDS");
  page.text("Without a command the files are shown.");
  for (const Command* command : kProgram.commands) writeCommand(*command, page);
  page.section("OPTIONS");
  for (const OptionSpec& option : kProgram.options) {
    page.term(option.name, option.value);
    page.text(option.help);
  }
  writeInput(kProgram.aboutInput, page);
  page.section("ENVIRONMENT");
  page.term("NO_COLOR", "");
  page.text("When it is set and not empty, nothing is coloured on a terminal.");
  page.term("SSL_CERT_FILE", "");
  page.text(
      "The file of trusted roots that \"verify --roots system\" means, in place of the system's "
      "own.");
  page.section("EXAMPLES");
  for (const Example& example : kExamples) {
    page.paragraphs(example.purpose);
    page.session(example.session);
  }
}

}  // namespace

const Command kManualCommand = {
    "manual",
    "print the manual page velmora-x509(1)",
    "It is the source of the page, for man: an installation has it in place, and\n"
    "without one \"velmora-x509 manual | man -l -\" shows it.\n",
    {},
    runManual,
    {},
    {},
    false};

}  // namespace velmora::tool
