#pragma once

// From the octets of a certificate, or of a part of it, to a tree.

#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

/// Loads a text into `tree`, which may be null; one that ran out of memory is refused unread.
inline bool loadTree(ClsXml* tree, const StringBuffer& text, bool autoTrim, LogBase& log) {
  return tree != nullptr && !text.failed() && tree->loadXml(text, autoTrim, log);
}

/// Makes the tree of some DER in two steps, each of which fails in its own way. What is so large
/// that its text may be beyond what loadXml reads goes by way of that text.
class TreeMaker {
 public:
  bool convert(const DataBuffer& der, LogBase& log) {
    m_byText = der.size() > DerXmlCodec::kMaxTreeOctets;
    if (m_byText) return DerXmlCodec::derToXml(der, false, true, m_text, nullptr, log);
    m_tree.reset(DerXmlCodec::derToTree(der, m_fault, log));
    return static_cast<bool>(m_tree);
  }

  /// Whether convert() failed for that.
  bool ranOutOfMemory() const { return m_text.failed() || m_fault.noMemory; }

  /// To be called once, after convert() succeeded. False for a null handle.
  bool load(ClsXml* into, LogBase& log) {
    if (m_byText) return loadTree(into, m_text, true, log);
    if (into != nullptr) into->takeDocument(*m_tree.release());
    return into != nullptr;
  }

 private:
  bool m_byText = false;
  StringBuffer m_text;
  RefOwner<XmlDocument> m_tree;
  Asn1Fault m_fault;
};

}  // namespace velmora
