#pragma once

// The certificate as a tree of XML, with texts of its own: what this floor is for.

#include "velmora/support/core/arrays.h"
#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/text/x_string.h"
#include "velmora/support/time/velmora_sys_time.h"
#include "velmora/support/trust/system_certs.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

class _vmAsn1;

/// One X.509 certificate (RFC 5280): its DER as it was loaded, and an XML tree in which every ASN.1
/// element is one element (DerXmlCodec describes the form). Nearly every question is answered by a
/// path query on the tree, so that a strange field never fails the load and is met only by the one
/// who asks for it.
///
/// Counted: createOwnedX509 makes one together with its owner. Any thread may call any operation;
/// each member operation holds the object's re-entrant lock for its whole duration unless it says
/// otherwise. No exception leaves an operation. Operations report on the log they are given and
/// return whether they succeeded.
///
/// What each factory of counted objects hands out, and what it leaves to the caller:
///
///   VelmoraX509 createOwnedX509        count 1, the owner's; nothing
///   VelmoraX509 createNewX509          count 0; to count it (RefOwner::keep), or to delete it
///   VelmoraX509 getDnAsn,              count 1; to take it over (RefOwner), or to give it up
///     decodeCertificate,                 with decRefCount
///     _vmAsn1 DecodeToAsn_1Step,
///     DecodeToAsn, xml_to_asn,
///     XmlDocument create,
///     XmlParser parse
///   ClsXml createNewCls, newChild,     count 1; to take it over (_clsOwner), or to give it up
///     GetChild, getChildWithTagUtf8      with deleteSelf
///   VelmoraX509 loadX509_fromXml       count 1 each, the array's; nothing
///   VelmoraX509Holder getX509Ptr,      an object that somebody else keeps; to count what is to
///     getNthX509, getX509FromArray,      live longer (RefOwner::keep)
///     ExtPtrArrayRc elementAt,
///     _vmAsn1 getAsnPart
///
/// A VelmoraX509Holder is not counted itself and keeps one reference: createFromX509,
/// appendNewX509Holder and setX509 count one more, createFromDer holds the only one.
class VELMORA_API VelmoraX509 : public RefCountedObject {
 public:
  VelmoraX509();
  ~VelmoraX509() override;

  /// A new, empty certificate and its owner, which is empty when memory ran out for the object.
  /// Where it ran out for the tree alone, loading into the object fails.
  static RefOwner<VelmoraX509> createOwnedX509();

  /// The same with count 0 and no owner; null when memory ran out. A RefOwner made of the pointer
  /// alone would take over a reference that nobody counted.
  static VelmoraX509* createNewX509();

  // Loading.

  /// Loads `n` bytes of DER: one certificate, or a PKCS #7 SignedData bundle ("p7b", RFC 2315 §9.1;
  /// BER is understood). Of a bundle the first certificate becomes this object, and each, the first
  /// included, is handed in order to `store` when that is not null; one that cannot be encoded or
  /// kept is passed over. Any one element with members loads, whatever its tag, and is a bundle
  /// when the first of them is an OID; what the fields hold is not looked at. The certificates of a
  /// bundle are the members of the first context-specific member of what stands for the SignedData,
  /// so that a CRL of a bundle of CRLs alone ([1]) loads as if it were a certificate;
  /// CertificateReader refuses such a bundle.
  ///
  /// Empties the caches and replaces the stored DER by the bytes given before anything can fail.
  /// After a failure the object holds these bytes: with the tree of before when they are not BER,
  /// and with their own when they are an element without members or a bundle without a certificate.
  /// Where memory ran out it holds them with their own tree, or no bytes at all. Log context
  /// "loadX509DerAlt".
  bool loadX509DerAlt(const unsigned char* der, unsigned int n, SystemCerts* store, LogBase& log);

  /// The same with the bytes of a buffer and no store. Log context "loadX509Der".
  bool loadX509Der(DataBuffer& der, LogBase& log);

