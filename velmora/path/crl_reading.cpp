#include <new>
#include <string_view>

#include "velmora/path/crl.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/pem/pem_scanner.h"

// CRLs from files.

namespace velmora {
namespace {

constexpr std::byte kSequence{0x30};

using Span = std::span<const unsigned char>;

Span octetsOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

std::string_view sentenceOf(const Error& error) noexcept {
  if (error.code == ErrorCode::malformedField) return "ASN.1, but no CRL as RFC 5280 has it.";
  return error.message();
}

// Adds what came of an item whose DER starts at `from` of what offsets count in.
void add(const Result<Crl>& crl, size_t from, const CrlFailure& place, CrlReading& reading) {
  if (crl) return reading.crls.push_back(*crl);
  const Error error = Error::at(crl.error().code, from + crl.error().offset);
  if (error.code == ErrorCode::outOfMemory) throw std::bad_alloc();
  reading.failures.push_back(place);
  reading.failures.back().error = error;
  reading.failures.back().reason = sentenceOf(error);
}

size_t countOf(const CrlReading& reading) noexcept {
  return reading.crls.size() + reading.failures.size();
}

// DER in a row. Where an element ends is all that is read here; behind what is no SEQUENCE nothing
// is, since nobody knows where the next one would start.
CrlReading readDer(Bytes input) {
  CrlReading reading;
  for (size_t at = 0; at < input.size();) {
    Asn1Header header;
    Span content;
    DerReader reader(octetsOf(input.subspan(at)), at);
    const bool isList = input[at] == kSequence && reader.readElement(header, content);
    const size_t end = isList ? reader.offset() : input.size();
    add(Crl::parse(input.subspan(at, end - at)), at, {countOf(reading)}, reading);
    at = end;
  }
  return reading;
}

// What an event of the scanner brings.
void add(const PemScanner& pem, PemScanner::Event event, CrlReading& reading) {
  const bool isOther = !pem.label().empty() && pem.label() != "X509 CRL";
  if (event == PemScanner::Event::kNone || isOther) return;
  CrlFailure place{countOf(reading), pem.line()};
  place.error.code = ErrorCode::malformedText;
  if (event == PemScanner::Event::kFault) {
    if (std::string_view(pem.reason()) == kMemoryRanOut) throw std::bad_alloc();
    place.faultLine = pem.faultLine();
    place.reason = pem.reason();
  } else if (pem.encrypted()) {
    place.reason = "The PEM block is encrypted.";
  } else if (pem.label().empty()) {
    place.reason = "Base64 without the markers of PEM.";
  } else {
    return add(Crl::parse(std::as_bytes(pem.der())), 0, place, reading);
  }
  reading.failures.push_back(place);
}

CrlReading readPem(Bytes input) {
  CrlReading reading;
  PemScanner pem(kMaxTypedOctets);
  std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
  PemScanner::Event event;
  do {
    event = pem.advance(text);
    add(pem, event, reading);
  } while (event != PemScanner::Event::kNone);
  add(pem, pem.finish(), reading);
  return reading;
}

}  // namespace

CrlReading CrlSet::read(Bytes derOrPem) {
  const bool isDer = !derOrPem.empty() && derOrPem[0] == kSequence;
  CrlReading reading = isDer ? readDer(derOrPem) : readPem(derOrPem);
  if (countOf(reading) == 0) {
    reading.failures.push_back({0, 0, 0, {ErrorCode::absent}, "The input holds no CRL."});
  }
  return reading;
}

}  // namespace velmora
