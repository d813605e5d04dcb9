#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_xml_codec.h"

// Property: what derToXml takes becomes a text that the XML reader takes and writes back unchanged;
// xmlToDer turns its tree into DER; and that DER stands for the same text. Where the input was DER,
// this gives it back; where it was BER, one round brings it to a form that later rounds keep. The
// same DER comes from the octets directly, and from a text that leaves strings in segments as they
// are. What derToXml refuses leaves no text.

namespace velmora {
namespace {

using fuzz::require;

// Every element by its number, with its members or the octets in base64.
std::string spellOut(std::span<const unsigned char> ber) {
  constexpr const char* kNames[] = {"universal", "application", "contextSpecific", "private"};
  std::string xml;
  std::vector<std::string> open;
  BerWalk walk(ber);
  do {
    Asn1Header header;
    std::span<const unsigned char> content;
    if (walk.next(header, content) == BerStep::kElement) {
      const std::string name = kNames[static_cast<size_t>(header.tagClass)];
      xml += "<" + name + (name[0] == 'c' ? " tag=\"" : " number=\"") +
             std::to_string(header.tagNumber) +
             (header.constructed ? "\" constructed=\"1\">" : "\">");
      open.push_back("</" + name + ">");
      if (header.constructed) continue;
      DataBuffer octets;
      StringBuffer base64;
      octets.append(content);
      octets.encodeDB("base64", base64);
      xml += base64.view();
    }
    xml += open.back();
    open.pop_back();
  } while (!open.empty());
  return xml;
}

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
  DataBuffer joined;
  require(tree->loadXml(spellOut(der), true, log) && DerXmlCodec::xmlToDer(*tree, joined, log) &&
              joined.equals(encoded),
          "strings in segments encode to the same");
}

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::convert({data, size});
  return 0;
}
