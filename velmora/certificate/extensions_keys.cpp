#include <algorithm>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/extension_productions.h"
#include "velmora/certificate/internal/extension_reader.h"
#include "velmora/certificate/internal/general_name_reader.h"

// The extensions on what a key is and may do (RFC 5280 §4.2.1.1 to §4.2.1.3, §4.2.1.12).

namespace velmora {

// KeyUsage ::= BIT STRING { digitalSignature(0), nonRepudiation(1), keyEncipherment(2),
//   dataEncipherment(3), keyAgreement(4), keyCertSign(5), cRLSign(6), encipherOnly(7),
//   decipherOnly(8) }
KeyUsage readKeyUsage(ExtensionReader& value) {
  return {value.namedBits()};
}

Result<KeyUsage> Certificate::keyUsage() const noexcept {
  return readExtension<KeyUsage>(m_block, ExtensionKind::keyUsage, readKeyUsage);
}

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId
// KeyPurposeId ::= OBJECT IDENTIFIER
ExtendedKeyUsage readExtendedKeyUsage(ExtensionReader& value) {
  const auto purpose = [](ExtensionReader& list) { return list.oidOf(list.objectId()); };
  return {value.oneOrMoreOf<Oid>(kSequenceTag, purpose)};
}

Result<ExtendedKeyUsage> Certificate::extendedKeyUsage() const {
  return readExtension<ExtendedKeyUsage>(m_block, ExtensionKind::extKeyUsage, readExtendedKeyUsage);
}

bool ExtendedKeyUsage::has(const Oid& purpose) const noexcept {
  return std::find(purposes.begin(), purposes.end(), purpose) != purposes.end();
}

// SubjectKeyIdentifier ::= KeyIdentifier
// KeyIdentifier ::= OCTET STRING
Bytes readSubjectKeyId(ExtensionReader& value) {
  return value.octets();
}

Result<Bytes> Certificate::subjectKeyId() const& noexcept {
  return readExtension<Bytes>(m_block, ExtensionKind::subjectKeyIdentifier, readSubjectKeyId);
}

// AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] KeyIdentifier OPTIONAL,
//   authorityCertIssuer [1] GeneralNames OPTIONAL,
//   authorityCertSerialNumber [2] CertificateSerialNumber OPTIONAL }
AuthorityKeyId readAuthorityKeyId(ExtensionReader& value) {
  AuthorityKeyId id;
  value.sequence([&](ExtensionReader& members) {
    if (members.isNext(context(0))) id.keyId = members.octets(context(0));
    if (members.isNext(context(1))) id.issuer = readGeneralNames(members, context(1));
    if (members.isNext(context(2))) id.serial = members.integerOctets(context(2));
    if (members.atEnd()) return;
    members.object(members.offset());
    while (!members.atEnd()) {  // members in disorder, of which one may name the key
      const bool isKeyId = !id.keyId && members.isNext(context(0));
      isKeyId ? id.keyId = members.octets(context(0)) : members.element().whole;
    }
  });
  return id;
}

Result<AuthorityKeyId> Certificate::authorityKeyId() const& {
  return readExtension<AuthorityKeyId>(m_block, ExtensionKind::authorityKeyIdentifier,
                                       readAuthorityKeyId);
}

}  // namespace velmora
