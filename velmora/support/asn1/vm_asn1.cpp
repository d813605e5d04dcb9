#include "velmora/support/asn1/vm_asn1.h"

#include <new>

#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/core/out_of_memory.h"

namespace velmora {
namespace {

constexpr const char* kDecoding = "decodeAsn1";
constexpr const char* kEncoding = "encodeAsn1";

bool refuse(const Asn1Fault& fault, LogBase& log, const char* operation = kDecoding) {
  const LogContextExitor context(log, operation);
  log.LogError(fault.reason);
  log.LogDataLong("offset", static_cast<int64_t>(fault.offset));
  return false;
}

bool refuseForMemory(const char* operation, LogBase& log) {
  const LogContextExitor context(log, operation);
  log.LogError(kOutOfMemory);
  return false;
}

// Bytes that are refused here are refused in the same words as by DerXmlCodec::derToXml, which is
// what a certificate that loads meets.
bool convertToDer(DataBuffer& bytes, LogBase& log) {
  BerWalk walk(bytes.span());
  DataBuffer der;
  if (!berToDer(walk, der)) {
    return der.failed() ? refuseForMemory(kDecoding, log) : refuse(walk.fault(), log, "derToXml");
  }
  bytes.swap(der);
  return true;
}

}  // namespace

class _vmAsn1::Octets final : public RefCountedObject {
 public:
  DataBuffer bytes;
};

_vmAsn1::_vmAsn1(Octets* octets, size_t start, size_t end) noexcept
    : m_octets(octets), m_start(start), m_end(end) {
  octets->incRefCount();
  DerReader(element()).peekHeader(m_header);
}

// Takes the tree down without recursion, however deep it was made: a part that nobody else counts
// is emptied before it is released.
_vmAsn1::~_vmAsn1() {
  _vmAsn1* at = this;
  for (;;) {
    if (_vmAsn1* part = at->takePart()) {
      if (part->refCount() == 1) {
        part->m_around = at;
        at = part;
      } else {
        part->decRefCount();
      }
    } else if (at != this) {
      _vmAsn1* emptied = at;
      at = at->m_around;
      emptied->decRefCount();
    } else {
      return;
    }
  }
}

// The last part that came into being; null when none is left.
_vmAsn1* _vmAsn1::takePart() noexcept {
  while (!m_parts.empty()) {
    _vmAsn1* const node = m_parts.back().node;
    m_parts.pop_back();
    if (node != nullptr) return node;
  }
  return nullptr;
}

_vmAsn1* _vmAsn1::create(Octets* octets, size_t start, size_t end) noexcept {
  auto* node = new (std::nothrow) _vmAsn1(octets, start, end);
  if (node != nullptr) node->incRefCount();
  return node;
}

// Takes the bytes over. They start with a header that can be read.
_vmAsn1* _vmAsn1::createRoot(DataBuffer& bytes, LogBase& log) noexcept {
  auto* octets = new (std::nothrow) Octets;
  _vmAsn1* root = nullptr;
  if (octets != nullptr && !bytes.failed()) {
    octets->bytes.swap(bytes);
    root = create(octets, 0, octets->bytes.size());
  }
  if (root == nullptr) {
    refuseForMemory(kDecoding, log);
    delete octets;
  }
  return root;
}

_vmAsn1* _vmAsn1::DecodeToAsn_1Step(const unsigned char* der, unsigned size, LogBase& log) {
  DerReader reader({der, size});
  Asn1Header header;
  if (!reader.readHeader(header)) {
    refuse(reader.fault(), log);
    return nullptr;
  }
  const size_t end = header.headerSize + header.contentSize;
  if (!header.indefinite && end != size) {
    refuse({"Octets follow the outermost element.", end}, log);
    return nullptr;
  }
  DataBuffer bytes;
  bytes.append(der, size);
  _vmAsn1* node = createRoot(bytes, log);
  if (node != nullptr) node->m_decoded = false;
  return node;
}

_vmAsn1* _vmAsn1::DecodeToAsn(const unsigned char* der, unsigned size, unsigned& consumed,
                              LogBase& log) {
  consumed = 0;
  size_t elementSize = 0;
  bool isDer = false;
  Asn1Fault fault;
  if (!scanBer({der, size}, elementSize, isDer, fault)) {
    refuse(fault, log);
    return nullptr;
  }
  DataBuffer bytes;
  if (bytes.append(der, elementSize) && !isDer && !convertToDer(bytes, log)) return nullptr;
  _vmAsn1* node = createRoot(bytes, log);
  if (node != nullptr) consumed = static_cast<unsigned>(elementSize);
  return node;
}

_vmAsn1* _vmAsn1::xml_to_asn(ClsXml& at, LogBase& log) {
  DataBuffer der;
  if (!DerXmlCodec::xmlToDer(at, der, log)) return nullptr;
  return createRoot(der, log);
}

bool _vmAsn1::DecodeInner(bool, LogBase& log) {
  return decode(log) && (indexParts() || refuseForMemory(kDecoding, log));
}

bool _vmAsn1::decode(LogBase& log) {
  if (m_decoded) return true;
  // Only a root that has no parts yet comes here, so that nobody else sees its octets change.
  DataBuffer& bytes = m_octets->bytes;
  size_t size = 0;
  bool isDer = false;
  Asn1Fault fault;
  if (!scanBer(bytes.span(), size, isDer, fault)) return refuse(fault, log);
  // Octets may follow an indefinite length only, which is no DER; the conversion refuses them.
  if (!isDer && !convertToDer(bytes, log)) return false;
  m_end = bytes.size();
  m_decoded = true;
  DerReader(element()).peekHeader(m_header);
  return true;
}

// Finds where the parts start. The octets are known to be well-formed.
bool _vmAsn1::indexParts() noexcept {
  if (m_indexed || !m_header.constructed) return true;
  const size_t base = m_start + m_header.headerSize;
  DerReader reader(content(), base);
  while (!reader.atEnd()) {
    Asn1Header header;
    std::span<const unsigned char> skipped;
    if (!m_parts.push_back({reader.offset(), nullptr}) || !reader.readElement(header, skipped)) {
      m_parts.clear();
      return false;
    }
  }
  m_indexed = true;
  return true;
}

int _vmAsn1::numAsnParts() {
  return m_decoded && indexParts() ? static_cast<int>(m_parts.size()) : 0;
}

_vmAsn1* _vmAsn1::getAsnPart(int i) {
  if (i < 0 || i >= numAsnParts()) return nullptr;
  const size_t index = static_cast<size_t>(i);
  Part& part = m_parts[index];
  if (part.node == nullptr) {
    const bool last = index + 1 == m_parts.size();
    part.node = create(m_octets.get(), part.start, last ? m_end : m_parts[index + 1].start);
  }
  return part.node;
}

bool _vmAsn1::EncodeToDer(DataBuffer& out, bool, LogBase& log) {
  return decode(log) && (out.append(element()) || refuseForMemory(kEncoding, log));
}

bool _vmAsn1::getBitString(DataBuffer& out) const {
  std::span<const unsigned char> octets;
  return DerReader(element()).takeOctetBits(octets) && out.append(octets);
}

bool _vmAsn1::GetOid(StringBuffer& out) const {
  return !m_header.constructed && m_header.is(asn1_tag::kOid) && oidToDotted(content(), out);
}

bool _vmAsn1::getAsnContent(DataBuffer& out) const {
  return out.append(content());
}

std::span<const unsigned char> _vmAsn1::element() const noexcept {
  return m_octets->bytes.span().subspan(m_start, m_end - m_start);
}

std::span<const unsigned char> _vmAsn1::content() const noexcept {
  return element().subspan(m_header.headerSize);
}

}  // namespace velmora
