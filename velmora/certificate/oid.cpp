#include "velmora/certificate/oid.h"

#include <algorithm>

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/asn1/oids.h"

namespace velmora {
namespace {

// The dotted form of an OID, without memory.
class Dotted {
 public:
  explicit Dotted(const Oid& oid) noexcept : m_size(writeDottedOid(octetsOf(oid.der()), m_text)) {}
  std::string_view view() const noexcept { return {m_text, m_size}; }

 private:
  char m_text[maxDottedSize(Oid::kMaxSize)];
  size_t m_size;
};

}  // namespace

void Oid::malformedLiteral() {}

Result<Oid> Oid::parse(std::string_view dotted) noexcept {
  Oid oid;
  if (const auto fault = oid.encode(dotted)) return *fault;
  return oid;
}

Oid Oid::fromDer(Bytes content) noexcept {
  Oid oid;
  if (content.size() > kMaxSize || !isOid(content)) return oid;
  std::copy(content.begin(), content.end(), oid.m_octets.begin());
  oid.m_size = static_cast<uint8_t>(content.size());
  return oid;
}

std::string Oid::text() const {
  return std::string(Dotted(*this).view());
}

std::string_view Oid::name() const noexcept {
  return oidName(octetsOf(der()));
}

}  // namespace velmora
