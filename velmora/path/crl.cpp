#include "velmora/path/crl.h"

#include <algorithm>

#include "velmora/certificate/der.h"
#include "velmora/path/internal/crl_data.h"

namespace velmora {
namespace {

Result<std::chrono::sys_seconds> timeOf(const CrlData& data, Bytes element) noexcept {
  if (isDerTime(element)) return *readTime(element);
  return Error::at(ErrorCode::malformedDate, static_cast<size_t>(element.data() - data.der.data()));
}

}  // namespace

Name Crl::issuer() const noexcept {
  return m_data->issuer;
}

Result<std::chrono::sys_seconds> Crl::thisUpdate() const noexcept {
  return timeOf(*m_data, m_data->thisUpdate);
}

Result<std::chrono::sys_seconds> Crl::nextUpdate() const noexcept {
  if (m_data->nextUpdate.empty()) return Error{ErrorCode::absent};
  return timeOf(*m_data, m_data->nextUpdate);
}

size_t Crl::size() const noexcept {
  return m_data->entries.size();
}

Result<RevokedCertificate> Crl::find(Bytes serial) const noexcept {
  const Bytes shortest = shortestSerial(serial);
  const uint32_t mark = markOfSerial(shortest);
  const auto isBefore = [&](const CrlEntryPlace& place, Bytes wanted) {
    if (place.mark != mark) return place.mark < mark;
    const Bytes found = serialAt(*m_data, place.at);
    return std::lexicographical_compare(found.begin(), found.end(), wanted.begin(), wanted.end());
  };
  const std::vector<CrlEntryPlace>& entries = m_data->entries;
  const auto place = std::lower_bound(entries.begin(), entries.end(), shortest, isBefore);
  if (place == entries.end()) return Error{ErrorCode::absent};
  const Bytes found = serialAt(*m_data, place->at);
  if (!std::equal(found.begin(), found.end(), shortest.begin(), shortest.end())) {
    return Error{ErrorCode::absent};
  }
  return readRevoked(*m_data, place->at);
}

Result<IssuingDistributionPoint> Crl::issuingDistributionPoint() const {
  if (m_data->scope.empty()) return Error{ErrorCode::absent};
  return IssuingDistributionPoint::parse(m_data->scope);
}

Bytes Crl::scope() const& noexcept {
  return m_data->scope;
}

bool Crl::mayVouch() const noexcept {
  return m_data->mayVouch;
}

SignedParts Crl::signedParts() const& noexcept {
  return m_data->parts;
}

Bytes Crl::der() const& noexcept {
  return m_data->der;
}

bool operator==(const Crl& a, const Crl& b) noexcept {
  return a.m_data->der == b.m_data->der;
}

}  // namespace velmora
