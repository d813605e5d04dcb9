#include "velmora/certificate/internal/attribute_keywords.h"

#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/oid.h"
#include "velmora/support/text/ascii.h"

namespace velmora {
namespace {

struct Keyword {
  Oid type;
  std::string_view text;
};

constexpr Keyword kKeywords[] = {
    // RFC 4514 §3, in its letter case.
    {"2.5.4.3", "CN"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.6", "C"},
    {"2.5.4.9", "STREET"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"0.9.2342.19200300.100.1.1", "UID"},
    // RFC 4519 §2.
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.12", "title"},
    {"2.5.4.13", "description"},
    {"2.5.4.14", "searchGuide"},
    {"2.5.4.15", "businessCategory"},
    {"2.5.4.16", "postalAddress"},
    {"2.5.4.17", "postalCode"},
    {"2.5.4.18", "postOfficeBox"},
    {"2.5.4.19", "physicalDeliveryOfficeName"},
    {"2.5.4.20", "telephoneNumber"},
    {"2.5.4.21", "telexNumber"},
    {"2.5.4.22", "teletexTerminalIdentifier"},
    {"2.5.4.23", "facsimileTelephoneNumber"},
    {"2.5.4.24", "x121Address"},
    {"2.5.4.25", "internationalISDNNumber"},
    {"2.5.4.26", "registeredAddress"},
    {"2.5.4.27", "destinationIndicator"},
    {"2.5.4.28", "preferredDeliveryMethod"},
    {"2.5.4.31", "member"},
    {"2.5.4.32", "owner"},
    {"2.5.4.33", "roleOccupant"},
    {"2.5.4.34", "seeAlso"},
    {"2.5.4.35", "userPassword"},
    {"2.5.4.41", "name"},
    {"2.5.4.42", "givenName"},
    {"2.5.4.43", "initials"},
    {"2.5.4.44", "generationQualifier"},
    {"2.5.4.45", "x500UniqueIdentifier"},
    {"2.5.4.46", "dnQualifier"},
    {"2.5.4.47", "enhancedSearchGuide"},
    {"2.5.4.49", "distinguishedName"},
    {"2.5.4.50", "uniqueMember"},
    {"2.5.4.51", "houseIdentifier"},
    // RFC 2985 §5.2.1.
    {"1.2.840.113549.1.9.1", "emailAddress"},
};

}  // namespace

std::string_view keywordOf(Bytes type) noexcept {
  for (const Keyword& keyword : kKeywords) {
    if (sameOctets(keyword.type.der(), type)) return keyword.text;
  }
  return {};
}

Bytes typeOfKeyword(std::string_view text) noexcept {
  for (const Keyword& keyword : kKeywords) {
    if (equalsIgnoringAsciiCase(keyword.text, text)) return keyword.type.der();
  }
  return {};
}

}  // namespace velmora