  /// Makes one certificate of each child of `xml` and appends it, counted once, to `out`: the first
  /// grandchild is the root of a certificate in the ASN.1 XML form. Its tree is made of the DER
  /// that this encodes to, so that getters and signatures speak of the same bytes. Stops at the
  /// first failure and keeps what was appended before; `xml` always ends on the element it started
  /// on. Null `xml` gives false, no children true. Takes no lock; `xml` belongs to the caller. Log
  /// context "loadX509_fromXml".
  static bool loadX509_fromXml(ClsXml* xml, ExtPtrArrayRc& out, LogBase& log);

  // Validity, version, serial number and algorithms (RFC 5280 §4.1). These open no log context, and
  // all but the two validity operations log nothing: a missing field is just false.

  /// The version as people count it, in decimal ("3"); `out` is emptied first. The hexadecimal
  /// digits of the field are read as if they were decimal, which makes no difference below 10.
  /// False for a certificate without the field, which is one of version 1 (§4.1.2.1).
  bool get_Version(XString& out, LogBase& log);

  /// Appends the serial number's octets in canonical hexadecimal: upper case, the sign octet kept
  /// (§4.1.2.2). `out` is not emptied.
  bool get_SerialNumber(XString& out, LogBase& log);

  /// Despite its name the certificate's serial number, not an attribute of the subject, in
  /// hexadecimal as the tree holds it. `out` is emptied first.
  bool get_SubjectSerial(XString& out, LogBase& log);

  /// The octets of signatureValue (§4.1.1.3), without the count of unused bits. `out` is emptied
  /// first.
  bool get_SignatureValue(DataBuffer& out, LogBase& log);

  /// Despite its name an OID, dotted: the signature algorithm inside tbsCertificate (§4.1.2.3).
  /// Replaces `out`, which stays as it was when the field is missing.
  bool get_Signature(XString& out, LogBase& log);

  /// The dotted OID of the outer signatureAlgorithm (§4.1.1.2). `out` is emptied first, outside the
  /// lock.
  bool get_SignatureAlgorithm(XString& out, LogBase& log);

  /// The dotted OID of the subject public key's algorithm (§4.1.2.7). `out` is emptied first,
  /// outside the lock.
  bool get_PublicKeyAlgorithm(XString& out, LogBase& log);

  /// Reads notBefore (`from` true) or notAfter (§4.1.2.5) into `t`. True when the field is a
  /// UTCTime or is carried as another universal type, as GeneralizedTime is, also when its text is
  /// no date: `t` then keeps its value. Errors "Unexpected date/time content." (with the data item
  /// "dateTimeXml") and "Failed to get X509 certificate Valid-From date/timme", the latter for
  /// either date.
  bool get_Valid_To_or_From_UTC(bool from, VelmoraSysTime& t, LogBase& log);

  /// True unless now lies inside the validity period: also before notBefore. A date that cannot be
  /// read counts as long past, so a certificate without a readable notAfter is expired, and one
  /// without a readable notBefore is judged by its notAfter alone. Reading dates takes no memory,
  /// so that running out of it cannot make a certificate valid.
  bool isCertExpired(LogBase& log);

  // Names as one line of text, such as "CN=host, O=Example, C=US". docs/formats.md lists the styles
  // and option keywords.

  /// Replaces `out` by the subject (`forSubject` true) or issuer name, RDNs in the certificate's
  /// order. `withNames` false gives the values alone. `nameStyle` 1 to 6 and 22 choose other
  /// attribute names, any other value the short ones. False when the name cannot be reached. Log
  /// context "dn_getDN".
  bool getDN(bool forSubject, bool withNames, XString& out, LogBase& log, int nameStyle);

  /// The same with the RDNs in reverse order; the order of its arguments differs from getDN's. Log
  /// context "dn_getDN_reverseOrder".
  bool getDN_reverseOrder(bool forSubject, bool withNames, int nameStyle, XString& out,
                          LogBase& log);

  /// Appends one RDN to `out`; `xml` stands on its "set" and returns to it, unless the RDN is
  /// malformed, which is an error on the log. Always false: the result carries no meaning. Takes no
  /// lock.
  static bool appendToDN(ClsXml& xml, bool withNames, int nameStyle, XString& out, LogBase& log);

