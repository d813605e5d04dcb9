#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/extension_productions.h"
#include "velmora/certificate/internal/extension_reader.h"
#include "velmora/certificate/internal/general_name_reader.h"

// The extensions that bind what stands below in a path (RFC 5280 §4.2.1.9 to §4.2.1.11, §4.2.1.14).

namespace velmora {

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE,
//   pathLenConstraint INTEGER (0..MAX) OPTIONAL }
BasicConstraints readBasicConstraints(ExtensionReader& value) {
  BasicConstraints constraints;
  value.sequence([&](ExtensionReader& members) {
    constraints.ca = members.booleanOrFalse();
    if (!members.atEnd()) constraints.pathLength = members.unsignedInteger();
  });
  return constraints;
}

Result<BasicConstraints> Certificate::basicConstraints() const noexcept {
  return readExtension<BasicConstraints>(m_block, ExtensionKind::basicConstraints,
                                         readBasicConstraints);
}

namespace {

// GeneralSubtree ::= SEQUENCE { base GeneralName, minimum [0] BaseDistance DEFAULT 0,
//   maximum [1] BaseDistance OPTIONAL }
// BaseDistance ::= INTEGER (0..MAX)
// RFC 5280 wants 0 and no maximum, so that of distances nothing but the default is left.
GeneralName readSubtree(ExtensionReader& subtrees) {
  GeneralName base;
  subtrees.sequence([&](ExtensionReader& members) {
    base = readGeneralName(members, AddressForm::range);
    const size_t at = members.offset();
    if (!members.atEnd()) members.look();
    if (members.isNext(context(0)) && members.unsignedInteger(context(0)) != 0) members.object(at);
    if (members.isNext(context(1))) {
      members.object(members.offset());
      members.element();
    }
  });
  return base;
}

}  // namespace

// NameConstraints ::= SEQUENCE { permittedSubtrees [0] GeneralSubtrees OPTIONAL,
//   excludedSubtrees [1] GeneralSubtrees OPTIONAL }, of which one at least has to be there
// GeneralSubtrees ::= SEQUENCE SIZE (1..MAX) OF GeneralSubtree
NameConstraints readNameConstraints(ExtensionReader& value) {
  NameConstraints constraints;
  const size_t at = value.offset();
  value.sequence([&](ExtensionReader& members) {
    if (members.atEnd()) members.refuse(at);
    if (members.isNext(context(0))) {
      constraints.permitted = members.oneOrMoreOf<GeneralName>(context(0), readSubtree);
    }
    if (members.isNext(context(1))) {
      constraints.excluded = members.oneOrMoreOf<GeneralName>(context(1), readSubtree);
    }
  });
  return constraints;
}

Result<NameConstraints> Certificate::nameConstraints() const {
  return readExtension<NameConstraints>(m_block, ExtensionKind::nameConstraints,
                                        readNameConstraints);
}

// PolicyConstraints ::= SEQUENCE { requireExplicitPolicy [0] SkipCerts OPTIONAL,
//   inhibitPolicyMapping [1] SkipCerts OPTIONAL }, of which one at least has to be there
// SkipCerts ::= INTEGER (0..MAX)
PolicyConstraints readPolicyConstraints(ExtensionReader& value) {
  PolicyConstraints constraints;
  const size_t at = value.offset();
  value.sequence([&](ExtensionReader& members) {
    if (members.atEnd()) members.refuse(at);
    if (members.isNext(context(0))) {
      constraints.requireExplicitPolicy = members.unsignedInteger(context(0));
    }
    if (members.isNext(context(1))) {
      constraints.inhibitPolicyMapping = members.unsignedInteger(context(1));
    }
  });
  return constraints;
}

Result<PolicyConstraints> Certificate::policyConstraints() const noexcept {
  return readExtension<PolicyConstraints>(m_block, ExtensionKind::policyConstraints,
                                          readPolicyConstraints);
}

// InhibitAnyPolicy ::= SkipCerts
InhibitAnyPolicy readInhibitAnyPolicy(ExtensionReader& value) {
  return {value.unsignedInteger()};
}

Result<InhibitAnyPolicy> Certificate::inhibitAnyPolicy() const noexcept {
  return readExtension<InhibitAnyPolicy>(m_block, ExtensionKind::inhibitAnyPolicy,
                                         readInhibitAnyPolicy);
}

}  // namespace velmora
