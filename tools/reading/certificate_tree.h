#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "velmora/support/xml/cls_xml.h"

namespace velmora::tool {

struct ReleaseHandle {
  void operator()(ClsXml* handle) const noexcept { handle->decRefCount(); }
};
/// Owner of a handle that can be passed on.
using XmlHandle = std::unique_ptr<ClsXml, ReleaseHandle>;

/// One extension of a certificate as it stands there. The texts belong to the certificate's tree.
struct ListedExtension {
  std::string_view oid;  // dotted; empty when what stands there is no OID
  bool critical = false;
  std::optional<std::string_view> value;  // the extnValue in base64
};

/// The ASN.1 XML tree of a certificate, for what is asked about parts as a whole: the list of the
/// extensions, every attribute of a name, the parameters of the key. Only what stands at its place
/// counts (RFC 5280 §4.1).
class CertificateTree {
 public:
  /// Null, or why the octets, which have the shape of a certificate, cannot be read.
  const char* load(std::span<const unsigned char> der);

  const std::vector<ListedExtension>& extensions() const noexcept { return m_extensions; }
  /// The first extension with the dotted OID; null when it is absent.
  const ListedExtension* findExtension(std::string_view oid) const;
  /// Its value as a tree; none when it is absent or is not ASN.1.
  XmlHandle extension(std::string_view oid) const;

  // New handles on parts, which everything with the shape of a certificate (classifyDer) has. The
  // two algorithms are those of the signature: inside tbsCertificate (§4.1.2.3) and behind it
  // (§4.1.1.2).
  XmlHandle signedPart() const { return part("sequence"); }
  XmlHandle innerAlgorithm() const { return part("sequence|sequence"); }
  XmlHandle outerAlgorithm() const { return part("sequence[1]"); }
  XmlHandle subject() const { return part("sequence|sequence[3]"); }
  XmlHandle issuer() const { return part("sequence|sequence[1]"); }
  XmlHandle publicKey() const { return part("sequence|sequence[4]"); }

 private:
  XmlHandle part(const char* path) const;
  void listExtensions();
  bool listExtensionsIn(int tag);

  XmlHandle m_tree;
  StringBuffer m_xml;
  std::vector<ListedExtension> m_extensions;
};

/// The octets in base64 as an ASN.1 XML tree; none when they are not BER.
XmlHandle treeOfBase64(std::string_view base64);

/// Appends the DER of the element at the handle, which is part of a certificate's tree.
void appendDer(ClsXml& at, DataBuffer& der);

/// Calls visit() with the handle on each child in turn; the handle is back afterwards. `visit` must
/// leave the handle where it was.
template <class Visit>
void eachChild(ClsXml& at, Visit visit) {
  if (!at.FirstChild2()) return;
  do {
    visit();
  } while (at.NextSibling2());
  at.getParent2();
}

/// Whether the handle stands on [tag].
bool isContext(const ClsXml& at, int tag) noexcept;
/// Whether the handle stands on a primitive [tag]; its content is then base64.
bool isPrimitiveContext(const ClsXml& at, int tag) noexcept;

/// Visits every attribute of the name at the handle, RDN by RDN: visit(rdnIndex, oid, value) with
/// the handle on the value. False, after visiting what is in order, when something in the name is
/// no RDN of one attribute or more.
template <class Visit>
bool eachAttribute(ClsXml& name, Visit visit) {
  bool wellFormed = name.tagEquals("sequence");
  size_t rdn = 0;
  eachChild(name, [&] {
    if (!name.tagEquals("set") || name.get_NumChildren() == 0) wellFormed = false;
    eachChild(name, [&] {
      const bool isAttribute = name.tagEquals("sequence") && name.get_NumChildren() == 2;
      if (!isAttribute) {
        wellFormed = false;
        return;
      }
      name.FirstChild2();
      const std::string_view oid = name.contentView();
      if (!name.tagEquals("oid")) wellFormed = false;
      name.NextSibling2();
      visit(rdn, oid);
      name.getParent2();
    });
    ++rdn;
  });
  return wellFormed;
}

}  // namespace velmora::tool
