#include "velmora/certificate/general_name.h"

#include <algorithm>

#include "velmora/certificate/internal/general_name_reader.h"
#include "velmora/certificate/internal/name_maker.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"

namespace velmora {
namespace {

// OtherName ::= SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY }
OtherName readOtherName(ExtensionReader& name) {
  OtherName other;
  name.members(context(0), [&](ExtensionReader& members) {
    const Bytes type = members.objectId();
    other.type = members.oidOf(type);
    other.rawType = members.copyOf(type);
    members.members(context(0),
                    [&](ExtensionReader& value) { other.value = value.copyOf(value.any()); });
  });
  return other;
}

// ORAddress and EDIPartyName are SEQUENCEs, of which nothing more is known here.
RawName readUntyped(ExtensionReader& name, uint32_t number) {
  constexpr std::byte kConstructed{asn1_identifier::kConstructed};
  const size_t at = name.offset();
  const Bytes whole = name.any();
  if (!whole.empty() && (whole[0] & kConstructed) == std::byte{0}) name.refuse(at);
  return {static_cast<uint8_t>(number), false, name.copyOf(whole), static_cast<uint32_t>(at)};
}

// Name is a CHOICE, and its tag therefore explicit. The fallback name is never seen: there is a
// fault then.
GeneralName readDirectoryName(ExtensionReader& name) {
  size_t at = name.offset();
  name.members(context(4), [&](ExtensionReader& members) {
    at = members.offset();
    const Bytes whole = members.any();
    if (const auto fault = nameFault(whole, at)) members.refuse(*fault);
  });
  if (!name.keeps()) return RawName();
  return NameMaker::make(name.block(), at);
}

IpAddress addressOf(Bytes octets) noexcept {
  IpAddress address;
  std::copy(octets.begin(), octets.end(), address.octets.begin());
  address.size = static_cast<uint8_t>(octets.size());
  return address;
}

GeneralName readIpAddress(ExtensionReader& name, AddressForm form) {
  const size_t at = name.offset();
  const Bytes octets = name.octets(context(7));
  const bool isAddress = octets.size() == 4 || octets.size() == 16;
  const bool isRange = octets.size() == 8 || octets.size() == 32;
  if (isAddress != (form == AddressForm::address)) name.object(at);
  if (isAddress) return addressOf(octets);
  if (!isRange) {
    name.refuse(at);
    return IpAddress();
  }
  const size_t size = octets.size() / 2;
  return IpRange{addressOf(octets.first(size)), addressOf(octets.subspan(size))};
}

RegisteredId readRegisteredId(ExtensionReader& name) {
  const Bytes id = name.objectId(context(8));
  return {name.oidOf(id), name.copyOf(id)};
}

// GeneralName ::= CHOICE { otherName [0] OtherName, rfc822Name [1] IA5String, dNSName [2]
// IA5String,
//   x400Address [3] ORAddress, directoryName [4] Name, ediPartyName [5] EDIPartyName,
//   uniformResourceIdentifier [6] IA5String, iPAddress [7] OCTET STRING,
//   registeredID [8] OBJECT IDENTIFIER }
GeneralName readKind(ExtensionReader& name, uint32_t number, AddressForm form) {
  switch (number) {
    case 0:
      return readOtherName(name);
    case 1:
      return EmailAddress{name.ascii(context(1))};
    case 2:
      return DnsName{name.ascii(context(2))};
    case 3:
    case 5:
      return readUntyped(name, number);
    case 4:
      return readDirectoryName(name);
    case 6:
      return Uri{name.ascii(context(6))};
    case 7:
      return readIpAddress(name, form);
    case 8:
      return readRegisteredId(name);
    default:
      name.refuse(name.offset());
      return RawName();
  }
}

constexpr uint32_t kNoKind = 0xFF;

uint32_t kindOf(const Asn1Header& header) noexcept {
  const bool hasKind = header.tagClass == Asn1Class::kContextSpecific && header.tagNumber <= 8;
  return hasKind ? header.tagNumber : kNoKind;
}

}  // namespace

GeneralName readGeneralName(ExtensionReader& reader, AddressForm form) {
  const Asn1Element element = reader.element();
  if (reader.hasFault()) return RawName();
  const uint32_t kind = kindOf(element.header);
  ExtensionReader::Source source = reader.apart();
  ExtensionReader inside(source, element.whole, element.offset);
  GeneralName name = readKind(inside, kind, form);
  if (source.fault || !source.isPlain) reader.look();
  if (!source.fault) return name;
  return RawName{static_cast<uint8_t>(kind), true, reader.copyOf(element.whole),
                 static_cast<uint32_t>(element.offset)};
}

std::vector<GeneralName> readGeneralNames(ExtensionReader& reader, Tag tag) {
  return reader.oneOrMoreOf<GeneralName>(
      tag, [](ExtensionReader& list) { return readGeneralName(list); });
}

Result<std::string> OtherName::text() const {
  Asn1Element element;
  DerReader(value, 0).takeAny(element);
  const TextKind kind = textKindOf(element);
  if (kind != TextKind::utf8 && kind != TextKind::ia5 && kind != TextKind::printable) {
    return Error{ErrorCode::malformedText};
  }
  return utf8Of(kind, element.content);
}

}  // namespace velmora
