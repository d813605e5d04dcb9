#include "viewer/module/element_tree.h"

#include <limits>
#include <string_view>
#include <vector>

#include "tools/render/json_writer.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/ber_walk.h"
#include "viewer/module/element_text.h"

namespace velmora::viewer {

namespace {

using Octets = std::span<const unsigned char>;

// Octets within octets within octets: each is walked once for itself and once for what is around.
constexpr size_t kMostOpened = 4;
// A line's worth of a value.
constexpr size_t kMostText = 256;

// A member of a field by its place among the members, as RFC 5280 §4.1 lists them.
struct FieldRule {
  std::string_view parent;
  size_t place;
  std::string_view field;
};
constexpr FieldRule kFields[] = {{"Certificate", 0, "tbsCertificate"},
                                 {"Certificate", 1, "signatureAlgorithm"},
                                 {"Certificate", 2, "signatureValue"},
                                 {"tbsCertificate", 0, "serialNumber"},
                                 {"tbsCertificate", 1, "signature"},
                                 {"tbsCertificate", 2, "issuer"},
                                 {"tbsCertificate", 3, "validity"},
                                 {"tbsCertificate", 4, "subject"},
                                 {"tbsCertificate", 5, "subjectPublicKeyInfo"},
                                 {"validity", 0, "notBefore"},
                                 {"validity", 1, "notAfter"},
                                 {"subjectPublicKeyInfo", 0, "algorithm"},
                                 {"subjectPublicKeyInfo", 1, "subjectPublicKey"},
                                 {"extensions", 0, "Extensions"},
                                 {"Extension", 0, "extnID"}};
// Those of tbsCertificate that may be absent, by their tags.
constexpr std::string_view kTagged[] = {"version", "issuerUniqueID", "subjectUniqueID",
                                        "extensions"};

std::string_view fieldAt(std::string_view parent, size_t place) {
  for (const FieldRule& each : kFields) {
    if (each.parent == parent && each.place == place) return each.field;
  }
  return {};
}

struct Element {
  Asn1Header header;
  size_t offset;
  size_t depth;
  size_t parent;
  size_t members = 0;
  Octets content;  // of a primitive one
  std::string_view field;
};

// Lists the elements of some octets in their order, without recursion.
class ElementList {
 public:
  explicit ElementList(Octets certificate) : m_levels{Level(certificate, 0, 0, kNone)} {}

  // False when there is more than what is listed.
  bool read() {
    while (!m_levels.empty()) {
      if (m_elements.size() == kMostElements) return false;
      if (!step()) return false;
    }
    return true;
  }

  const std::vector<Element>& elements() const { return m_elements; }

  // The name of the extension that an element is; empty for any other.
  Octets extensionId(size_t place) const {
    if (m_elements[place].field != "Extension" || place + 1 == m_elements.size()) return {};
    const Element& id = m_elements[place + 1];
    return id.header.is(asn1_tag::kOid) ? id.content : Octets();
  }

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  // A walk over the certificate, or over what the octets of an element hold.
  struct Level {
    Level(Octets octets, size_t at, size_t below, size_t around)
        : walk(octets), base(at), depth(below), parent(around) {}
    BerWalk walk;
    size_t base;
    size_t depth;
    size_t parent;  // the constructed element around the walk's place
  };

  bool step() {
    Level& level = m_levels.back();
    Asn1Header header;
    Octets content;
    const size_t start = level.walk.offset();
    const size_t depth = level.depth + level.walk.depth();
    switch (level.walk.next(header, content)) {
      case BerStep::kElement:
        add({header, level.base + start, depth, level.parent, 0, content, {}});
        header.constructed ? void(level.parent = m_elements.size() - 1) : open(content);
        return true;
      case BerStep::kClose:
        close(level);
        return true;
      case BerStep::kEnd:
        m_levels.pop_back();
        return true;
      default:
        return false;
    }
  }

