#pragma once

// Where in an input something stands, and how that is told, also of what could not be read.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "tools/render/json_writer.h"
#include "velmora/certificate/certificate.h"
#include "velmora/reading/certificate_reader.h"

namespace velmora::tool {

/// Where in the input something stands.
struct InputPlace {
  std::string_view source;  // as the user named it; "-" is standard input
  size_t index = 0;         // from 0 within the source; what could not be read counts too
  std::string_view kind = "certificate";               // what to call it before its number
  std::optional<std::string_view> key = std::nullopt;  // that stands before it on its line
};

/// One certificate of the input.
struct InputCertificate : InputPlace {
  std::span<const unsigned char> der;  // the octets as they came, which may be BER
  const Certificate& certificate;      // of BER that of the DER made of it
  std::optional<uint32_t> berAt;       // the first octet that is no DER; none when all of it is
};

/// Prints where something stands, for people: "FILE: certificate 2".
void appendItem(const InputPlace& place, StringBuffer& out);

/// Writes the members source and index.
void writePlace(const InputPlace& place, JsonLine& line);

/// Writes the member key, where there is one: the last of an object, but for what is asked for.
void writeLineKey(const InputPlace& place, JsonLine& line);

/// Writes the object {source, index, error}, with the key, on a line.
void writeUnreadable(const InputPlace& place, std::string_view reason, StringBuffer& out);

/// A reason as a part of a line, and where in the block it lies.
StringBuffer reasonAndPlace(const CertificateFailure& failure, bool withLine);

/// Appends the library's sentence as a part of a line: without its full stop and, unless it starts
/// with an abbreviation, its capital letter.
void appendReason(std::string_view sentence, StringBuffer& out);

/// How people name a source.
std::string_view sourceForPeople(std::string_view source);

}  // namespace velmora::tool
