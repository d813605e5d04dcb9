#include "tools/reading/place.h"

#include "tools/terminal/print.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

StringBuffer reasonAndPlace(const CertificateFailure& failure, bool withLine) {
  StringBuffer out;
  appendReason(failure.reason, out);
  if (withLine && failure.line != 0) print(out, " (line ", failure.line, ')');
  if (failure.offset) print(out, " (offset ", *failure.offset, " in the DER)");
  whole(out);
  return out;
}

void appendItem(const InputPlace& place, StringBuffer& out) {
  print(out, Safe{sourceForPeople(place.source)}, ": ", place.kind, ' ', place.index + 1);
}

void writePlace(const InputPlace& place, JsonLine& line) {
  line.text("source", place.source);
  line.number("index", place.index);
}

void writeLineKey(const InputPlace& place, JsonLine& line) {
  if (place.key) line.text("key", *place.key);
}

void writeUnreadable(const InputPlace& place, std::string_view reason, StringBuffer& out) {
  JsonLine line(out);
  writePlace(place, line);
  line.text("error", reason);
  writeLineKey(place, line);
  line.end();
}

void appendReason(std::string_view sentence, StringBuffer& out) {
  if (sentence.ends_with('.')) sentence.remove_suffix(1);
  const bool isAbbreviation = sentence.size() > 1 && sentence[1] >= 'A' && sentence[1] <= 'Z';
  if (!sentence.empty() && !isAbbreviation) {
    out.appendChar(asciiLower(sentence.front()));
    sentence.remove_prefix(1);
  }
  out.append(sentence);
}

std::string_view sourceForPeople(std::string_view source) {
  return source == "-" ? "standard input" : source;
}

}  // namespace velmora::tool
