#pragma once

// General names for people and in JSON, all nine kinds, malformed ones too.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/render/json_writer.h"
#include "tools/render/oid_text.h"
#include "velmora/certificate/general_name.h"

namespace velmora::tool {

/// A general name (RFC 5280 §4.2.1.6) as it is shown; it does not outlive the name.
class ShownName {
 public:
  explicit ShownName(const GeneralName& name);
  ShownName(const ShownName&) = delete;
  ShownName& operator=(const ShownName&) = delete;

  /// Writes {type, value}. The value is a text, of an otherName {oid, text} or {oid, hex}, of
  /// x400Address and ediPartyName the DER in base64; a directory name or registered OID that is too
  /// large for a text is null. Of a malformed name the value is null, and its DER is the member
  /// "malformed".
  void write(std::string_view key, JsonLine& line) const;

  /// How a text is made safe to print: on a line of its own, or as one of several items.
  using AppendText = void (*)(std::string_view text, StringBuffer& out);

  /// Appends the type and the value for people; what is no text as "#" and its DER in hexadecimal,
  /// of a malformed name behind "malformed", where no value can stand.
  void append(OidStyle style, AppendText appendText, StringBuffer& out) const;

 private:
  void take(const DnsName& name) { takeText("dns", name.text); }
  void take(const EmailAddress& name) { takeText("email", name.text); }
  void take(const Uri& name) { takeText("uri", name.text); }
  void take(const IpAddress& address) { own("ip", address.text()); }
  void take(const IpRange& range) { own("ip", range.text()); }
  void take(const Name& name);
  void take(const RegisteredId& name);
  void take(const OtherName& name);
  void take(const RawName& name);
  void takeText(std::string_view type, std::string_view text) {
    m_type = type;
    m_text = text;
  }
  void own(std::string_view type, std::string text);

  std::string_view m_type;
  std::string m_own;
  std::optional<std::string_view> m_text;
  std::optional<Bytes> m_otherType;  // of an otherName
  Bytes m_octets;                    // of what is no text
  bool m_isRaw = false;              // a name of a kind without a text
  bool m_isMalformed = false;
};

/// Writes the names as a list.
void writeGeneralNames(std::string_view key, const std::vector<GeneralName>& names, JsonLine& line);

}  // namespace velmora::tool
