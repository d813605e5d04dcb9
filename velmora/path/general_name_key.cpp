#include "velmora/path/internal/general_name_key.h"

#include "velmora/support/asn1/der_element.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

std::string_view charactersOf(Bytes octets) noexcept {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

std::string lower(std::string_view text) {
  std::string small(text);
  for (char& c : small) c = asciiLower(c);
  return small;
}

struct Key {
  using Answer = std::optional<std::string>;

  Answer operator()(const DnsName& name) const { return 'd' + lower(name.text); }
  Answer operator()(const EmailAddress& name) const {
    const size_t at = name.text.rfind('@');
    if (at == std::string::npos) return 'e' + name.text;
    return 'e' + name.text.substr(0, at) + lower(std::string_view(name.text).substr(at));
  }
  Answer operator()(const Uri& name) const { return 'u' + name.text; }
  Answer operator()(const IpAddress& name) const {
    return 'i' + std::string(charactersOf(Bytes(name.octets).first(name.size)));
  }
  Answer operator()(const IpRange&) const { return std::nullopt; }
  Answer operator()(const Name& name) const {
    Answer key = name.folded();
    if (key) key->insert(0, 1, 'n');
    return key;
  }
  Answer operator()(const RegisteredId& name) const {
    return 'r' + std::string(charactersOf(name.rawId));
  }
  Answer operator()(const OtherName& name) const {
    const std::string type = elementOf(asn1_tag::kOid, charactersOf(name.rawType));
    return 'o' + type + std::string(charactersOf(name.value));
  }
  Answer operator()(const RawName& name) const {
    if (name.malformed) return std::nullopt;
    return 'x' + std::string(charactersOf(name.der));
  }
};

}  // namespace

std::optional<std::string> keyOf(const GeneralName& name) {
  return std::visit(Key(), name);
}

std::optional<std::string> keyBelow(std::string_view folded, const std::vector<Attribute>& rdn) {
  std::string attributes;
  for (const Attribute& attribute : rdn) {
    const std::string type = elementOf(asn1_tag::kOid, charactersOf(attribute.rawType));
    attributes +=
        elementOf(asn1_identifier::kSequence, type + std::string(charactersOf(attribute.der)));
  }
  const std::string set = elementOf(asn1_identifier::kSet, attributes);
  const std::string der = elementOf(asn1_identifier::kSequence, set);
  const Result<Name> name = Name::fromDer(std::as_bytes(std::span(der)));
  if (!name) return std::nullopt;
  const std::optional<std::string> below = name->folded();
  if (!below) return std::nullopt;
  return 'n' + std::string(folded) + *below;
}

}  // namespace velmora
