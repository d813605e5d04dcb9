#include "velmora/certificate/name.h"

#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"

namespace velmora {

bool PlacedAttribute::isUtf8() const noexcept {
  return kind != TextKind::none && velmora::isUtf8(kind);
}

std::string PlacedAttribute::text() const {
  return kind != TextKind::none ? utf8Of(kind, content) : std::string();
}

Result<std::vector<Attribute>> Name::attributes() const {
  constexpr size_t kUsualCount = 6;
  std::vector<Attribute> attributes;
  attributes.reserve(kUsualCount);
  const auto fault = visitAttributes(
      [&](const PlacedAttribute& placed) { attributes.push_back(attributeOf(placed)); });
  if (fault) return *fault;
  return attributes;
}

std::optional<Error> Name::visitAttributes(VisitPlaced* visit, void* to) const {
  AttributeElements elements;
  NameReader reader(der(), m_at);
  while (reader.next(elements)) visit(to, placedAttribute(elements));
  if (!reader.fault()) return std::nullopt;
  return Error::at(ErrorCode::malformedName, *reader.fault());
}

Result<std::string> Name::find(const Oid& type) const {
  const Bytes wanted = type.der();
  NameReader reader(der(), m_at);
  AttributeElements elements;
  std::optional<Asn1Element> found;
  while (reader.next(elements)) {
    if (!found && sameOctets(elements.type.content, wanted)) found = elements.value;
  }
  if (reader.fault()) return Error::at(ErrorCode::malformedName, *reader.fault());
  if (!found) return Error{ErrorCode::absent};
  const TextKind kind = textKindOf(*found);
  if (kind == TextKind::none) return Error::at(ErrorCode::malformedText, found->offset);
  return utf8Of(kind, found->content);
}

bool operator==(const Name& a, const Name& b) noexcept {
  return sameOctets(a.der(), b.der());
}

}  // namespace velmora
