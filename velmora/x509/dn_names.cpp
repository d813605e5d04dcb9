#include "velmora/x509/internal/dn_names.h"

#include <algorithm>
#include <iterator>

#include "velmora/support/asn1/attribute_types.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/encoding_convert.h"

namespace velmora {
namespace {

constexpr DnNameForm S = DnNameForm::kShort;
constexpr DnNameForm A = DnNameForm::kAbbreviated;
constexpr DnNameForm P = DnNameForm::kPrefixedOid;
constexpr DnNameForm H = DnNameForm::kPrefixedOidHex;
constexpr DnNameForm X = DnNameForm::kOidHex;

// One column for each style. That style 4 leaves the e-mail address alone, and that style 5 changes
// the organization identifier only, is part of the interface.
// clang-format off
//                                       0  1  2  3  4  5  6  22
constexpr DnAttribute::Forms kNamed   = {S, S, S, S, S, S, S, S};
constexpr DnAttribute::Forms kEmail   = {S, X, H, S, S, S, S, P};
constexpr DnAttribute::Forms kSerial  = {S, X, H, S, X, S, S, P};
constexpr DnAttribute::Forms kTitle   = {S, X, H, A, X, S, A, P};
constexpr DnAttribute::Forms kOrgId   = {S, X, H, S, X, P, S, P};
constexpr DnAttribute::Forms kUnknown = {P, X, P, P, P, P, P, P};
// clang-format on

struct OwnForms {
  KnownOid oid;
  DnAttribute::Forms forms;
};

constexpr OwnForms kOwnForms[] = {
    {known_oid::emailAddress, kEmail},
    {known_oid::serialNumber, kSerial},
    {known_oid::title, kTitle},
    {known_oid::organizationIdentifier, kOrgId},
};

constexpr DnAttribute::Forms formsOf(const KnownOid& type) {
  for (const OwnForms& own : kOwnForms) {
    if (type.is(own.oid.octets())) return own.forms;
  }
  return kNamed;
}

constexpr bool hasShortName(const AttributeType& type) {
  return !type.shortName.empty();
}

constexpr auto kAttributes = [] {
  constexpr auto kCount =
      std::count_if(std::begin(kAttributeTypes), std::end(kAttributeTypes), hasShortName);
  std::array<DnAttribute, static_cast<size_t>(kCount)> attributes{};
  auto* to = attributes.begin();
  for (const AttributeType& type : kAttributeTypes) {
    if (!hasShortName(type)) continue;
    *to++ = {type.oid.dotted(), type.shortName, type.lowerName, formsOf(type.oid)};
  }
  return attributes;
}();

constexpr DnAttribute kUnknownAttribute = {"", "", "", kUnknown};

// Only title has an abbreviation.
constexpr std::string_view kTitleAbbreviation = "T";
constexpr std::string_view kOidPrefix = "OID.";

void appendHexOfDer(ClsXml& value, StringBuffer& out, LogBase& log) {
  DataBuffer der;
  out.appendChar('#');
  // A value that is no ASN.1 element, which no certificate has, leaves the "#" alone.
  DerXmlCodec::xmlToDer(value, der, log);
  if (der.failed()) out.markFailed();
  der.encodeDB("hexlower", out);
}

void appendUtf16(std::string_view base64, StringBuffer& out, LogBase& log) {
  constexpr int kUtf16BigEndian = 1201;
  constexpr int kUtf8 = 65001;
  DataBuffer utf16;
  utf16.appendEncoded(base64, "base64");
  if (utf16.failed()) out.markFailed();  // a text that lacks a value must not pass for a whole one
  DataBuffer utf8;
  EncodingConvert::EncConvert(kUtf16BigEndian, kUtf8, utf16.data(),
                              static_cast<unsigned int>(utf16.size()), utf8, log);
  out.append(utf8);
}

}  // namespace

DnNameForm DnAttribute::form(int nameStyle) const noexcept {
  if (nameStyle == 22) return forms[7];
  return forms[nameStyle >= 1 && nameStyle <= 6 ? static_cast<size_t>(nameStyle) : 0];
}

const DnAttribute& findDnAttribute(std::string_view oid) noexcept {
  for (const DnAttribute& attribute : kAttributes) {
    if (attribute.oid == oid) return attribute;
  }
  return kUnknownAttribute;
}

DnAttributeName dnAttributeName(const DnAttribute& attribute, DnNameForm form, bool lowercase,
                                std::string_view oid) noexcept {
  switch (form) {
    case DnNameForm::kAbbreviated:
      return {"", kTitleAbbreviation, false};
    case DnNameForm::kPrefixedOid:
      return {kOidPrefix, oid, false};
    case DnNameForm::kPrefixedOidHex:
      return {kOidPrefix, oid, true};
    case DnNameForm::kOidHex:
      return {"", oid, true};
    default:
      return {"", lowercase ? attribute.lowerName : attribute.name, false};
  }
}

void appendDnValue(ClsXml& value, bool hexValue, StringBuffer& out, LogBase& log) {
  if (hexValue) {
    appendHexOfDer(value, out, log);
  } else if (hasTag(value, XmlName::kUniversal)) {
    appendUtf16(value.contentView(), out, log);
  } else {
    out.append(value.contentView());
  }
}

}  // namespace velmora
