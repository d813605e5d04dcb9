#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/extension_productions.h"
#include "velmora/certificate/internal/extension_reader.h"
#include "velmora/certificate/internal/text_reader.h"

// The extensions on certificate policies (RFC 5280 §4.2.1.4 and §4.2.1.5).

namespace velmora {
namespace {

// DisplayText ::= CHOICE { ia5String IA5String, visibleString VisibleString,
//   bmpString BMPString, utf8String UTF8String }, each of 1 to 200 characters, which is not checked
std::string readDisplayText(ExtensionReader& members) {
  return members.text({TextKind::ia5, TextKind::visible, TextKind::bmp, TextKind::utf8});
}

// NoticeReference ::= SEQUENCE { organization DisplayText,
//   noticeNumbers SEQUENCE OF INTEGER }
void readReference(ExtensionReader& members, UserNotice& notice) {
  notice.organization = readDisplayText(members);
  notice.numbers = members.listOf<int64_t>(
      kSequenceTag, [](ExtensionReader& numbers) { return numbers.integer(); });
}

// UserNotice ::= SEQUENCE { noticeRef NoticeReference OPTIONAL, explicitText DisplayText OPTIONAL }
UserNotice readNotice(ExtensionReader& qualifier) {
  UserNotice notice;
  qualifier.sequence([&](ExtensionReader& members) {
    if (members.isNext(kSequenceTag)) {
      members.sequence([&](ExtensionReader& reference) { readReference(reference, notice); });
    }
    if (!members.atEnd()) notice.text = readDisplayText(members);
  });
  return notice;
}

// PolicyQualifierInfo ::= SEQUENCE { policyQualifierId PolicyQualifierId,
//   qualifier ANY DEFINED BY policyQualifierId }
// Qualifier ::= CHOICE { cPSuri CPSuri, userNotice UserNotice }
// CPSuri ::= IA5String
PolicyQualifier readQualifier(ExtensionReader& list) {
  PolicyQualifier qualifier;
  list.sequence([&](ExtensionReader& members) {
    const Bytes id = members.objectId();
    if (sameOctets(id, oid::cpsQualifier.der())) {
      qualifier = CpsUri{members.ascii()};
    } else if (sameOctets(id, oid::userNoticeQualifier.der())) {
      qualifier = readNotice(members);
    } else {
      qualifier = OtherQualifier{members.oidOf(id), members.copyOf(members.any())};
    }
  });
  return qualifier;
}

// PolicyInformation ::= SEQUENCE { policyIdentifier CertPolicyId,
//   policyQualifiers SEQUENCE SIZE (1..MAX) OF PolicyQualifierInfo OPTIONAL }
// CertPolicyId ::= OBJECT IDENTIFIER
Policy readPolicy(ExtensionReader& list) {
  Policy policy;
  list.sequence([&](ExtensionReader& members) {
    const Bytes id = members.objectId();
    policy.id = members.oidOf(id);
    policy.rawId = members.copyOf(id);
    if (members.atEnd()) return;
    policy.qualifiers = members.oneOrMoreOf<PolicyQualifier>(kSequenceTag, readQualifier);
  });
  return policy;
}

PolicyMapping readMapping(ExtensionReader& list) {
  PolicyMapping mapping;
  list.sequence([&](ExtensionReader& members) {
    const Bytes issuers = members.objectId();
    const Bytes subjects = members.objectId();
    mapping = {members.oidOf(issuers), members.oidOf(subjects), members.copyOf(issuers),
               members.copyOf(subjects)};
  });
  return mapping;
}

}  // namespace

Result<std::string> OtherQualifier::text() const {
  Asn1Element element;
  DerReader(value, 0).takeAny(element);
  DerReader members(element.header.constructed ? element : Asn1Element());
  do {
    const TextKind kind = textKindOf(element);
    if (kind != TextKind::none) return utf8Of(kind, element.content);
  } while (members.takeAny(element));
  return Error{ErrorCode::absent};
}

// CertificatePolicies ::= SEQUENCE SIZE (1..MAX) OF PolicyInformation
std::vector<Policy> readPolicies(ExtensionReader& value) {
  return value.oneOrMoreOf<Policy>(kSequenceTag, readPolicy);
}

// PolicyMappings ::= SEQUENCE SIZE (1..MAX) OF SEQUENCE {
//   issuerDomainPolicy CertPolicyId, subjectDomainPolicy CertPolicyId }
std::vector<PolicyMapping> readPolicyMappings(ExtensionReader& value) {
  return value.oneOrMoreOf<PolicyMapping>(kSequenceTag, readMapping);
}

Result<std::vector<Policy>> Certificate::policies() const {
  return readExtension<std::vector<Policy>>(m_block, ExtensionKind::certificatePolicies,
                                            readPolicies);
}

Result<std::vector<PolicyMapping>> Certificate::policyMappings() const {
  return readExtension<std::vector<PolicyMapping>>(m_block, ExtensionKind::policyMappings,
                                                   readPolicyMappings);
}

}  // namespace velmora