  /// Appends one attribute to `out`, after a separator when `out` is not empty (" + " with
  /// `plusSeparator`, else a comma, followed by a space with `spaceAfterComma`); nothing, and true,
  /// for one without a value. `xml` stands on the attribute's "sequence" and returns to it, or to
  /// its parent when that has no members. False, with an error, when it does not start with an OID.
  /// Takes no lock.
  static bool appendToDN_inner(ClsXml& xml, bool withNames, int nameStyle, bool lowercase,
                               bool spaceAfterComma, bool plusSeparator, XString& out,
                               LogBase& log);

  // Outputs.

  /// The size of the stored DER in bytes; 0 before anything was loaded.
  int getCertDerSize();

  /// Appends the stored DER to `out`, which is not emptied: exactly as it was loaded, BER included,
  /// but as DerXmlCodec::xmlToDer encodes it for a certificate of a bundle or of XML.
  void getCertDer(DataBuffer& out);

  /// Replaces `out` by the ASN.1 XML of the whole certificate. The log is not written to.
  bool saveXml(XString& out, LogBase& log);
  /// The same as saveXml.
  bool getXml(XString& out, LogBase& log);

  /// Appends the 20 octets of the SHA-1 of the stored DER. The log is not written to.
  void get_Sha1Thumbprint(DataBuffer& out, LogBase& log);

  /// Appends the SHA-1 of the stored DER as 40 upper-case hexadecimal digits. The log is not
  /// written to.
  void get_Sha1ThumbprintX(XString& out, LogBase& log);

  /// Replaces `out` by the hash of the DER of tbsCertificate (RFC 5280 §4.1.1.3), with an algorithm
  /// of _vmHash. What is hashed is the parsed part encoded again; for DER these are the bytes that
  /// were signed. False, with `out` empty, when the stored bytes cannot be parsed or the algorithm
  /// is unknown. Log context "getCertHash".
  bool getCertHash(int hashAlg, DataBuffer& out, LogBase& log);

  // Attributes of the names (RFC 5280 §4.1.2.4 and §4.1.2.6, X.520).

  /// Replaces `value` by the first value of the attribute type `oid` (dotted) in the issuer name;
  /// where a name holds several attributes of the type, the first decides. What decides is the
  /// first OID of that text at any depth of the name, and a value beside it. Understood are
  /// PrintableString, UTF8String, IA5String and T61String, and as UTF-16 every type that the tree
  /// carries as "universal"; an odd last octet is dropped. False, with `value` empty and nothing
  /// logged, when there is none; with an error when the name cannot be reached.
  bool get_IssuerValue(const char* oid, XString& value, LogBase& log);

  /// The same for the subject name. A value that was read as UTF-16 is also logged as "bmpStr".
  bool get_SubjectValue(const char* oid, XString& value, LogBase& log);

  /// The whole subject (`forSubject` true) or issuer name as a new ASN.1 object, counted once for
  /// the caller, or null.
  _vmAsn1* getDnAsn(bool forSubject, LogBase& log);

  // One attribute. These take no lock of their own and pass on what get_IssuerValue and
  // get_SubjectValue give.

  /// get_IssuerValue of countryName (2.5.4.6).
  bool get_IssuerC(XString& value, LogBase& log);
  /// get_IssuerValue of stateOrProvinceName (2.5.4.8).
  bool get_IssuerS(XString& value, LogBase& log);
  /// get_IssuerValue of localityName (2.5.4.7).
  bool get_IssuerL(XString& value, LogBase& log);
  /// get_IssuerValue of organizationName (2.5.4.10).
  bool get_IssuerO(XString& value, LogBase& log);
  /// get_IssuerValue of organizationalUnitName (2.5.4.11).
  bool get_IssuerOU(XString& value, LogBase& log);
  /// get_IssuerValue of commonName (2.5.4.3).
  bool get_IssuerCN(XString& value, LogBase& log);
  /// get_IssuerValue of emailAddress (1.2.840.113549.1.9.1).
  bool get_IssuerE(XString& value, LogBase& log);
  /// The serialNumber attribute of the issuer name, not a certificate's serial number.
  bool get_IssuerSerial(XString& value, LogBase& log);
  /// get_SubjectValue of countryName (2.5.4.6).
  bool get_SubjectC(XString& value, LogBase& log);
  /// get_SubjectValue of stateOrProvinceName (2.5.4.8).
  bool get_SubjectS(XString& value, LogBase& log);
  /// get_SubjectValue of localityName (2.5.4.7).
  bool get_SubjectL(XString& value, LogBase& log);
  /// get_SubjectValue of organizationName (2.5.4.10).
  bool get_SubjectO(XString& value, LogBase& log);
  /// get_SubjectValue of organizationalUnitName (2.5.4.11).
  bool get_SubjectOU(XString& value, LogBase& log);
  /// get_SubjectValue of commonName (2.5.4.3).
  bool get_SubjectCN(XString& value, LogBase& log);
  /// get_SubjectValue of emailAddress (1.2.840.113549.1.9.1).
  bool get_SubjectE(XString& value, LogBase& log);

