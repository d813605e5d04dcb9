#include <new>

#include "tools/render/escape.h"
#include "tools/render/show.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

void appendSummaryXml(VelmoraX509& certificate, StringBuffer& out) {
  LogNull log;
  XString xml;
  const _clsOwner root(ClsXml::createNewCls());
  if (!root || !root->put_TagUtf8("certificate")) throw std::bad_alloc();
  // A certificate whose key has no XML has a summary all the same, and nothing else may be missing.
  StringBuffer key;
  const bool isWhole = certificate.toXmlInfo(*root, log) || !certificate.get_PublicKeyXml(key, log);
  whole(key);
  if (!isWhole || !root->GetXml(xml)) throw std::bad_alloc();
  appendIndentedXml(xml.view(), out);
  out.appendChar('\n');
}

}  // namespace velmora::tool
