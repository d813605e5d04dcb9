#pragma once

// Departures with the words of the command line, for "lint" and the JSON of "show".

#include <string_view>
#include <vector>

#include "tools/reading/place.h"

namespace velmora::tool {

/// In what a certificate is not as it should be: a departure, or what is said of BER, for which
/// there is no Departure, since a Certificate is DER. The texts live as long as the program.
struct ShownDeparture {
  std::string_view id;
  std::string_view message;
  std::string_view clause;
  uint32_t offset = 0;  // in the DER; that of BER in the octets as they came
  bool mayDecide = false;
  Oid about;  // empty where there is none
};

/// In the order of the offsets, that of BER first.
std::vector<ShownDeparture> departuresOf(const InputCertificate& input);

/// Writes them as the list "departures", of {id, clause, offset, mayDecide, about}; with messages
/// as {id, message, clause, offset, about, mayDecide}.
void writeDepartures(const std::vector<ShownDeparture>& shown, bool withMessages, JsonLine& line);

/// Appends the JSON of "lint" for one certificate, as one object on a line.
void appendLintJson(const InputCertificate& input, const std::vector<ShownDeparture>& shown,
                    StringBuffer& out);

}  // namespace velmora::tool
