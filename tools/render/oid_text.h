#pragma once

// OIDs for people, with their names where they have one.

#include <string_view>

#include "tools/render/json_writer.h"
#include "velmora/certificate/oid.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// How OIDs are shown to people.
enum class OidStyle { kNamed, kNumbers };

/// The content octets of an OID of any length in dotted form.
class DottedOid {
 public:
  explicit DottedOid(Bytes content);
  explicit DottedOid(const Oid& oid) : DottedOid(oid.der()) {}
  DottedOid(const DottedOid&) = delete;
  DottedOid& operator=(const DottedOid&) = delete;

  /// Empty for what is no OID, and one with an arc of more than kMaxOidArcOctets.
  std::string_view text() const noexcept { return m_text; }
  /// Empty for one that has none.
  std::string_view name() const noexcept { return m_name; }
  std::string_view nameOrText() const noexcept { return name().empty() ? text() : name(); }

 private:
  char m_usual[maxDottedSize(Oid::kMaxSize)];
  StringBuffer m_long;
  std::string_view m_text;
  std::string_view m_name;
};

/// Appends "name (1.2.3)", or the dotted OID alone when it has no name or numbers are wanted.
void appendOid(const DottedOid& id, OidStyle style, StringBuffer& out);

/// The same within a sentence: the name alone where there is one.
void appendOidShort(const DottedOid& id, OidStyle style, StringBuffer& out);

/// Writes the members oid and name; null for what is empty.
void writeOid(const DottedOid& id, JsonLine& line);

}  // namespace velmora::tool
