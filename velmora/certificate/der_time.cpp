#include "velmora/certificate/der.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora {

std::optional<std::chrono::sys_seconds> readTime(Bytes element) noexcept {
  DerReader whole(element, 0);
  Asn1Element date;
  const bool isTaken =
      whole.take(asn1_tag::kUtcTime, date) || whole.take(asn1_tag::kGeneralizedTime, date);
  if (!isTaken || !whole.atEnd()) return std::nullopt;
  VelmoraSysTime time;
  LogNull log;
  const bool isGeneralized = date.is(asn1_tag::kGeneralizedTime);
  if (!time.fromX509(charactersOf(date.content), isGeneralized, log)) return std::nullopt;
  return std::chrono::sys_seconds(std::chrono::seconds(time.toUnixSeconds()));
}

}  // namespace velmora
