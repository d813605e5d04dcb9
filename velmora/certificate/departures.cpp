#include "velmora/certificate/departures.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "velmora/certificate/internal/departure_list.h"

namespace velmora {
namespace {

enum class MayDecide : bool { no, yes };

struct Kind {
  DepartureCode code;
  std::string_view id;
  std::string_view clause;
  MayDecide mayDecide;
  std::string_view message;
};

using Code = DepartureCode;
constexpr auto kNo = MayDecide::no;
constexpr auto kYes = MayDecide::yes;

// In the order of the codes.
constexpr Kind kKinds[] = {
    {Code::lengthNotShortest, "lengthNotShortest", "X.690 §10.1", kNo,
     "A length is not in its shortest form."},
    {Code::identifierNotShortest, "identifierNotShortest", "X.690 §8.1.2", kNo,
     "A tag number is not in its shortest form."},
    {Code::stringInSegments, "stringInSegments", "X.690 §10.2", kNo, "A string is in segments."},
    {Code::booleanNotDer, "booleanNotDer", "X.690 §11.1", kNo, "A BOOLEAN is neither 00 nor FF."},
    {Code::defaultEncoded, "defaultEncoded", "X.690 §11.5", kYes,
     "A value that is the default is encoded."},
    {Code::integerPadded, "integerPadded", "X.690 §8.3.2", kNo,
     "An INTEGER is not in its shortest form."},
    {Code::unusedBitsSet, "unusedBitsSet", "X.690 §11.2.1", kNo,
     "Unused bits of a BIT STRING are set."},
    {Code::trailingZeroBits, "trailingZeroBits", "X.690 §11.2.2", kYes,
     "A list of named bits ends in zero bits."},
    {Code::setNotSorted, "setNotSorted", "X.690 §11.6", kYes,
     "The members of a SET OF are not sorted."},
    {Code::contentMalformed, "contentMalformed", "X.690 §8", kNo,
     "The contents of an INTEGER, BIT STRING, NULL or OBJECT IDENTIFIER are none of its type."},
    {Code::versionUnknown, "versionUnknown", "RFC 5280 §4.1.2.1", kNo,
     "The version is none of 1 to 3."},
    {Code::versionOneEncoded, "versionOneEncoded", "RFC 5280 §4.1.2.1", kYes,
     "Version 1 is encoded, which is the default."},
    {Code::extensionsInOldVersion, "extensionsInOldVersion", "RFC 5280 §4.1.2.9", kNo,
     "There are extensions, which version 1 and 2 do not have."},
    {Code::uniqueIdInVersionOne, "uniqueIdInVersionOne", "RFC 5280 §4.1.2.8", kNo,
     "There is a unique identifier, which version 1 does not have."},
    {Code::uniqueIdentifier, "uniqueIdentifier", "RFC 5280 §4.1.2.8", kYes,
     "There is a unique identifier."},
    {Code::serialZero, "serialZero", "RFC 5280 §4.1.2.2", kYes, "The serial number is zero."},
    {Code::serialNegative, "serialNegative", "RFC 5280 §4.1.2.2", kYes,
     "The serial number is negative."},
    {Code::serialTooLong, "serialTooLong", "RFC 5280 §4.1.2.2", kYes,
     "The serial number has more than 20 octets."},
    {Code::signatureAlgorithmsDiffer, "signatureAlgorithmsDiffer", "RFC 5280 §4.1.1.2", kNo,
     "The signature algorithms inside and behind what is signed differ."},
    {Code::signatureParameters, "signatureParameters", "RFC 5280 §4.1.1.2", kNo,
     "The signature algorithm has parameters that it must not have."},
    {Code::rsaNullAbsent, "rsaNullAbsent", "RFC 4055 §1.2, §5", kYes,
     "An RSA algorithm has no parameters, where it has to have NULL."},
    {Code::signatureNotOctets, "signatureNotOctets", "RFC 5280 §4.1.1.3", kNo,
     "The signature is not whole octets."},
    {Code::issuerEmpty, "issuerEmpty", "RFC 5280 §4.1.2.4", kNo, "The issuer has no name."},
    {Code::subjectEmpty, "subjectEmpty", "RFC 5280 §4.1.2.6", kYes,
     "The subject has no name, and no alternative names that are critical, or it is a CA."},
    {Code::nameMalformed, "nameMalformed", "RFC 5280 §4.1.2.4", kNo, "A name is malformed."},
    {Code::nameTextMalformed, "nameTextMalformed", "RFC 5280 §4.1.2.4", kNo,
     "A text in a name is none of its string type."},
    {Code::nameCharacters, "nameCharacters", "X.680 §41", kYes,
     "A text in a name has characters that its string type does not have."},
    {Code::dateForm, "dateForm", "RFC 5280 §4.1.2.5", kYes,
     "A date is a GeneralizedTime before 2050."},
    {Code::dateMalformed, "dateMalformed", "RFC 5280 §4.1.2.5", kNo, "A date cannot be read."},
    {Code::validityBackwards, "validityBackwards", "RFC 5280 §4.1.2.5", kNo,
     "The validity ends before it begins."},
    {Code::keyMalformed, "keyMalformed", "RFC 5280 §4.1.2.7", kNo,
     "The public key is not of its algorithm's syntax."},
    {Code::curveNotNamed, "curveNotNamed", "RFC 5480 §2.1.1", kNo,
     "The EC key does not name its curve."},
    {Code::dateNotDer, "dateNotDer", "RFC 5280 §4.1.2.5", kNo,
     "A date is not in UTC to the second, without a fraction and with Z at its end."},
    {Code::extensionListMalformed, "extensionListMalformed", "RFC 5280 §4.1.2.9", kNo,
     "The list of extensions is malformed."},
    {Code::extensionRepeated, "extensionRepeated", "RFC 5280 §4.2", kNo,
     "An extension is there more than once."},
    {Code::extensionMalformed, "extensionMalformed", "RFC 5280 §4.2", kNo,
     "The content of an extension is not of its syntax."},
    {Code::generalNameMalformed, "generalNameMalformed", "RFC 5280 §4.2.1.6", kNo,
     "A general name is malformed."},
    {Code::criticalityWrong, "criticalityWrong", "RFC 5280 §4.2", kYes,
     "An extension is critical and must not be, or the other way round."},
    {Code::pathLengthWithoutCa, "pathLengthWithoutCa", "RFC 5280 §4.2.1.9", kYes,
     "A path length is given, but no right to sign certificates."},
    {Code::certSignWithoutCa, "certSignWithoutCa", "RFC 5280 §4.2.1.9", kYes,
     "The key is for signing certificates, but the subject is no CA."},
    {Code::keyUsageEmpty, "keyUsageEmpty", "RFC 5280 §4.2.1.3", kYes,
     "The key usage allows nothing."},
    {Code::caWithoutSubjectKeyId, "caWithoutSubjectKeyId", "RFC 5280 §4.2.1.2", kYes,
     "A CA's certificate has no subject key identifier."},
    {Code::caWithoutKeyUsage, "caWithoutKeyUsage", "RFC 5280 §4.2.1.3", kYes,
     "A CA's certificate has no key usage."},
    {Code::noAuthorityKeyId, "noAuthorityKeyId", "RFC 5280 §4.2.1.1", kYes,
     "There is no identifier of the issuer's key."},
    {Code::authorityIssuerIncomplete, "authorityIssuerIncomplete", "RFC 5280 §4.2.1.1", kYes,
     "Of the issuer's certificate either the issuer or the serial number is missing."},
    {Code::constraintsWithoutCa, "constraintsWithoutCa", "RFC 5280 §4.2.1.10", kYes,
     "There are constraints or mappings for what a CA issues, but the subject is no CA."},
    {Code::policyRepeated, "policyRepeated", "RFC 5280 §4.2.1.4", kYes,
     "A policy is there more than once."},
    {Code::anyPolicyMapped, "anyPolicyMapped", "RFC 5280 §4.2.1.5", kYes,
     "A policy is mapped to or from anyPolicy."},
};

constexpr bool isInOrder() {
  size_t expected = 0;
  for (const Kind& kind : kKinds) {
    if (static_cast<size_t>(kind.code) != expected++) return false;
  }
  return true;
}
static_assert(isInOrder());
static_assert(std::size(kKinds) <= 64, "DepartureList has a bit for each");

const Kind& kindOf(DepartureCode code) noexcept {
  return kKinds[static_cast<size_t>(code)];
}

}  // namespace

std::string_view Departure::id() const noexcept {
  return kindOf(code).id;
}
std::string_view Departure::message() const noexcept {
  return kindOf(code).message;
}
std::string_view Departure::clause() const noexcept {
  return kindOf(code).clause;
}
bool Departure::mayDecide() const noexcept {
  return kindOf(code).mayDecide == MayDecide::yes;
}

void DepartureList::add(DepartureCode code, size_t offset, Bytes about) {
  const uint64_t bit = uint64_t{1} << static_cast<unsigned>(code);
  if ((m_seen & bit) != 0) return;
  m_seen |= bit;
  m_found.push_back({code, static_cast<uint32_t>(offset), Oid::fromDer(about)});
  m_isCertain = m_isCertain && m_found.back().mayDecide();
}

std::vector<Departure> DepartureList::take() && {
  std::sort(m_found.begin(), m_found.end(), [](const Departure& a, const Departure& b) {
    return std::tie(a.offset, a.code) < std::tie(b.offset, b.code);
  });
  return std::move(m_found);
}

std::vector<Departure> Certificate::departures() const {
  DepartureList list;
  const int number = version().value_or(0);
  const ExaminedCertificate examined{*this, m_block, number >= 1 && number <= 3 ? number : 0};
  examineFields(examined, list);
  examineExtensions(examined, list);
  return std::move(list).take();
}

}  // namespace velmora
