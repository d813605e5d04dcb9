#include "velmora/reading/reading.h"

#include <algorithm>
#include <system_error>

#include "velmora/reading/certificate_reader.h"
#include "velmora/reading/internal/file_feeding.h"
#include "velmora/support/asn1/ber_walk.h"

namespace velmora {
namespace {

class ReadingSink final : public CertificateSink {
 public:
  explicit ReadingSink(Reading& out) : m_out(out) {}

  void certificate(const CertificatePlace& place, std::span<const unsigned char> octets,
                   const Result<Certificate>& typed) override {
    const bool isBer = !typed && typed.error().code == ErrorCode::notDer;
    const Bytes bytes = std::as_bytes(octets);
    Result<Certificate> read = isBer ? certificateFromBer(bytes) : typed;
    if (!read) return fail(place, {read.error().message(), {}, 0}, read.error());
    if (isBer) {
      m_out.originals.push_back({m_out.certificates.size(), {bytes.begin(), bytes.end()}});
    }
    m_out.certificates.push_back(*std::move(read));
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    const auto offset = static_cast<uint32_t>(failure.offset.value_or(0));
    fail(place, failure, {failure.code, failure.found, offset});
  }

 private:
  void fail(const CertificatePlace& place, const CertificateFailure& failure, const Error& error) {
    if (error.code == ErrorCode::outOfMemory) throw std::bad_alloc();
    m_out.failures.push_back({place.index, place.line, failure.line, std::string(place.label),
                              error, std::string(failure.reason)});
  }

  Reading& m_out;
};

}  // namespace

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
  if (const int error = feedFile(path, reader); error != 0) {
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
  const Result<Certificate> parsed = Certificate::parseBytes(ber);
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
