#pragma once

// The names that documents store as numbers.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "velmora/support/core/export.h"

namespace velmora {

/// Names of elements and attributes that a document stores as a number instead of as text. They are
/// the names of the ASN.1 XML form; every other name is `kOther` and kept as text.
enum class XmlName : uint8_t {
  kOther,
  kSequence,
  kSet,
  kContextSpecific,
  kInt,
  kOid,
  kBits,
  kOctets,
  kUtcTime,
  kPrintable,
  kUtf8,
  kIa5,
  kT61,
  kUniversal,
  kBool,
  kNull,
  kEnumerated,
  kApplication,
  kPrivate,
  kTag,          // attribute of contextSpecific
  kConstructed,  // attribute of what is not universal, and of an odd universal element
  kNumber,       // attribute of universal, application and private
  kUnused,       // attribute of bits
  kEncoding,     // attribute of a utf8 element whose octets are not UTF-8
  kUnnamed,      // a root that nobody has named yet
  kCount
};

/// The number of a name, kOther when it has none.
VELMORA_API XmlName xmlNameOf(std::string_view text) noexcept;

/// Whether a name is that of an element of the ASN.1 XML form.
constexpr bool isAsn1Element(XmlName name) noexcept {
  return name >= XmlName::kSequence && name <= XmlName::kPrivate;
}

inline constexpr size_t kXmlNameCount = static_cast<size_t>(XmlName::kCount);

/// The texts of names by number.
inline constexpr std::string_view kXmlNameTexts[kXmlNameCount] = {
    "",  // kOther
    "sequence",   "set",         "contextSpecific", "int",       "oid",
    "bits",       "octets",      "utctime",         "printable", "utf8",
    "ia5",        "t61",         "universal",       "bool",      "null",
    "enumerated", "application", "private",         "tag",       "constructed",
    "number",     "unused",      "encoding",        "unnamed"};

/// The text of a numbered name; empty for kOther.
constexpr std::string_view xmlNameText(XmlName name) noexcept {
  return kXmlNameTexts[static_cast<size_t>(name)];
}

}  // namespace velmora
