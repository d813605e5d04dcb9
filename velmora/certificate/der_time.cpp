#include "velmora/certificate/der.h"

#include <algorithm>

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora {
namespace {

constexpr bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

}  // namespace

bool hasDerForm(const Asn1Element& date) noexcept {
  const std::string_view text = charactersOf(date.content);
  const size_t digits = date.is(asn1_tag::kGeneralizedTime) ? 14 : 12;
  return text.size() == digits + 1 && text.back() == 'Z' &&
         std::all_of(text.begin(), text.end() - 1, isDigit);
}

bool isDerTime(Bytes element) noexcept {
  DerReader whole(element, 0);
  Asn1Element date;
  return readTime(element) && whole.takeAny(date) && hasDerForm(date);
}

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
