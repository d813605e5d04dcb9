#include <algorithm>
#include <new>
#include <optional>
#include <utility>

#include "tools/commands/command.h"
#include "tools/reading/memory_log.h"
#include "tools/reading/signature_budget.h"
#include "tools/render/fold.h"
#include "tools/render/name_text.h"
#include "velmora/path/link.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// How a candidate fits the certificate that is asked about.
struct Fit {
  bool matches;
  bool byIdentifiers;  // where both are there, they alone decide
  bool wholeNamesEqual;
  std::vector<Reason> faults;
};

Fit fitOf(VelmoraX509& subject, const Certificate& certificate, VelmoraX509& issuer,
          const Certificate& candidate, SignatureBudget& budget) {
  MemoryLog log;
  StringBuffer identifier;
  const Name name = certificate.issuer();
  const bool byIdentifiers = subject.getAuthorityKeyIdentifier(identifier, log) &&
                             issuer.getSubjectKeyIdentifier(identifier, log);
  whole(identifier);
  const bool mayTry = SignatureBudget::isUsual(candidate) || budget.spend(candidate);
  auto faults =
      mayTry ? linkFaults(certificate, candidate) : std::vector{Reason::tooManySignatures};
  if (std::count(faults.begin(), faults.end(), Reason::outOfMemory) != 0) throw std::bad_alloc();
  const bool matches = subject.isIssuedBy(issuer, log);
  log.wantNone();
  return {matches, byIdentifiers, !name.isEmpty() && name.matches(candidate.subject()),
          std::move(faults)};
}

void writeFit(const InputCertificate& input, const Fit& fit, StringBuffer& out) {
  StringBuffer subject;
  appendName(input.certificate.subject(), subject);
  JsonLine line(out);
  writePlace(input, line);
  line.text("subject", subject.view());
  line.boolean("matches", fit.matches);
  line.text("by", fit.byIdentifiers ? "keyIdentifiers" : "names");
  line.boolean("wholeNamesEqual", fit.wholeNamesEqual);
  line.list("reasons", fit.faults, [&](Reason each) { line.text("", reasonId(each)); });
  line.end();
}

void printFit(const InputCertificate& input, const Fit& fit, Console& console) {
  StringBuffer& out = console.out();
  const size_t start = out.getSize();
  print(out, fit.matches ? "yes  " : "no   ", input,
        fit.byIdentifiers ? "  by key identifiers" : "  by names",
        fit.wholeNamesEqual ? "\n" : ", the whole names differ\n");
  for (const Reason each : fit.faults) print(out, "     ", reasonText(each), '\n');
  foldHanging(start, console.width(), out);
}

void runIssuer(const Arguments& arguments, Console& console) {
  const auto subject = VelmoraX509::createOwnedX509();
  const auto issuer = VelmoraX509::createOwnedX509();
  std::optional<Certificate> certificate;
  const VisitFailure tellFailure = failuresAsJson(arguments, console);
  const auto takeFirst = [&](const InputCertificate& input) {
    if (certificate) return;
    loadInto(subject.get(), input.der);
    certificate = input.certificate;
  };
  visitCertificates({arguments.operand()}, console, takeFirst, tellFailure);
  if (!certificate) return;
  bool anyMatches = false;
  SignatureBudget budget;
  visitFiles(arguments, console, [&](const InputCertificate& input) {
    loadInto(issuer.get(), input.der);
    budget.earn();
    const Fit fit = fitOf(*subject, *certificate, *issuer, input.certificate, budget);
    anyMatches = anyMatches || fit.matches;
    arguments.has("--json") ? writeFit(input, fit, console.out()) : printFit(input, fit, console);
  });
  if (!anyMatches) console.raise(ExitStatus::kNo);
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line: source, index, subject, matches, by (keyIdentifiers or names), "
     "wholeNamesEqual, reasons"},
};

}  // namespace

const Command kIssuerCommand = {
    "issuer",
    "tell which certificates may have issued another one",
    "CERT is a file whose first certificate is asked about; each FILE holds\n"
    "candidates. Where CERT has an authority and the candidate a subject key\n"
    "identifier, these decide; otherwise the common names. The reasons tell why\n"
    "\"verify\" would not take the candidate all the same: that it is no CA or may not\n"
    "sign, or did not. The exit status is 0 when any matches.\n",
    kOptions,
    runIssuer,
    "CERT"};

}  // namespace velmora::tool