  // Names as JSON.

  /// Appends the members of a JSON object for the subject or issuer name, without braces: one pair
  /// for each RDN, last RDN first, of its first attribute alone. `nameStyle` 1, 2, 3 and 22 choose
  /// other keys. `out` is not emptied. False when the name cannot be reached. Log context
  /// "getDnJson".
  bool getDnJson(bool forSubject, StringBuffer& out, LogBase& log, int nameStyle);

  /// Appends the pair of one RDN, after a comma when `rdnIndex` is above 0; `xml` stands on its
  /// "set". Takes no lock. True, with nothing appended, for an attribute without a value; false,
  /// with an error and `xml` possibly moved, for what is no RDN.
  static bool appendToDnJson(ClsXml& xml, int rdnIndex, int nameStyle, StringBuffer& out,
                             LogBase& log);

  // Extensions (RFC 5280 §4.2). Nothing is logged for an extension that is not there; whether one
  // is critical makes no difference; of several with one OID the first counts.

  /// Replaces `out` by the octets inside the extnValue of the extension with the dotted OID.
  bool getExtensionDerDataByOid(const char* oid, DataBuffer& out, LogBase& log);
  /// The same.
  bool getExtensionDataByOid(const char* oid, DataBuffer& out, LogBase& log);
  /// Appends the same octets, as they are, to `out` as text; `out` is not emptied.
  bool getExtensionTextByOid(const char* oid, StringBuffer& out, LogBase& log);
  /// Replaces `out` by the ASN.1 XML of the extension value.
  bool getExtensionAsnXmlByOid(const char* oid, StringBuffer& out, LogBase& log);

  /// Replaces `out` by the subject key identifier (§4.2.1.2) in base64, or by the XML of an
  /// extension that is no OCTET STRING. Log context "getSubjectKeyIdentifier".
  bool getSubjectKeyIdentifier(StringBuffer& out, LogBase& log);

  /// Replaces `out` by the keyIdentifier of the authority key identifier (§4.2.1.1) in base64: the
  /// first primitive [0] at any depth of the extension, or the octets of one that is an OCTET
  /// STRING. False without these; the data item "authKeyIdXml" then shows an extension that is
  /// there. Log context "getAuthorityKeyIdentifier".
  bool getAuthorityKeyIdentifier(StringBuffer& out, LogBase& log);

  // Alternative names (RFC 5280 §4.2.1.6).

  /// Replaces `out` by a document "SubjectAltName" made of the general names that are the children
  /// of `node`; docs/formats.md describes it. Takes no lock; `node` returns to where it stood. Log
  /// context "generalizedNames".
  bool generalizedNamesXml(ClsXml& node, XString& out, LogBase& log);

  /// The same for the subject alternative names. Without that extension, or with one that is not
  /// BER, false, and the information line "Cert has no 2.5.29.17 extension.". Log context
  /// "getSubjectAlternativeNameXml".
  bool getSubjectAlternativeNameXml(XString& out, LogBase& log);

  /// Replaces `out` by the e-mail addresses and the DNS names of the subject alternative names, in
  /// their order, joined by commas. Log context "getRfc822Name".
  bool getRfc822Name(XString& out, LogBase& log);

  /// Replaces `out` by the e-mail address of the subject name or, without one, by what
  /// getRfc822Name gives. Always true; `out` is empty when there is no address.
  bool getEmailAddress(XString& out, LogBase& log);

