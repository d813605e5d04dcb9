#pragma once

// What the readers of distinguished names share: where the names stand, how attribute types are
// called in each name style, and how attribute values become text.

#include <array>
#include <cstdint>
#include <string_view>

#include "velmora/support/log/log_base.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

/// The path that moves from the root of a certificate to its subject or issuer name.
constexpr std::string_view namePath(bool forSubject) noexcept {
  return forSubject ? "sequence|sequence[3]|$" : "sequence|sequence[1]|$";
}

/// The ways to write an attribute type, for the example of title.
enum class DnNameForm : uint8_t {
  kShort,           // Title
  kAbbreviated,     // T
  kPrefixedOid,     // OID.2.5.4.12
  kPrefixedOidHex,  // OID.2.5.4.12, and the value as "#" and the hexadecimal of its DER
  kOidHex,          // 2.5.4.12, and the value likewise
};

/// An attribute type (RFC 4519, X.520) and its form in each name style.
struct DnAttribute {
  /// The styles that have a meaning, in this order: 0 (which stands for every other number), 1, 2,
  /// 3, 4, 5, 6, 22.
  using Forms = std::array<DnNameForm, 8>;

  std::string_view oid;  // empty for the types that have no name
  std::string_view name;
  std::string_view lowerName;
  Forms forms;

  DnNameForm form(int nameStyle) const noexcept;
};

/// The entry of a dotted OID, compared exactly; for an OID that is not in the table, the one entry
/// that describes all of these.
const DnAttribute& findDnAttribute(std::string_view oid) noexcept;

/// An attribute type as it is to be written: `prefix`, then `name`.
struct DnAttributeName {
  std::string_view prefix;
  std::string_view name;
  bool hexValue = false;
};

/// The name in a form. `oid` is the one that the attribute was found by, and has to outlive the
/// result; `lowercase` changes the short form alone.
DnAttributeName dnAttributeName(const DnAttribute& attribute, DnNameForm form, bool lowercase,
                                std::string_view oid) noexcept;

/// Whether the handle stands on an element of that tag, compared as a number.
inline bool hasTag(const ClsXml& xml, XmlName tag) noexcept {
  return xml.document().node(xml.nodeIndex()).nameId == tag;
}

/// Appends the value on which the handle stands as UTF-8: with `hexValue` "#" and the lower-case
/// hexadecimal of its DER, else its text, where "universal" counts as UTF-16 (big-endian). Values
/// may hold any character. `out` is marked when memory ran out.
void appendDnValue(ClsXml& value, bool hexValue, StringBuffer& out, LogBase& log);

}  // namespace velmora
