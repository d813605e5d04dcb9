#pragma once

// The ASN.1 XML form as tables that both directions of DerXmlCodec read: which universal type has
// which element, and how that shows the contents. Internal to the ASN.1 floor.

#include <array>
#include <cstdint>
#include <string_view>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/xml/xml_names.h"

namespace velmora {

enum class Asn1Content : uint8_t {
  kMembers,   // child elements
  kHex,       // all octets in hexadecimal
  kBits,      // the octets behind the count of unused bits in hexadecimal
  kBase64,    // all octets in base64
  kOid,       // dotted decimal
  kLatin1,    // octets as U+0000 to U+00FF
  kUtf8,      // UTF-8, or with a mark the line above
  kNumbered,  // members or base64, by the attribute "constructed"
};

struct Asn1XmlForm {
  XmlName name = XmlName::kUniversal;
  std::string_view text;  // the name
  Asn1Content content = Asn1Content::kNumbered;
  Asn1Class tagClass = Asn1Class::kUniversal;
  uint32_t tagNumber = 0;  // of a universal type with an element of its own, else 0
};

inline constexpr Asn1XmlForm kUniversalForm = {.text = "universal"};
inline constexpr Asn1XmlForm kApplicationForm = {
    XmlName::kApplication, "application", Asn1Content::kNumbered, Asn1Class::kApplication, 0};
inline constexpr Asn1XmlForm kContextForm = {XmlName::kContextSpecific, "contextSpecific",
                                             Asn1Content::kNumbered, Asn1Class::kContextSpecific,
                                             0};
inline constexpr Asn1XmlForm kPrivateForm = {XmlName::kPrivate, "private", Asn1Content::kNumbered,
                                             Asn1Class::kPrivate, 0};

constexpr Asn1XmlForm universalForm(XmlName name, std::string_view text, Asn1Content content,
                                    uint32_t tagNumber) noexcept {
  return {name, text, content, Asn1Class::kUniversal, tagNumber};
}

/// By tag class; the universal entry is for types without an element of their own.
inline constexpr std::array<Asn1XmlForm, 4> kNumberedForms = {kUniversalForm, kApplicationForm,
                                                              kContextForm, kPrivateForm};

/// The universal types with an element of their own.
inline constexpr Asn1XmlForm kOwnForms[] = {
    universalForm(XmlName::kBool, "bool", Asn1Content::kHex, asn1_tag::kBoolean),
    universalForm(XmlName::kInt, "int", Asn1Content::kHex, asn1_tag::kInteger),
    universalForm(XmlName::kBits, "bits", Asn1Content::kBits, asn1_tag::kBitString),
    universalForm(XmlName::kOctets, "octets", Asn1Content::kBase64, asn1_tag::kOctetString),
    universalForm(XmlName::kNull, "null", Asn1Content::kHex, asn1_tag::kNull),
    universalForm(XmlName::kOid, "oid", Asn1Content::kOid, asn1_tag::kOid),
    universalForm(XmlName::kEnumerated, "enumerated", Asn1Content::kHex, asn1_tag::kEnumerated),
    universalForm(XmlName::kUtf8, "utf8", Asn1Content::kUtf8, asn1_tag::kUtf8String),
    universalForm(XmlName::kSequence, "sequence", Asn1Content::kMembers, asn1_tag::kSequence),
    universalForm(XmlName::kSet, "set", Asn1Content::kMembers, asn1_tag::kSet),
    universalForm(XmlName::kPrintable, "printable", Asn1Content::kLatin1,
                  asn1_tag::kPrintableString),
    universalForm(XmlName::kT61, "t61", Asn1Content::kLatin1, asn1_tag::kT61String),
    universalForm(XmlName::kIa5, "ia5", Asn1Content::kLatin1, asn1_tag::kIa5String),
    universalForm(XmlName::kUtcTime, "utctime", Asn1Content::kLatin1, asn1_tag::kUtcTime),
};

/// The most bits that may be unused in the last octet of a BIT STRING.
inline constexpr unsigned kMaxUnusedBits = 7;

}  // namespace velmora
