#include "velmora/reading/reading.h"

#include <algorithm>
#include <system_error>

#include "velmora/reading/file_pieces.h"
#include "velmora/support/asn1/ber_walk.h"

namespace velmora {
namespace {

class ReadingSink final : public TypedCertificateSink {
 public:
  explicit ReadingSink(Reading& out) : m_out(out) {}

  void typedCertificate(const CertificatePlace&, Bytes octets, const Certificate& certificate,
                        std::optional<uint32_t> berAt) override {
    if (berAt) {
      m_out.originals.push_back({m_out.certificates.size(), {octets.begin(), octets.end()}});
    }
    m_out.certificates.push_back(certificate);
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    if (failure.code == ErrorCode::outOfMemory) throw std::bad_alloc();
    const auto offset = static_cast<uint32_t>(failure.offset.value_or(0));
    m_out.failures.push_back({place.index,
                              place.line,
                              failure.line,
                              std::string(place.label),
                              {failure.code, failure.found, offset},
                              std::string(failure.reason)});
  }

 private:
  Reading& m_out;
};

CertificateFailure failureOf(const Error& error) {
  const bool hasPlace = error.code != ErrorCode::outOfMemory;
  const auto offset = hasPlace ? std::optional<size_t>(error.offset) : std::nullopt;
  return {error.message(), offset, 0, error.code, error.found};
}

}  // namespace

void TypedCertificateSink::certificate(const CertificatePlace& place,
                                       std::span<const unsigned char> octets,
                                       const Result<Certificate>& typed) {
  const Bytes bytes = std::as_bytes(octets);
  const bool isBer = !typed && typed.error().code == ErrorCode::notDer;
  const Result<Certificate> read = isBer ? certificateFromBer(bytes) : typed;
  if (!read) return failure(place, failureOf(read.error()));
  typedCertificate(place, bytes, *read, isBer ? std::optional(typed.error().offset) : std::nullopt);
}

Bytes Reading::originalOf(size_t certificate) const& noexcept {
  const auto found = std::lower_bound(
      originals.begin(), originals.end(), certificate,
      [](const BerOriginal& each, size_t index) { return each.certificate < index; });
  const bool isBer = found != originals.end() && found->certificate == certificate;
  return isBer ? Bytes(found->octets) : certificates[certificate].der();
}

Reading readCertificates(Bytes input) {
  Reading reading;
  ReadingSink sink(reading);
  CertificateReader reader(sink);
  reader.feed(octetsOf(input));
  reader.finish();
  return reading;
}

Reading readCertificateFile(const std::string& path) {
  Reading reading;
  ReadingSink sink(reading);
  CertificateReader reader(sink);
  const int error = readPieces(path, [&](auto piece) { return reader.feed(piece); });
  if (error != 0) {
    reading.failures.push_back({reader.count(),
                                0,
                                0,
                                {},
                                {ErrorCode::cannotOpenFile},
                                std::generic_category().message(error)});
  } else {
    reader.finish();
  }
  return reading;
}

Result<Certificate> certificateFromBer(Bytes ber) noexcept {
  Result<Certificate> parsed = Certificate::parseBytes(ber);
  if (parsed || parsed.error().code != ErrorCode::notDer) return parsed;
  DataBuffer der;
  BerWalk walk(octetsOf(ber));
  if (!berToDer(walk, der)) {
    if (der.failed() || walk.fault().noMemory) return Error{ErrorCode::outOfMemory};
    return Error{ErrorCode::notAsn1, Found::notAsn1, static_cast<uint32_t>(walk.fault().offset)};
  }
  return Certificate::parse(der.span());
}

}  // namespace velmora