  // The subject public key (RFC 5280 §4.1.2.7). None of these checks the key.

  /// Replaces `out` by the key in the form that loads and verifies: DSA and EC the DER of the
  /// SubjectPublicKeyInfo, every other the octets of the BIT STRING (RSA: the PKCS #1 RSAPublicKey;
  /// Ed25519: 32 bytes), which are cached. The algorithm 1.2.804.2.1.1.1.1.3.1.1 is refused with an
  /// error. Log context "x509_getPublicKey".
  bool get_PublicKey(DataBuffer& out, LogBase& log);

  /// The same in the form that an OCSP request hashes (RFC 6960 §4.1.1): of an EC key the point. A
  /// DSA key stays a SubjectPublicKeyInfo here as well, which is not what is hashed. Log context
  /// "get_PublicKeyForOCSP".
  bool get_PublicKeyForOCSP(DataBuffer& out, LogBase& log);

  /// Replaces `out` by the ASN.1 XML of the SubjectPublicKeyInfo.
  bool get_PublicKeyXml(StringBuffer& out, LogBase& log);

  /// Replaces `out` by the 64-bit key identifier as 16 hexadecimal digits. Computed on every call.
  /// Log context "x509GetKeyModulus".
  bool getVelmoraKeyId64(StringBuffer& out, LogBase& log);

  // Pins (RFC 7469 §2.4).

  /// Appends the digest of the SubjectPublicKeyInfo to `out`, as text. Hash names as
  /// _vmHash::hashId, encodings as DataBuffer::encodeDB understands them; an unknown hash gives an
  /// empty digest, an unknown encoding false. Log context "getSpkiFingerprint".
  bool getSpkiFingerprint(const StringBuffer& hashAlg, const StringBuffer& encoding, XString& out,
                          LogBase& log);

  /// True when the certificate's key is one of a pin set: "hash, encoding, pin, pin, ...". Log
  /// context "matchesPinSet".
  bool matchesPinSet(XString& pinSet, LogBase& log);

  // The summary.

  /// Appends a readable summary of the certificate to the element `root`; docs/formats.md describes
  /// it. False when an element could not be made or the public key has no XML; the other elements
  /// are written all the same in the latter case. Log context "x509ToXmlInfo".
  bool toXmlInfo(ClsXml& root, LogBase& log);

  // Issuers. Nothing here looks at a signature, and nothing is logged but by the getters: what
  // cannot be read counts as empty.

  /// True when the issuer name renders to the same text as the subject name (getDN without names),
  /// letter case included. What is compared are the values alone, one behind the other: types of
  /// attributes and of strings and the borders of RDNs make no difference, CN=a and O=a are the
  /// same name, and so are two names that are empty or cannot be read. Key identifiers are not
  /// looked at.
  bool isIssuerSelf(LogBase& log);

  /// True when `issuer` is to be taken for this certificate's issuer. When this one has an
  /// authority and that one a subject key identifier, these alone decide. Otherwise the issuer's
  /// common name has to be the other's subject common name, where two that are missing are the
  /// same, and an attribute serialNumber (2.5.4.5) in this one's issuer name has to be the other's
  /// certificate serial number. Takes no lock of its own: the two certificates are locked in turn,
  /// never both.
  bool isIssuedBy(VelmoraX509& issuer, LogBase& log);

  /// True when the serial number is `serialHex`, in any form that canonicalizeHexString brings to
  /// its own, and the issuer's common name is `issuerCn` (UTF-8), letter case included.
  bool matchesIssuerCnAndSerial(const char* issuerCn, const char* serialHex, LogBase& log);

  // Signatures (RFC 5280 §4.1.1.3).

