#include "tools/render/shown_departure.h"

#include "tools/render/oid_text.h"

namespace velmora::tool {

std::vector<ShownDeparture> departuresOf(const InputCertificate& input) {
  const std::vector<Departure> departures = input.certificate.departures();
  std::vector<ShownDeparture> shown;
  shown.reserve(departures.size() + 1);
  if (input.berAt) {
    constexpr std::string_view kBer = "The certificate is BER, and read as the DER made of it.";
    shown.push_back({"notDer", kBer, "RFC 5280 §4.1", *input.berAt, false, {}});
  }
  for (const Departure& each : departures) {
    shown.push_back(
        {each.id(), each.message(), each.clause(), each.offset, each.mayDecide(), each.about});
  }
  return shown;
}

void writeDepartures(const std::vector<ShownDeparture>& shown, bool withMessages, JsonLine& line) {
  line.objects("departures", shown, [&](const ShownDeparture& each) {
    line.word("id", each.id);
    if (withMessages) line.word("message", each.message);
    line.word("clause", each.clause);
    line.number("offset", each.offset);
    if (!withMessages) line.boolean("mayDecide", each.mayDecide);
    line.word("about", DottedOid(each.about).text());
    if (withMessages) line.boolean("mayDecide", each.mayDecide);
  });
}

void appendLintJson(const InputCertificate& input, const std::vector<ShownDeparture>& shown,
                    StringBuffer& out) {
  JsonLine line(out);
  writePlace(input, line);
  writeDepartures(shown, true, line);
  writeLineKey(input, line);
  line.end();
}

}  // namespace velmora::tool
