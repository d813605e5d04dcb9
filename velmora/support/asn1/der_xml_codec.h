#pragma once

// From DER to the XML form of ASN.1 and back.

#include <span>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/core/arrays.h"
#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

/// Conversion between DER and the ASN.1 XML form, in which every ASN.1 element is one XML element:
///
/// - `sequence`, `set`: the members as child elements, in their order.
/// - `contextSpecific`: attributes `tag` (decimal) and `constructed` (0 or 1), in this order. When
///   constructed the members, else the content octets in base64.
/// - `application`, `private`: the same, but the number is in the attribute `number`.
/// - `int`, `enumerated`, `bool`, `null`: the content octets in hexadecimal, upper case.
/// - `bits`: the data octets in hexadecimal. Attribute `unused` when the count of unused bits is
///   not 0.
/// - `octets`: the content octets in base64.
/// - `oid`: dotted decimal.
/// - `utctime`, `printable`, `ia5`, `t61`: the characters as UTF-8, each octet being one of U+0000
///   to U+00FF.
/// - `utf8`: the characters. Octets that are not UTF-8 are shown as in the line above and marked
///   with the attribute `encoding="latin1"`.
/// - `universal`: every other universal type, and every element whose content does not fit its own
///   form: an OID with a padded arc or one beyond kMaxOidArcOctets, bits that claim more unused
///   bits than there are, a primitive SEQUENCE, a constructed INTEGER, a string whose segments do
///   not fit (BerWalk::joinString). Attribute `number` (decimal) and, when constructed,
///   `constructed="1"`. Members, or the content octets in base64.
///
/// Base64 has no line breaks, the text has no white space between elements, an empty element is a
/// pair of tags, and control characters (U+0000 to U+001F, U+007F) are numeric references. No input
/// that is BER fails for the strangeness of a field, but for a tag number above 2^31 - 1. Depth is
/// limited to 100 elements, and their number to 65,536 and one for every four octets of the input;
/// time and memory are proportional to the input.
class VELMORA_API DerXmlCodec {
 public:
  /// How many elements may stand inside one another.
  static constexpr int kMaxDepth = kMaxAsn1Depth;

  /// Appends the XML text of one element in BER to `xml`. Indefinite and non-minimal lengths and
  /// constructed strings of a universal type are understood (X.690 §8); the text is then that of
  /// the same octets with minimal lengths and primitive strings. Octets after the element are
  /// refused. On failure `xml` is as it was, and the error says why, with the data item "offset".
  /// The flags, to be passed as false and true, are reserved and have no effect; `extra` is
  /// reserved, to be null.
  static bool derToXml(const DataBuffer& der, bool, bool, StringBuffer& xml, ExtPtrArray* extra,
                       LogBase& log);

  /// The same without a log: true, or false with `fault` set.
  static bool derToXml(std::span<const unsigned char> der, StringBuffer& xml, Asn1Fault& fault);

  /// The document that ClsXml::loadXml reads from the text of derToXml, made without that text, and
  /// counted once for the caller; null with `fault` set where derToXml fails. For up to
  /// kMaxTreeOctets of input, of which the text stays within what loadXml reads.
  static XmlDocument* derToTree(std::span<const unsigned char> der, Asn1Fault& fault);
  /// The same with the log of derToXml.
  static XmlDocument* derToTree(const DataBuffer& der, Asn1Fault& fault, LogBase& log);
  static constexpr size_t kMaxTreeOctets = size_t{192} << 20;

  /// Appends the DER of the subtree at the handle to `der`: lengths in their shortest form, strings
  /// primitive, nothing else changed (the octets of a BOOLEAN and the order in a SET stay). For a
  /// tree made from DER this gives its bytes back. Reads any ASN.1 XML text, white space in
  /// hexadecimal and base64 included; an absent `constructed` or `unused` is 0, and attributes that
  /// are not of the form are passed over. A string in segments, which is a constructed `universal`
  /// with the number of a string type, is joined as it is from BER; segments that do not fit stay
  /// as they are. False, with the octets of `der` as they were (and `der` marked when memory ran
  /// out), for a tree that is not in the ASN.1 XML form; the error says what is wrong, with the
  /// data item "element" (the tags from that at the handle down to the one at fault, with "|"
  /// between them).
  static bool xmlToDer(ClsXml& at, DataBuffer& der, LogBase& log);

 private:
  static void logFault(const Asn1Fault& fault, LogBase& log);
};

}  // namespace velmora