  void add(Element element) {
    if (element.parent == kNone) {
      element.field = "Certificate";
    } else {
      Element& parent = m_elements[element.parent];
      element.field = fieldOf(element, parent);
      if (element.field != kTagged[0]) ++parent.members;  // the others count as without a version
    }
    m_elements.push_back(element);
  }

  static std::string_view fieldOf(const Element& element, const Element& parent) {
    const bool isTagged = element.header.tagClass == Asn1Class::kContextSpecific;
    if (parent.field == "tbsCertificate" && isTagged) {
      const size_t tag = element.header.tagNumber;
      return tag < std::size(kTagged) ? kTagged[tag] : std::string_view();
    }
    if (parent.field == "Extensions") return "Extension";
    if (parent.field == "Extension" && element.header.is(asn1_tag::kBoolean)) return "critical";
    if (parent.field == "Extension" && element.header.is(asn1_tag::kOctetString)) {
      return "extnValue";
    }
    return fieldAt(parent.field, parent.members);
  }

  // Only the end tells how long an element without a length is.
  void close(Level& level) {
    Element& closed = m_elements[level.parent];
    const size_t end = level.base + level.walk.offset();
    constexpr size_t kEndOfContents = 2;
    if (closed.header.indefinite) {
      closed.header.contentSize = end - kEndOfContents - closed.offset - closed.header.headerSize;
    }
    level.parent = closed.parent;
  }

  // Goes into what a string of octets holds, where all of it is one element in DER. In few octets
  // many things look like that by chance: what is not an extension's value has to be a SEQUENCE.
  void open(Octets content) {
    const Element& string = m_elements.back();
    const bool isBits =
        string.header.is(asn1_tag::kBitString) && !content.empty() && content[0] == 0;
    if (!isBits && !string.header.is(asn1_tag::kOctetString)) return;
    const size_t skipped = isBits ? 1 : 0;
    content = content.subspan(skipped);
    if (m_levels.size() == kMostOpened || content.empty()) return;
    if (string.field != "extnValue" && content[0] != asn1_identifier::kSequence) return;
    size_t size = 0;
    bool isDer = false;
    Asn1Fault fault;
    if (!scanBer(content, size, isDer, fault) || !isDer || size != content.size()) return;
    const size_t base = string.offset + string.header.headerSize + skipped;
    m_levels.emplace_back(content, base, string.depth + 1, m_elements.size() - 1);
  }

  std::vector<Level> m_levels;
  std::vector<Element> m_elements;
};

void writeElement(const ElementList& list, size_t place, StringBuffer& scratch,
                  tool::JsonLine& line) {
  const Element& element = list.elements()[place];
  line.beginList("");
  line.number("", element.offset);
  line.number("", element.header.headerSize);
  line.number("", element.header.contentSize);
  line.number("", element.depth);
  scratch.weakClear();
  appendType(element.header, scratch);
  line.text("", scratch.view());
  const Octets id = list.extensionId(place);
  scratch.weakClear();
  appendStart(id.empty() ? element.field : tool::DottedOid(std::as_bytes(id)).nameOrText(),
              kMostText, scratch);
  line.text("", scratch.view());
  scratch.weakClear();
  if (!element.header.constructed) {
    appendValue(element.header, element.content, kMostText, scratch);
  }
  line.text("", scratch.view());
  line.endList();
}

}  // namespace

void appendElements(Octets certificate, StringBuffer& out) {
  ElementList list(certificate);
  const bool isAll = list.read();
  StringBuffer scratch;
  tool::JsonLine line(out);
  line.beginList("elements");
  for (size_t i = 0; i < list.elements().size(); ++i) writeElement(list, i, scratch, line);
  line.endList();
  line.boolean("more", !isAll);
  line.end();
}

void appendWholeValue(Octets certificate, size_t offset, StringBuffer& out) {
  if (offset >= certificate.size()) return;
  DerReader reader(certificate.subspan(offset));
  Asn1Header header;
  if (!reader.readHeader(header) || header.constructed) return;
  constexpr size_t kAll = std::numeric_limits<size_t>::max();
  appendValue(header, reader.skip(header.contentSize), kAll, out);
}

}  // namespace velmora::viewer
