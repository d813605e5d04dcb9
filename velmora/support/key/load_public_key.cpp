#include <algorithm>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/key/vm_public_key.h"
#include "velmora/support/log/refuse.h"

namespace velmora {
namespace {

using Octets = std::span<const unsigned char>;

constexpr unsigned char kRsaOid[] = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                     0x0D, 0x01, 0x01, 0x01};  // 1.2.840.113549.1.1.1
constexpr unsigned char kRsaPssOid[] = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                        0x0D, 0x01, 0x01, 0x0A};  // 1.2.840.113549.1.1.10
constexpr unsigned char kDsaOid[] = {0x2A, 0x86, 0x48, 0xCE,
                                     0x38, 0x04, 0x01};                         // 1.2.840.10040.4.1
constexpr unsigned char kEcOid[] = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x02, 0x01};  // 1.2.840.10045.2.1
constexpr unsigned char kEd25519Oid[] = {0x2B, 0x65, 0x70};                     // 1.3.101.112

constexpr unsigned char kNullElement[] = {0x05, 0x00};

bool is(Octets octets, Octets expected) {
  return std::equal(octets.begin(), octets.end(), expected.begin(), expected.end());
}

bool takeWhole(DerReader& der, Octets& element) {
  Asn1Element any;
  if (!der.takeAny(any)) return false;
  element = octetsOf(any.whole);
  return true;
}

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
// AlgorithmIdentifier  ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
// `parameters` becomes a whole element, or empty.
bool readAlgorithm(DerReader& algorithm, Octets& oid, Octets& parameters) {
  parameters = {};
  return algorithm.take(asn1_tag::kOid, oid) &&
         (algorithm.atEnd() || takeWhole(algorithm, parameters)) && algorithm.atEnd();
}

}  // namespace

bool _vmPublicKey::loadInfo(Octets der, LogBase& log) {
  DerReader whole(der);
  DerReader members;
  if (!whole.takeSequence(members) || !whole.atEnd()) {
    return refuse("The public key is not the DER of one SEQUENCE.", log);
  }
  DerReader algorithm;
  if (!members.takeSequence(algorithm)) return loadRsa(der, log);
  Octets oid, parameters, bits;
  if (!readAlgorithm(algorithm, oid, parameters) || !members.takeOctetBits(bits) ||
      !members.atEnd()) {
    return refuse("The SubjectPublicKeyInfo is malformed.", log);
  }
  return loadByOid(oid, parameters, bits, log);
}

bool _vmPublicKey::loadByOid(Octets oid, Octets parameters, Octets bits, LogBase& log) {
  if (is(oid, kRsaOid)) {
    if (!parameters.empty() && !is(parameters, kNullElement)) {
      return refuse("The parameters of the RSA key are not NULL.", log);
    }
    return loadRsa(bits, log);
  }
  // What the parameters of an id-RSASSA-PSS key restrict is a matter of the signature's algorithm,
  // which is not known here.
  if (is(oid, kRsaPssOid)) return loadRsa(bits, log);
  if (is(oid, kDsaOid)) return loadDsa(parameters, bits, log);
  if (is(oid, kEcOid)) return loadEcc(parameters, bits, log);
  if (!is(oid, kEd25519Oid)) return refuse("The algorithm of the public key is not known.", log);
  if (!parameters.empty()) return refuse("The Ed25519 key has parameters.", log);
  return loadEd25519(bits, log);
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER } (RFC 8017 §A.1.1)
bool _vmPublicKey::loadRsa(Octets pkcs1, LogBase& log) {
  DerReader der(pkcs1);
  DerReader members;
  Octets modulus, exponent;
  if (!der.takeSequence(members) || !der.atEnd() || !members.takePositive(modulus) ||
      !members.takePositive(exponent) || !members.atEnd()) {
    return refuse("The RSA key is not the DER of two positive integers.", log);
  }
  m_keyBits.append(pkcs1);
  return m_key.emplace<RsaKeyData>(m_path).assign(modulus, exponent, log);
}

// Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }; the key is the INTEGER y
// (RFC 3279 §2.3.2). Parameters taken over from the issuer's key are not supported.
bool _vmPublicKey::loadDsa(Octets parameters, Octets bits, LogBase& log) {
  if (parameters.empty()) return refuse("The DSA key has no parameters.", log);
  DerReader parametersDer(parameters);
  DerReader members;
  DsaKeyData::Numbers numbers;
  if (!parametersDer.takeSequence(members) || !members.takePositive(numbers.p) ||
      !members.takePositive(numbers.q) || !members.takePositive(numbers.g) || !members.atEnd()) {
    return refuse("The parameters of the DSA key are not the DER of three positive integers.", log);
  }
  DerReader key(bits);
  if (!key.takePositive(numbers.y) || !key.atEnd()) {
    return refuse("The DSA key is not the DER of one positive integer.", log);
  }
  m_keyBits.append(bits);
  return m_key.emplace<DsaKeyData>(m_path).assign(numbers, log);
}

// ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER } (RFC 5480 §2.1.1). Curves given by
// explicit parameters are refused: a forged curve can make any signature valid.
bool _vmPublicKey::loadEcc(Octets parameters, Octets bits, LogBase& log) {
  DerReader der(parameters);
  Octets curveOid;
  if (!der.take(asn1_tag::kOid, curveOid)) {
    return refuse("The EC key does not name its curve.", log);
  }
  m_keyBits.append(bits);
  return m_key.emplace<EccKeyData>(m_path).assign(curveOid, bits, log);
}

bool _vmPublicKey::loadEd25519(Octets bits, LogBase& log) {
  if (bits.size() != Ed25519KeyData::kKeySize) {
    return refuse("The Ed25519 key has not 32 octets.", log);
  }
  m_keyBits.append(bits);
  return m_key.emplace<Ed25519KeyData>(m_path).assign(bits.data()) ||
         refuse("The Ed25519 key is not a point, or one of small order.", log);
}

}  // namespace velmora
