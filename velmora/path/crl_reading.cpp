#include <limits>
#include <new>
#include <string_view>

#include "velmora/path/crl.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/pem/pem_scanner.h"

// CRLs from files.

namespace velmora {
namespace {

constexpr size_t kMaxSize = std::numeric_limits<int32_t>::max();
constexpr std::byte kSequence{0x30};

using Span = std::span<const unsigned char>;

Span octetsOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

// DER in a row. Where an element ends is all that is read here.
Result<std::vector<Crl>> readDer(Bytes input) {
  std::vector<Crl> crls;
  for (size_t at = 0; at < input.size();) {
    Asn1Header header;
    Span content;
    DerReader reader(octetsOf(input.subspan(at)), at);
    const bool isElement = reader.readElement(header, content);
    const size_t end = isElement ? reader.offset() : input.size();
    const Result<Crl> crl = Crl::parse(input.subspan(at, end - at));
    if (!crl && crl.error().code == ErrorCode::outOfMemory) return crl.error();
    if (!crl) return Error::at(crl.error().code, at + crl.error().offset);
    crls.push_back(*crl);
    at = end;
  }
  return crls;
}

// What an event of the scanner adds; an error ends the reading.
std::optional<Error> add(const PemScanner& pem, PemScanner::Event event, std::vector<Crl>& crls) {
  const bool isOther = !pem.label().empty() && pem.label() != "X509 CRL";
  if (event == PemScanner::Event::kNone || isOther) return std::nullopt;
  // Of text that is at fault nobody knows what it hides.
  if (event == PemScanner::Event::kFault || pem.encrypted() || pem.label().empty()) {
    return Error{ErrorCode::malformedText};
  }
  const Result<Crl> crl = Crl::parse(std::as_bytes(pem.der()));
  if (!crl) return crl.error();
  crls.push_back(*crl);
  return std::nullopt;
}

Result<std::vector<Crl>> readPem(Bytes input) {
  std::vector<Crl> crls;
  PemScanner pem(kMaxSize);
  std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
  PemScanner::Event event;
  do {
    event = pem.advance(text);
    if (const auto fault = add(pem, event, crls)) return *fault;
  } while (event != PemScanner::Event::kNone);
  if (const auto fault = add(pem, pem.finish(), crls)) return *fault;
  return crls;
}

}  // namespace

Result<std::vector<Crl>> CrlSet::read(Bytes derOrPem) noexcept try {
  const bool isDer = !derOrPem.empty() && derOrPem[0] == kSequence;
  Result<std::vector<Crl>> crls = isDer ? readDer(derOrPem) : readPem(derOrPem);
  if (crls && crls->empty()) return Error{ErrorCode::absent};
  return crls;
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

}  // namespace velmora
