#include "velmora/certificate/name.h"

#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"

namespace velmora {
Result<std::vector<Attribute>> Name::attributes() const {
  constexpr size_t kUsualCount = 6;
  AttributeElements elements;
  std::vector<Attribute> attributes;
  attributes.reserve(kUsualCount);
  NameReader reader(der(), m_at);
  while (reader.next(elements)) attributes.push_back(attributeOf(elements));
  if (reader.fault()) return Error::at(ErrorCode::malformedName, *reader.fault());
  return attributes;
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
