#include "tools/render/finding.h"

#include "tools/render/oid_text.h"

namespace velmora::tool {

std::vector<Finding> findingsOf(const InputCertificate& input) {
  const std::vector<Departure> departures = input.certificate.departures();
  std::vector<Finding> findings;
  findings.reserve(departures.size() + 1);
  if (input.berAt) {
    constexpr std::string_view kBer = "The certificate is BER, and read as the DER made of it.";
    findings.push_back({"notDer", kBer, "RFC 5280 §4.1", *input.berAt, false, {}});
  }
  for (const Departure& each : departures) {
    findings.push_back(
        {each.id(), each.message(), each.clause(), each.offset, each.mayDecide(), each.about});
  }
  return findings;
}

void writeFindings(const std::vector<Finding>& findings, bool withMessages, JsonLine& line) {
  line.objects("departures", findings, [&](const Finding& each) {
    line.word("id", each.id);
    if (withMessages) line.word("message", each.message);
    line.word("clause", each.clause);
    line.number("offset", int64_t{each.offset});
    if (!withMessages) line.boolean("mayDecide", each.mayDecide);
    line.word("about", DottedOid(each.about).text());
    if (withMessages) line.boolean("mayDecide", each.mayDecide);
  });
}

}  // namespace velmora::tool
