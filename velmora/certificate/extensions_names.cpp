#include <new>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/extension_productions.h"
#include "velmora/certificate/internal/extension_reader.h"
#include "velmora/certificate/internal/general_name_reader.h"
#include "velmora/certificate/internal/name_reader.h"

// The extensions made of general names (RFC 5280 §4.2.1.6, §4.2.1.7, §4.2.1.13, §4.2.1.15, §4.2.2).

namespace velmora {

// SubjectAltName ::= GeneralNames
// IssuerAltName ::= GeneralNames
std::vector<GeneralName> readAlternativeNames(ExtensionReader& value) {
  return readGeneralNames(value);
}

namespace {

// AccessDescription ::= SEQUENCE { accessMethod OBJECT IDENTIFIER, accessLocation GeneralName }
Access readAccess(ExtensionReader& list) {
  Access access;
  list.sequence([&](ExtensionReader& members) {
    access.method = members.oidOf(members.objectId());
    access.location = readGeneralName(members);
  });
  return access;
}

Attribute readAttribute(ExtensionReader& rdn) {
  const size_t at = rdn.offset();
  const Bytes whole = rdn.any();
  if (rdn.hasFault()) return {};
  NameReader reader = NameReader::ofRdn(whole, at);
  AttributeElements elements;
  if (reader.next(elements)) {
    return rdn.keeps() ? attributeOf(placedAttribute(elements)) : Attribute();
  }
  rdn.refuse(*reader.fault());
  return {};
}

// [0] DistributionPointName OPTIONAL
// DistributionPointName ::= CHOICE { fullName [0] GeneralNames,
//   nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
// Gives whether it is there.
template <class Point>
bool readPointName(ExtensionReader& members, Point& point) {
  if (!members.isNext(context(0))) return false;
  members.members(context(0), [&](ExtensionReader& name) {
    if (name.isNext(context(1))) {
      point.relativeName = name.oneOrMoreOf<Attribute>(context(1), readAttribute);
    } else {
      point.fullName = readGeneralNames(name, context(0));
    }
  });
  return true;
}

// DistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//   reasons [1] ReasonFlags OPTIONAL, cRLIssuer [2] GeneralNames OPTIONAL }, where the name or the
//   issuer has to be there
// ReasonFlags ::= BIT STRING { unused(0), keyCompromise(1), cACompromise(2), affiliationChanged(3),
//   superseded(4), cessationOfOperation(5), certificateHold(6), privilegeWithdrawn(7),
//   aACompromise(8) }
DistributionPoint readPoint(ExtensionReader& list) {
  DistributionPoint point;
  const size_t at = list.offset();
  list.sequence([&](ExtensionReader& members) {
    const bool hasName = readPointName(members, point);
    if (members.isNext(context(1))) point.reasons = members.namedBits(context(1));
    const bool hasIssuer = members.isNext(context(2));
    if (hasIssuer) point.crlIssuer = readGeneralNames(members, context(2));
    if (!hasName && !hasIssuer) members.object(at);
  });
  return point;
}

}  // namespace

// AuthorityInfoAccessSyntax ::= SEQUENCE SIZE (1..MAX) OF AccessDescription
// SubjectInfoAccessSyntax ::= SEQUENCE SIZE (1..MAX) OF AccessDescription
std::vector<Access> readAccesses(ExtensionReader& value) {
  return value.oneOrMoreOf<Access>(kSequenceTag, readAccess);
}

// CRLDistributionPoints ::= SEQUENCE SIZE (1..MAX) OF DistributionPoint
// FreshestCRL ::= CRLDistributionPoints
std::vector<DistributionPoint> readDistributionPoints(ExtensionReader& value) {
  return value.oneOrMoreOf<DistributionPoint>(kSequenceTag, readPoint);
}

Result<std::vector<GeneralName>> Certificate::subjectAltNames() const {
  return readExtension<std::vector<GeneralName>>(m_block, ExtensionKind::subjectAltName,
                                                 readAlternativeNames);
}

// Walks over all names first, so that a list that is broken at its end gives nothing but the error.
Result<GeneralNameCursor> Certificate::subjectAltNameCursor() const& noexcept {
  const auto production = [](ExtensionReader& value) {
    GeneralNameCursor cursor({}, 0);
    const size_t at = value.offset();
    value.sequence([&](ExtensionReader& names) {
      if (names.atEnd()) names.refuse(at);
      cursor.m_offset = static_cast<uint32_t>(names.offset());
      size_t size = 0;
      while (names.hasMember()) size += names.element().whole.size();
      cursor.m_names = names.block().bytes().subspan(cursor.m_offset, size);
    });
    return cursor;
  };
  return readExtension<GeneralNameCursor>(m_block, ExtensionKind::subjectAltName, production);
}

bool GeneralNameCursor::next(PlacedName& name) noexcept {
  DerReader cursor(m_names, m_offset);
  Asn1Element element;
  if (!cursor.takeAny(element)) return false;
  name = {std::to_integer<uint8_t>(element.whole[0]), element.content,
          static_cast<uint32_t>(element.offset)};
  m_names = m_names.subspan(element.whole.size());
  m_offset = static_cast<uint32_t>(cursor.offset());
  return true;
}

Result<std::vector<GeneralName>> Certificate::issuerAltNames() const {
  return readExtension<std::vector<GeneralName>>(m_block, ExtensionKind::issuerAltName,
                                                 readAlternativeNames);
}

std::vector<std::string> Certificate::dnsNames() const {
  std::vector<std::string> hosts;
  Result<std::vector<GeneralName>> names = subjectAltNames();
  if (!names) return hosts;
  for (GeneralName& name : *names) {
    if (DnsName* const host = std::get_if<DnsName>(&name)) hosts.push_back(std::move(host->text));
  }
  return hosts;
}

Result<std::vector<Access>> Certificate::authorityInfoAccess() const {
  return readExtension<std::vector<Access>>(m_block, ExtensionKind::authorityInfoAccess,
                                            readAccesses);
}

Result<std::vector<Access>> Certificate::subjectInfoAccess() const {
  return readExtension<std::vector<Access>>(m_block, ExtensionKind::subjectInfoAccess,
                                            readAccesses);
}

Result<std::vector<DistributionPoint>> Certificate::crlDistributionPoints() const {
  return readExtension<std::vector<DistributionPoint>>(
      m_block, ExtensionKind::crlDistributionPoints, readDistributionPoints);
}

Result<std::vector<DistributionPoint>> Certificate::freshestCrl() const {
  return readExtension<std::vector<DistributionPoint>>(m_block, ExtensionKind::freshestCrl,
                                                       readDistributionPoints);
}

// IssuingDistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//   onlyContainsUserCerts [1] BOOLEAN DEFAULT FALSE, onlyContainsCACerts [2] BOOLEAN DEFAULT FALSE,
//   onlySomeReasons [3] ReasonFlags OPTIONAL, indirectCRL [4] BOOLEAN DEFAULT FALSE,
//   onlyContainsAttributeCerts [5] BOOLEAN DEFAULT FALSE }
Result<IssuingDistributionPoint> IssuingDistributionPoint::parse(Bytes value) {
  const Result<BlockRef> block = Block::create(value);
  if (!block) throw std::bad_alloc();
  const auto production = [](ExtensionReader& reader) {
    IssuingDistributionPoint point;
    reader.sequence([&](ExtensionReader& members) {
      readPointName(members, point);
      point.onlyUserCertificates = members.booleanOrFalse(context(1));
      point.onlyCaCertificates = members.booleanOrFalse(context(2));
      if (members.isNext(context(3))) point.onlySomeReasons = members.namedBits(context(3));
      point.isIndirect = members.booleanOrFalse(context(4));
      point.onlyAttributeCertificates = members.booleanOrFalse(context(5));
    });
    return point;
  };
  return readValue<IssuingDistributionPoint>(*block, block->bytes(), Strictness::strict,
                                             production);
}

}  // namespace velmora
