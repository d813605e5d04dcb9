#include "velmora/x509/internal/signature_algorithms.h"

#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/core/known_oids.h"
#include "velmora/support/key/dsa.h"
#include "velmora/support/key/ed25519.h"
#include "velmora/support/log/refuse.h"

namespace velmora {
namespace {

constexpr unsigned char kSequence = 0x30;  // the first octet of a SEQUENCE in DER

unsigned sizeOf(const DataBuffer& bytes) {
  return static_cast<unsigned>(bytes.size());
}

void hashToBeSigned(const CertificateSignature& parts, int hashId, DataBuffer& hash) {
  _vmHash::doHash(parts.toBeSigned.data(), sizeOf(parts.toBeSigned), hashId, hash);
}

// The OID that an AlgorithmIdentifier starts with; `oid` stays empty when it does not.
void readAlgorithmOid(_vmAsn1& algorithm, StringBuffer& oid) {
  if (const _vmAsn1* first = algorithm.getAsnPart(0)) first->GetOid(oid);
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
void readSignatureAlgorithm(_vmAsn1& algorithm, CertificateSignature& parts, LogBase& log) {
  algorithm.DecodeInner(true, log);
  readAlgorithmOid(algorithm, parts.algorithmOid);
  if (parts.algorithmOid.isEmpty()) return;
  if (parts.algorithmOid.equals(known_oid::rsassaPss.dotted())) {
    parts.padding = RsaPrimitive::kPaddingPss;
    // The parser fills in numbers of its own; only the hash has a use here. Without parameters that
    // can be read the signature gets its chance with the default of the standard, SHA-1.
    int maskHashId = _vmHash::kSha1;
    int saltLength = 32;
    if (!_vmAsn1::parseRsaSsaPssParams(algorithm, parts.pssHashId, maskHashId, saltLength, log)) {
      log.LogError("Failed to parse RSASSA-PSS params.");
    }
  }
  if (log.m_verbose) log.LogDataSb("CertSignatureAlgorithmOid", parts.algorithmOid);
}

// Certificate ::= SEQUENCE { tbsCertificate TBSCertificate,
//   signatureAlgorithm AlgorithmIdentifier, signatureValue BIT STRING }
void readParts(_vmAsn1& certificate, CertificateSignature& parts, LogBase& log) {
  if (_vmAsn1* tbsCertificate = certificate.getAsnPart(0)) {
    tbsCertificate->EncodeToDer(parts.toBeSigned, false, log);
    // The fields are read from the first SEQUENCE. Were something else in front of it, any other
    // data that the issuer has signed, fields that nobody signed would pass for signed ones.
    if (!parts.toBeSigned.empty() && parts.toBeSigned.data()[0] != kSequence) {
      parts.toBeSigned.clear();
    }
  }
  if (const _vmAsn1* signature = certificate.getAsnPart(2))
    signature->getBitString(parts.signature);
  if (_vmAsn1* algorithm = certificate.getAsnPart(1))
    readSignatureAlgorithm(*algorithm, parts, log);
}

// All that is missing is reported.
bool hasAllParts(const CertificateSignature& parts, LogBase& log) {
  if (parts.toBeSigned.empty()) log.LogError("Failed to get certificate DER.");
  if (parts.signature.empty()) log.LogError("Failed to get signature bytes.");
  if (parts.algorithmOid.isEmpty()) return refuse("Failed to get signature algorithm OID.", log);
  return !parts.toBeSigned.empty() && !parts.signature.empty();
}

bool verifyDsa(const CertificateSignature& parts, const DsaKeyData& key, LogBase& log) {
  // Every other OID, known or not, is taken for dsa-with-sha1.
  const bool isSha256 = parts.algorithmOid.equals(known_oid::dsaWithSha256.dotted());
  DataBuffer hash;
  hashToBeSigned(parts, isSha256 ? _vmHash::kSha256 : _vmHash::kSha1, hash);
  bool valid = false;
  if (!DsaPrimitive::verify_hash(parts.signature.data(), sizeOf(parts.signature), hash.data(),
                                 sizeOf(hash), key, valid, log)) {
    return refuse("Failed to verify DSA signature.", log);
  }
  if (!valid) return refuse("DSA signature is invalid.", log);
  if (log.m_verbose) log.LogInfo("DSA signature verified.");
  return true;
}

// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
void readDigestInfo(_vmAsn1& info, StringBuffer& hashOid, DataBuffer& digest) {
  if (const _vmAsn1* octets = info.getAsnPart(1)) octets->getAsnContent(digest);
  if (_vmAsn1* algorithm = info.getAsnPart(0)) readAlgorithmOid(*algorithm, hashOid);
}

bool refuseDigestInfo(const DataBuffer& digestInfo, LogBase& log) {
  log.LogError("Failed to get digest and/or hash algorithm.");
  StringBuffer xml;
  DerXmlCodec::derToXml(digestInfo, false, true, xml, nullptr, log);
  log.LogDataSb("SignatureAsn", xml);
  return false;
}

// Whether the digest that was signed is that of the certificate.
bool digestMatches(const CertificateSignature& parts, const StringBuffer& hashOid,
                   DataBuffer& digest, LogBase& log) {
  const int hashId = _vmHash::oidToHashAlg(hashOid);
  DataBuffer hash;
  // What is not known is tried as SHA-1, which goes by more OIDs than one. That this lets no
  // forgery pass rests on kMaxHashOidSize.
  hashToBeSigned(parts, hashId != _vmHash::kUnknown ? hashId : _vmHash::kSha1, hash);
  // A digest that was encoded as a number lacks its leading zeros.
  const unsigned char zero = 0;
  while (hash.size() > digest.size() && digest.prepend(&zero, 1)) {
  }
  const bool valid = hash.equals(digest);
  if (log.m_verbose) log.LogDataLong("signatureVerified", valid ? 1 : 0);
  if (valid) return true;
  log.LogDataHex("computedHash", hash.data(), hash.size());
  log.LogDataHex("embeddedHash", digest.data(), digest.size());
  return refuse("Failed to verify certificate's signature.", log);
}

bool verifyDigestInfo(const CertificateSignature& parts, const DataBuffer& digestInfo,
                      LogBase& log) {
  unsigned consumed = 0;
  const RefOwner<_vmAsn1> info(
      _vmAsn1::DecodeToAsn(digestInfo.data(), sizeOf(digestInfo), consumed, log));
  if (!info) return refuse("Failed to decode signature ASN.1.", log);
  StringBuffer hashOid;
  DataBuffer digest;
  readDigestInfo(*info, hashOid, digest);
  if (hashOid.isEmpty() || digest.empty()) return refuseDigestInfo(digestInfo, log);
  if (log.m_verbose) log.LogDataSb("HashAlgorithmOid", hashOid);
  return digestMatches(parts, hashOid, digest, log);
}

bool verifyRsa(const CertificateSignature& parts, const RsaKeyData& key, LogBase& log) {
  const bool isPss = parts.padding == RsaPrimitive::kPaddingPss;
  DataBuffer hash;
  if (isPss) hashToBeSigned(parts, parts.pssHashId, hash);
  DataBuffer digestInfo;
  if (!RsaPrimitive::unsignSslSig(parts.signature.data(), sizeOf(parts.signature), hash.data(),
                                  sizeOf(hash), key, parts.padding, parts.pssHashId, digestInfo,
                                  log)) {
    return refuse("Failed to unsign certificate signature.", log);
  }
  return isPss || verifyDigestInfo(parts, digestInfo, log);
}

int ecdsaHashId(const StringBuffer& algorithmOid) {
  if (algorithmOid.equals(known_oid::ecdsaWithSha1.dotted())) return _vmHash::kSha1;
  if (algorithmOid.equals(known_oid::ecdsaWithSha384.dotted())) return _vmHash::kSha384;
  if (algorithmOid.equals(known_oid::ecdsaWithSha512.dotted())) return _vmHash::kSha512;
  return _vmHash::kSha256;  // also for ecdsa-with-SHA224, which no signature then matches
}

bool verifyEcc(const CertificateSignature& parts, const EccKeyData& key, LogBase& log) {
  log.LogDataLong("modulusBitLen", key.get_ModulusBitLen());
  DataBuffer hash;
  hashToBeSigned(parts, ecdsaHashId(parts.algorithmOid), hash);
  bool valid = false;
  if (!key.eccVerifyHash(parts.signature.data(), sizeOf(parts.signature), false, hash.data(),
                         sizeOf(hash), valid, log, 0)) {
    return refuse("Failed to verify ECC signature.", log);
  }
  if (!valid) return refuse("x509 ECC signature is invalid.", log);
  if (log.m_verbose) log.LogInfo("ECC signature verified.");
  return true;
}

bool verifyEd25519(const CertificateSignature& parts, const Ed25519KeyData& key, LogBase& log) {
  // The primitive reads 64 octets, whatever follows them; fewer are no signature of anything.
  const bool valid =
      parts.signature.size() >= Ed25519Primitive::kSignatureSize &&
      Ed25519Primitive::verifyDetached(parts.signature.data(), parts.toBeSigned.data(),
                                       parts.toBeSigned.size(), key, log);
  if (!valid) return refuse("Ed25519 signature does not match.", log);
  // The text is part of the interface, its own style included.
  if (log.m_verbose) log.LogInfo("ed25519 signature is valid");
  return true;
}

}  // namespace

_vmAsn1* decodeCertificate(const DataBuffer& der, LogBase& log) {
  RefOwner<_vmAsn1> certificate(_vmAsn1::DecodeToAsn_1Step(der.data(), sizeOf(der), log));
  if (!certificate) {
    log.LogError("Failed to ASN decode certificate DER.");
    return nullptr;
  }
  if (!certificate->DecodeInner(false, log)) {
    log.LogError("Failed to decode inner ASN for cert signature verification.");
    return nullptr;
  }
  return certificate.release();
}

bool readCertificateSignature(const DataBuffer& der, CertificateSignature& parts, LogBase& log) {
  const RefOwner<_vmAsn1> certificate(decodeCertificate(der, log));
  if (!certificate) return false;
  readParts(*certificate, parts, log);
  return hasAllParts(parts, log);
}

bool loadIssuerKey(const CertificateSignature& parts, const DataBuffer& keyBytes, _vmPublicKey& key,
                   LogBase& log) {
  if (!parts.algorithmOid.equals(known_oid::ed25519.dotted())) {
    return key.loadAnyDer(keyBytes, log) || refuse("Invalid DER public key.", log);
  }
  if (keyBytes.size() != Ed25519KeyData::kKeySize) {
    log.LogError("The ed25519 public key must be 32 bytes in length.");
    log.LogDataLong("pubKeyLen", static_cast<int64_t>(keyBytes.size()));
    return false;
  }
  key.loadEd25519Public(keyBytes.data(), nullptr);
  return true;
}

bool verifyWithKey(const CertificateSignature& parts, _vmPublicKey& key, LogBase& log) {
  if (const DsaKeyData* dsa = key.getDsaKey()) return verifyDsa(parts, *dsa, log);
  if (const RsaKeyData* rsa = key.getRsaKey()) return verifyRsa(parts, *rsa, log);
  if (const EccKeyData* ecc = key.getEccKey()) return verifyEcc(parts, *ecc, log);
  if (const Ed25519KeyData* ed25519 = key.getEd25519Key()) {
    return verifyEd25519(parts, *ed25519, log);
  }
  return refuse("Unrecognized public key type.", log);
}

}  // namespace velmora