  /// True when the signature was made with the key of `issuer`. When this certificate's names are
  /// the same (isIssuerSelf), null stands for this certificate itself, and it has to be a trusted
  /// root of the default set of TrustedRoots as well: of one that is trusted explicitly the public
  /// key has to be that of the registered root. Nothing else of a chain is looked at: neither
  /// isIssuedBy, nor dates, nor extensions.
  ///
  /// An issuer that is given is taken at its word, for a certificate with two equal names too: what
  /// is true then is that the issuer's key signed it and that a root of its name and serial number
  /// is trusted, and not that it is signed with its own key. Pass null to ask whether a certificate
  /// is a trusted root.
  ///
  /// RSA (PKCS #1 v1.5 and RSASSA-PSS, RFC 8017), DSA, ECDSA (FIPS 186-4) and Ed25519 (RFC 8032);
  /// the key's kind chooses between them, and the OID of the outer signatureAlgorithm only the hash
  /// or the scheme of it. False, with an error, for everything that fails. Log context
  /// "verifyX509CertSignature".
  ///
  /// Lenient on purpose: an unknown hash in a DigestInfo is tried as SHA-1, and its digest may lack
  /// leading zeros; RSASSA-PSS parameters that cannot be read stand for SHA-1, after an error;
  /// other OIDs stand for SHA-1 with DSA and for SHA-256 with ECDSA; of a longer Ed25519 signature
  /// 64 octets count; the algorithm named inside tbsCertificate is never compared. A certificate
  /// whose first part is no SEQUENCE is refused, since its fields would not be those signed.
  ///
  /// Holds this certificate's lock, and takes the issuer's for single questions: always the subject
  /// first. Certificates that certify each other, two or more in a ring, must therefore not be
  /// verified against each other by several threads at once.
  bool verifyCertSignature(VelmoraX509* issuer, LogBase& log);

 private:
  bool compareNames(bool& same, LogBase& log);
  bool encodeSpki(DataBuffer& out, LogBase& log);
  bool readPublicKey(bool forOcsp, DataBuffer& out, LogBase& log);
  bool getKeyBits(DataBuffer& out);
  bool getEcPoint(DataBuffer& out, LogBase& log);
  bool fillSpkiDer(LogBase& log);
  bool loadBundle(SystemCerts* store, LogBase& log);
  bool becomeFirstOfBundle(SystemCerts* store, LogBase& log);
  static bool appendFromXml(ClsXml& root, StringBuffer& scratch, ExtPtrArrayRc& out, LogBase& log);

  DataBuffer m_publicKeyDer;  // cache, emptied on load
  // When not empty, it is given out in place of a computed identifier; emptied on load. Nothing
  // fills it, on purpose: the identifier is computed on every call.
  StringBuffer m_keyId64;
  DataBuffer m_spkiDer;         // cache, emptied on load
  DataBuffer m_certDer;         // exactly as loaded or, of a bundle or of XML, as encoded
  ClsXml* m_certXml = nullptr;  // owned; on the root between operations
};

/// Owner of one counted reference to a certificate: the element type of certificate arrays
/// (ExtPtrArray). It has no lock of its own. Deleted with VelmoraObject::deleteObject.
class VELMORA_API VelmoraX509Holder : public NonRefCountedObj {
 public:
  /// Holds a new, empty certificate (none when memory ran out).
  VelmoraX509Holder();
  ~VelmoraX509Holder() override;

  /// The certificate, its count unchanged; it lives as long as the holder keeps it.
  VelmoraX509* getX509Ptr() { return m_x509; }

  /// Keeps `x` in place of the certificate held now. Null changes nothing.
  void setX509(VelmoraX509* x);

  /// The certificate of the i-th holder of an array of holders, its count unchanged; null past the
  /// end.
  static VelmoraX509* getNthX509(ExtPtrArray& a, int i);
  /// The same.
  static VelmoraX509* getX509FromArray(ExtPtrArray& a, unsigned int i) {
    return getNthX509(a, static_cast<int>(i));
  }

  /// A new holder that keeps `x`, for the caller to delete; null when `x` is null or memory ran
  /// out.
  static VelmoraX509Holder* createFromX509(VelmoraX509* x, LogBase& log);

  /// Appends a new holder that keeps `x` to an array of holders.
  static bool appendNewX509Holder(VelmoraX509* x, ExtPtrArray& a, LogBase& log);

  /// A new holder of a certificate loaded from `n` bytes (VelmoraX509::loadX509DerAlt without a
  /// store), for the caller to delete; null when that fails.
  static VelmoraX509Holder* createFromDer(const unsigned char* der, unsigned int n, LogBase& log);

 private:
  VelmoraX509* m_x509 = nullptr;
};

}  // namespace velmora
