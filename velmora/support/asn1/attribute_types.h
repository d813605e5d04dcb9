#pragma once

// The attribute types of names, with what they are called wherever a name becomes text.

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>

#include "velmora/support/core/known_oids.h"

namespace velmora {

/// An attribute type. A text that it has not is empty.
struct AttributeType {
  KnownOid oid;                     // by which certificates know it
  std::string_view name;            // by which the standards know it
  std::string_view keyword;         // in the text of names: RFC 4514 §3, RFC 4519 §2, RFC 2985
  std::string_view shortName = {};  // in the texts of VelmoraX509
  std::string_view lowerName = {};  // the same with the option keyword "DN_Lowercase"
};

/// X.520, RFC 4519, RFC 2985, RFC 3739, CA/Browser Forum EV guidelines. Those with a short name
/// come first, and of them the ones that nearly every name holds, so that looking one up is short.
inline constexpr AttributeType kAttributeTypes[] = {
    {known_oid::commonName, "commonName", "CN", "CN", "cn"},
    {known_oid::organization, "organizationName", "O", "O", "o"},
    {known_oid::country, "countryName", "C", "C", "c"},
    {known_oid::organizationalUnit, "organizationalUnitName", "OU", "OU", "ou"},
    {known_oid::locality, "localityName", "L", "L", "l"},
    {known_oid::state, "stateOrProvinceName", "ST", "ST", "st"},
    {known_oid::emailAddress, "emailAddress", "emailAddress", "E", "e"},
    {known_oid::domainComponent, "domainComponent", "DC", "DC", "DC"},
    {known_oid::serialNumber, "serialNumber", "serialNumber", "SERIALNUMBER", "SERIALNUMBER"},
    {known_oid::organizationIdentifier, "organizationIdentifier", "", "OrganizationID",
     "OrganizationID"},
    {known_oid::surname, "surname", "SN", "SN", "sn"},
    {known_oid::givenName, "givenName", "givenName", "G", "g"},
    {known_oid::title, "title", "title", "Title", "Title"},
    {known_oid::street, "streetAddress", "STREET", "STREET", "street"},
    {"2.5.4.17", "postalCode", "postalCode", "PostalCode", "PostalCode"},
    {"2.5.4.15", "businessCategory", "businessCategory", "BusinessCategory", "BusinessCategory"},
    {"2.5.4.13", "description", "description", "Description", "Description"},
    {"2.5.4.14", "searchGuide", "searchGuide", "SearchGuide", "SearchGuide"},
    {"2.5.4.16", "postalAddress", "postalAddress", "PostalAddress", "PostalAddress"},
    {"2.5.4.18", "postOfficeBox", "postOfficeBox", "PostOfficeBox", "PostOfficeBox"},
    {"2.5.4.19", "physicalDeliveryOfficeName", "physicalDeliveryOfficeName",
     "PhysicalDeliveryOfficeName", "PhysicalDeliveryOfficeName"},
    {"2.5.4.20", "telephoneNumber", "telephoneNumber", "TelephoneNumber", "TelephoneNumber"},
    {"2.5.4.23", "facsimileTelephoneNumber", "facsimileTelephoneNumber", "FaxNumber", "FaxNumber"},

    {"2.5.4.21", "telexNumber", "telexNumber"},
    {"2.5.4.22", "teletexTerminalIdentifier", "teletexTerminalIdentifier"},
    {"2.5.4.24", "x121Address", "x121Address"},
    {"2.5.4.25", "internationalISDNNumber", "internationalISDNNumber"},
    {"2.5.4.26", "registeredAddress", "registeredAddress"},
    {"2.5.4.27", "destinationIndicator", "destinationIndicator"},
    {"2.5.4.28", "preferredDeliveryMethod", "preferredDeliveryMethod"},
    {"2.5.4.31", "member", "member"},
    {"2.5.4.32", "owner", "owner"},
    {"2.5.4.33", "roleOccupant", "roleOccupant"},
    {"2.5.4.34", "seeAlso", "seeAlso"},
    {"2.5.4.35", "userPassword", "userPassword"},
    {"2.5.4.41", "name", "name"},
    {"2.5.4.43", "initials", "initials"},
    {"2.5.4.44", "generationQualifier", "generationQualifier"},
    {"2.5.4.45", "uniqueIdentifier", "x500UniqueIdentifier"},
    {known_oid::dnQualifier, "dnQualifier", "dnQualifier"},
    {"2.5.4.47", "enhancedSearchGuide", "enhancedSearchGuide"},
    {"2.5.4.49", "distinguishedName", "distinguishedName"},
    {"2.5.4.50", "uniqueMember", "uniqueMember"},
    {"2.5.4.51", "houseIdentifier", "houseIdentifier"},
    {"2.5.4.65", "pseudonym", ""},
    {known_oid::userId, "userId", "UID"},
    {"1.2.840.113549.1.9.2", "unstructuredName", ""},
    {"1.2.840.113549.1.9.8", "unstructuredAddress", ""},
    {"1.3.6.1.4.1.311.60.2.1.1", "jurisdictionLocalityName", ""},
    {"1.3.6.1.4.1.311.60.2.1.2", "jurisdictionStateOrProvinceName", ""},
    {"1.3.6.1.4.1.311.60.2.1.3", "jurisdictionCountryName", ""},
    {"1.3.6.1.5.5.7.9.1", "dateOfBirth", ""},
    {"1.3.6.1.5.5.7.9.2", "placeOfBirth", ""},
    {"1.3.6.1.5.5.7.9.3", "gender", ""},
    {"1.3.6.1.5.5.7.9.4", "countryOfCitizenship", ""},
    {"1.3.6.1.5.5.7.9.5", "countryOfResidence", ""},
};

/// The type with these content octets (X.690 §8.19); null when it is not among them.
inline const AttributeType* findAttributeType(std::span<const unsigned char> content) noexcept {
  const auto* const found =
      std::find_if(std::begin(kAttributeTypes), std::end(kAttributeTypes),
                   [&](const AttributeType& known) { return known.oid.is(content); });
  return found != std::end(kAttributeTypes) ? found : nullptr;
}

}  // namespace velmora
