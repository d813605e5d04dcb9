#pragma once

// ASN.1 as objects, with the vocabulary of `_vmAsn1`.

#include <cstddef>
#include <span>

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/core/pod_array.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

/// One ASN.1 element and what is in it. A node is a view into one copy of the DER that all nodes of
/// a tree share; its parts come into being when they are asked for, so that a whole certificate
/// costs little more than its bytes. The factories hand out count 1; the caller releases the node
/// with decRefCount. Parts belong to the node around them, unless the caller counts one.
///
/// What is read is the BER that DerXmlCodec reads, with the same limits, and it is brought to DER
/// when it is read: lengths in their shortest form, strings primitive, nothing else changed. Time
/// and memory are proportional to the input. Not safe for concurrent use, not even by readers.
class VELMORA_API _vmAsn1 final : public RefCountedObject {
 public:
  ~_vmAsn1() override;

  /// Reads the header of the one element that `size` octets hold and leaves the contents undecoded:
  /// the node has no parts until DecodeInner. Null, with an error, when the header is malformed,
  /// octets follow the element (behind one of indefinite length DecodeInner finds them), or memory
  /// ran out.
  static _vmAsn1* DecodeToAsn_1Step(const unsigned char* der, unsigned size, LogBase& log);

  /// Decodes the element that the octets start with and everything inside it. `consumed` becomes
  /// its size, 0 on failure; what follows it is not looked at. Null, with an error, for anything
  /// that is not BER.
  static _vmAsn1* DecodeToAsn(const unsigned char* der, unsigned size, unsigned& consumed,
                              LogBase& log);

  /// A tree from the ASN.1 XML form of the subtree at the handle, as DerXmlCodec::xmlToDer reads
  /// it; null, with an error, when it is not of that form.
  static _vmAsn1* xml_to_asn(ClsXml& at, LogBase& log);

  /// Decodes the contents, every level of them; a level costs nothing until its parts are asked
  /// for. The flag is reserved and has no effect. May be called again. False, with an error, when
  /// the contents are not BER or memory ran out.
  bool DecodeInner(bool, LogBase& log);

  /// How many parts a decoded constructed element has; 0 for a primitive one and, as nothing can be
  /// relied on then, when memory ran out.
  int numAsnParts();

  /// The i-th part from 0, not counted for the caller; null outside the parts and when memory ran
  /// out.
  _vmAsn1* getAsnPart(int i);

  /// Appends the DER of the element. False, with `out` as it was, when the contents of an undecoded
  /// element are not BER or memory ran out. The flag, to be passed as false, is reserved and has no
  /// effect.
  bool EncodeToDer(DataBuffer& out, bool, LogBase& log);

  /// Appends the octets of a BIT STRING. False, with nothing appended, for any other element and
  /// for one with unused bits: what signatures and keys are made of is whole octets.
  bool getBitString(DataBuffer& out) const;

  /// Appends an OBJECT IDENTIFIER in dotted decimal. False, with nothing appended, for any other
  /// element and for octets that are no OID.
  bool GetOid(StringBuffer& out) const;

  /// Appends the content octets; false when memory ran out.
  bool getAsnContent(DataBuffer& out) const;

  /// Reads the parameters of an RSASSA-PSS AlgorithmIdentifier (RFC 4055 §3.1): the identifiers of
  /// _vmHash for the hash and for that of the mask, and the length of the salt in octets. False,
  /// with an error and the three as they were, when they are absent, malformed, or name a hash, a
  /// mask function or a trailer that is not known.
  static bool parseRsaSsaPssParams(_vmAsn1& algorithmIdentifier, int& hashId, int& maskHashId,
                                   int& saltLength, LogBase& log);

 private:
  class Octets;

  struct Part {
    size_t start;   // in the octets of the tree
    _vmAsn1* node;  // null until it is asked for
  };

  _vmAsn1(Octets* octets, size_t start, size_t end) noexcept;

  static _vmAsn1* create(Octets* octets, size_t start, size_t end) noexcept;
  static _vmAsn1* createRoot(DataBuffer& bytes, LogBase& log) noexcept;

  bool decode(LogBase& log);
  bool indexParts() noexcept;
  std::span<const unsigned char> element() const noexcept;
  std::span<const unsigned char> content() const noexcept;
  _vmAsn1* takePart() noexcept;

  RefOwner<Octets> m_octets;
  size_t m_start;
  size_t m_end;
  Asn1Header m_header;
  PodArray<Part> m_parts;
  bool m_decoded = true;
  bool m_indexed = false;
  _vmAsn1* m_around = nullptr;  // while the tree is taken down
};

}  // namespace velmora
