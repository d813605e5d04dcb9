#pragma once

#include "velmora/certificate/certificate.h"

namespace velmora::test {

/// Calls `say` with the OID of each extension that Certificate answers, and with what asks for it.
template <class Say>
void forEachAnswer(const Certificate& c, const Say& say) {
  say(oid::basicConstraints, [&] { return c.basicConstraints(); });
  say(oid::keyUsage, [&] { return c.keyUsage(); });
  say(oid::extKeyUsage, [&] { return c.extendedKeyUsage(); });
  say(oid::subjectKeyIdentifier, [&] { return c.subjectKeyId(); });
  say(oid::authorityKeyIdentifier, [&] { return c.authorityKeyId(); });
  say(oid::subjectAltName, [&] { return c.subjectAltNames(); });
  say(oid::issuerAltName, [&] { return c.issuerAltNames(); });
  say(oid::authorityInfoAccess, [&] { return c.authorityInfoAccess(); });
  say(oid::subjectInfoAccess, [&] { return c.subjectInfoAccess(); });
  say(oid::crlDistributionPoints, [&] { return c.crlDistributionPoints(); });
  say(oid::freshestCrl, [&] { return c.freshestCrl(); });
  say(oid::certificatePolicies, [&] { return c.policies(); });
  say(oid::policyMappings, [&] { return c.policyMappings(); });
  say(oid::policyConstraints, [&] { return c.policyConstraints(); });
  say(oid::inhibitAnyPolicy, [&] { return c.inhibitAnyPolicy(); });
  say(oid::nameConstraints, [&] { return c.nameConstraints(); });
  say(oid::signedTimestamps, [&] { return c.signedTimestamps(); });
  say(oid::tlsFeature, [&] { return c.tlsFeatures(); });
  say(oid::ocspNoCheck, [&] { return c.ocspNoCheck(); });
  say(oid::noRevAvail, [&] { return c.noRevocationAvailable(); });
}

}  // namespace velmora::test
