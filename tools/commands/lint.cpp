#include "tools/bulk/lines.h"
#include "tools/commands/command.h"
#include "tools/render/fold.h"
#include "tools/render/oid_text.h"
#include "tools/render/shown_departure.h"

namespace velmora::tool {

namespace {

void appendText(const InputCertificate& input, const ShownDeparture& shown, StringBuffer& out) {
  print(out, input, ", offset ", shown.offset);
  if (!shown.about.isEmpty()) {
    out.append(", ");
    appendOid(DottedOid(shown.about), OidStyle::kNamed, out);
  }
  print(out, ": ", shown.message, shown.mayDecide ? "" : " No decision may rest on it.", " (",
        shown.clause, ", ", shown.id, ")\n");
}

void runLint(const Arguments& arguments, Console& console) {
  const bool isJson = arguments.has("--json");
  const size_t width = isJson || arguments.has("--lines") ? 0 : console.width();
  visitFilesOrLines(arguments, console, [&](Answers& answers) -> Visit {
    return [&answers, isJson, width](const InputCertificate& input) {
      const std::vector<ShownDeparture> departures = departuresOf(input);
      if (!departures.empty()) answers.raise(ExitStatus::kNo);
      if (isJson) return appendLintJson(input, departures, answers.out());
      const size_t start = answers.out().getSize();
      for (const ShownDeparture& each : departures) appendText(input, each, answers.out());
      foldHanging(start, width, answers.out());
    };
  });
}

constexpr OptionSpec kOptions[] = {
    {"--json", "",
     "one JSON object a line for each certificate: source, index, departures, a list of {id, "
     "message, clause, offset, about, mayDecide}; or source, index, error"},
    kLinesOption,
    kJobsOption,
    kProgressOption,
    kQuietOption,
};

}  // namespace

const Command kLintCommand = {
    "lint", "list in what certificates are not as RFC 5280 and DER want them",
    "A line has the offset in the certificate, the OID of the extension or attribute\n"
    "that it is about, the departure in words, the clause, and a name that does not\n"
    "change. Only the encoding, the fields and the extensions are looked at: not the\n"
    "signature, nor what time it is. The exit status is 1 when there is any\n"
    "departure.\n",
    kOptions, runLint};

}  // namespace velmora::tool
