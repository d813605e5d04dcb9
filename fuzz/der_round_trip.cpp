#include "fuzz/fuzz_target.h"
#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_xml_codec.h"

// Property: what derToXml takes becomes a text that the XML reader takes and writes back unchanged;
// xmlToDer turns its tree into DER; and that DER stands for the same text. Where the input was DER,
// this gives it back; where it was BER, one round brings it to a form that later rounds keep. The
// same DER comes from the octets directly. What derToXml refuses leaves no text.

namespace velmora {
namespace {

using fuzz::require;

void convert(std::span<const unsigned char> der) {
  StringBuffer text;
  Asn1Fault fault;
  if (!DerXmlCodec::derToXml(der, text, fault)) {
    require(text.isEmpty(), "a refused input leaves no text");
    require(fault.reason != nullptr && fault.offset <= der.size(), "a refusal says why and where");
    return;
  }

  LogNull log;
  const _clsOwner tree(ClsXml::createNewCls());
  require(tree && tree->loadXml(text, true, log), "the text loads");
  StringBuffer written;
  require(tree->getXml(true, written, log) && written.equals(text), "the tree is that text");

  DataBuffer encoded;
  require(DerXmlCodec::xmlToDer(*tree, encoded, log), "the tree encodes");
  StringBuffer again;
  require(DerXmlCodec::derToXml(encoded.span(), again, fault), "the encoding converts");
  require(again.equals(text), "the encoding stands for the same text");

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
