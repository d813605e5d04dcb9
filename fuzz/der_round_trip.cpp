#include <algorithm>

#include "fuzz/fuzz_target.h"
#include "velmora/certificate/der.h"
#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_xml_codec.h"

// Property: what derToXml takes becomes a text that the XML reader takes and writes back unchanged;
// xmlToDer turns its tree into DER; and that DER stands for the same text. Where the input was DER,
// this gives it back; where it was BER, one round brings it to a form that later rounds keep. The
// same DER comes from the octets directly, and the same tree. What derToXml refuses leaves no text.

namespace velmora {
namespace {

using fuzz::require;

bool sameTree(const XmlDocument& a, const XmlDocument& b) {
  XmlIndex i = 0;
  for (; i != kNoXmlIndex; i = a.following(i, 0)) {
    if (a.name(i) != b.name(i) || a.content(i) != b.content(i)) return false;
    if (a.following(i, 0) != b.following(i, 0) || a.node(i).parent != b.node(i).parent ||
        a.node(i).previous != b.node(i).previous || a.childCount(i) != b.childCount(i) ||
        a.lastChild(i) != b.lastChild(i)) {
      return false;
    }
    XmlIndex inA = a.firstAttribute(i);
    XmlIndex inB = b.firstAttribute(i);
    for (; inA != kNoXmlIndex && inB != kNoXmlIndex; inA = a.attribute(inA).next) {
      if (a.attributeName(inA) != b.attributeName(inB)) return false;
      if (a.text(a.attribute(inA).value) != b.text(b.attribute(inB).value)) return false;
      inB = b.attribute(inB).next;
    }
    if (inA != inB) return false;
  }
  return true;
}

void convert(std::span<const unsigned char> der) {
  StringBuffer text;
  Asn1Fault fault;
  if (!DerXmlCodec::derToXml(der, text, fault)) {
    require(text.isEmpty(), "a refused input leaves no text");
    require(fault.reason != nullptr && fault.offset <= der.size(), "a refusal says why and where");
    Asn1Fault ofTree;
    require(DerXmlCodec::derToTree(der, ofTree) == nullptr && ofTree.reason == fault.reason &&
                ofTree.offset == fault.offset,
            "no tree, for the same reason");
    return;
  }

  LogNull log;
  const _clsOwner tree(ClsXml::createNewCls());
  require(tree && tree->loadXml(text, true, log), "the text loads");
  StringBuffer written;
  require(tree->getXml(true, written, log) && written.equals(text), "the tree is that text");

  const RefOwner<XmlDocument> document(DerXmlCodec::derToTree(der, fault));
  require(document && sameTree(*document, tree->document()), "the direct tree is the same");

  DataBuffer encoded;
  require(DerXmlCodec::xmlToDer(*tree, encoded, log), "the tree encodes");
  StringBuffer again;
  require(DerXmlCodec::derToXml(encoded.span(), again, fault), "the encoding converts");
  require(again.equals(text), "the encoding stands for the same text");

  if (!derFault(std::as_bytes(der))) {
    require(std::ranges::equal(encoded.span(), der), "DER comes back octet for octet");
  }

  BerWalk walk(der);
  DataBuffer direct;
  require(berToDer(walk, direct) && direct.equals(encoded), "the octets encode to the same");
}

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::convert({data, size});
  return 0;
}
