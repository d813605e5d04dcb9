#pragma once

// Names in style 0, as VelmoraX509 writes them, made of typed names without its tree.

#include <string>
#include <string_view>
#include <vector>

#include "tools/render/json_writer.h"
#include "velmora/certificate/certificate.h"
#include "velmora/support/asn1/attribute_types.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// An attribute of a name as it is shown. It does not outlive what it was made of.
class ShownAttribute {
 public:
  explicit ShownAttribute(const PlacedAttribute& placed);
  explicit ShownAttribute(const Attribute& attribute);

  /// In UTF-8; empty for what is no text.
  std::string_view text() const noexcept { return m_own.empty() ? m_placed : m_own; }
  /// That of style 0; empty for a type that has none.
  std::string_view shortName() const noexcept {
    return m_known != nullptr ? m_known->shortName : std::string_view();
  }

  Bytes type;  // the content octets of its OID
  Bytes der;   // the value whole
  uint32_t rdn;
  TextKind kind;

 private:
  const AttributeType* m_known;
  std::string_view m_placed;
  std::string m_own;  // a text that does not stand there in UTF-8
};

/// The attributes of a name, or the error of a malformed one.
using Attributes = Result<std::vector<ShownAttribute>>;

Attributes attributesOf(const Name& name);

/// Appends a name in style 0 (docs/formats.md), as VelmoraX509 has it, also a malformed one.
/// `attributes` are those of the name. False, with nothing appended, for a name that holds too much
/// to be read as a tree, where it has to be.
bool appendName(const Name& name, const Attributes& attributes, StringBuffer& out);

/// The same of a name alone.
bool appendName(const Name& name, StringBuffer& out);

/// Appends `before` and the subject so, safe to print; nothing where it is false.
void appendSubject(std::string_view before, const Certificate& certificate, StringBuffer& out);

/// Writes an attribute of a name as {oid, name, value} in a list: the name is the short one of
/// style 0, else that in the standards; a value that is no text is null and has its DER beside it
/// as "hex".
void writeAttribute(const ShownAttribute& attribute, JsonLine& line);

/// Writes the attributes of a name as a list of RDNs, each a list of these; null where there are
/// none because it is malformed.
void writeRdns(std::string_view key, const Attributes& attributes, JsonLine& line);

/// Whether two names are the same, attribute by attribute: text as it is spelled, whether in a
/// UTF8String, PrintableString or IA5String, and all else octet by octet. No empty or malformed
/// name is the same as another.
bool isSameName(const Attributes& a, const Attributes& b);

}  // namespace velmora::tool
