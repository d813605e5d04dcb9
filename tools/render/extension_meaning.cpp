#include "tools/render/extension_meaning.h"

#include <algorithm>
#include <charconv>

#include "tools/reading/general_name.h"
#include "tools/reading/string_value.h"
#include "tools/reading/whole.h"
#include "tools/render/escape.h"

namespace velmora::tool {

namespace {

// Items of one line, with commas between them.
class Items {
 public:
  Items(OidStyle style, StringBuffer& out) noexcept : m_style(style), m_out(out) {}

  StringBuffer& next() {
    if (m_any) m_out.append(", ");
    m_any = true;
    return m_out;
  }
  void oid(std::string_view dotted) { appendOidShort(dotted, m_style, next()); }
  void generalName(ClsXml& at) {
    readGeneralName(at, m_name);
    appendGeneralNameItem(m_name, m_style, next());
  }
  // Behind the last item and part of it.
  void alsoGeneralName(ClsXml& at) {
    readGeneralName(at, m_name);
    m_out.appendChar(' ');
    appendGeneralNameItem(m_name, m_style, m_out);
  }
  void alsoText(std::string_view text) {
    m_out.appendChar(' ');
    appendPrintableItem(text, m_out);
  }
  bool any() const noexcept { return m_any; }

 private:
  OidStyle m_style;
  StringBuffer& m_out;
  bool m_any = false;
  GeneralName m_name;
};

// The content of the child that a path of steps reaches; false when there is none.
bool readChild(const ClsXml& at, const char* path, StringBuffer& text) {
  const bool found = at.getChildContentUtf8(path, text, false);
  whole(text);
  return found;
}

// Each explains the value at the handle, whose outermost element is of the right type; false when
// what is in it is not.
using Explain = bool (*)(ClsXml& at, Items& items);

// INTEGER (0..MAX) in hexadecimal; what fits no 60 bits is shown as it is. False below 0.
bool appendNumber(std::string_view digits, StringBuffer& out) {
  if (digits.empty() || digits.front() >= '8') return false;
  int64_t value = 0;
  const char* const end = digits.data() + digits.size();
  if (digits.size() < 16 && std::from_chars(digits.data(), end, value, 16).ptr == end) {
    return out.appendInt(value);
  }
  out.append("0x");
  return out.append(digits);
}

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
bool explainBasicConstraints(ClsXml& at, Items& items) {
  constexpr std::string_view kFalse = "00";
  std::string_view isCa = kFalse;
  std::optional<std::string_view> pathLength;
  bool wellFormed = true;
  bool first = true;
  eachChild(at, [&] {
    if (first && at.tagEquals("bool")) {
      isCa = at.contentView();
    } else if (!pathLength && at.tagEquals("int")) {
      pathLength = at.contentView();
    } else {
      wellFormed = false;
    }
    first = false;
  });
  if (!wellFormed || isCa.size() != kFalse.size()) return false;  // one octet (X.690 §8.2.1)
  items.next().append(isCa == kFalse ? "not a CA" : "a CA");
  if (!pathLength) return true;
  StringBuffer& out = items.next();
  out.append("path length ");
  return appendNumber(*pathLength, out);
}

// KeyUsage ::= BIT STRING, the first bit being digitalSignature
bool explainKeyUsage(ClsXml& at, Items& items) {
  static constexpr std::string_view kUsages[] = {
      "digitalSignature", "nonRepudiation", "keyEncipherment", "dataEncipherment", "keyAgreement",
      "keyCertSign",      "cRLSign",        "encipherOnly",    "decipherOnly"};
  DataBuffer octets;
  octets.appendEncoded(at.contentView(), "hex");
  const std::span<const unsigned char> bits = whole(octets).span();
  // In DER the unused bits are zero (X.690 §11.2.1).
  const unsigned unused = (1U << at.getAttrValueInt("unused")) - 1;
  if (!bits.empty() && (bits.back() & unused) != 0) return false;
  for (size_t i = 0; i < std::size(kUsages) && i / 8 < bits.size(); ++i) {
    if ((bits[i / 8] & (0x80U >> (i % 8))) != 0) items.next().append(kUsages[i]);
  }
  if (!items.any()) items.next().append("nothing");
  return true;
}

// ExtKeyUsageSyntax ::= SEQUENCE OF OBJECT IDENTIFIER
bool explainKeyPurposes(ClsXml& at, Items& items) {
  bool wellFormed = true;
  eachChild(at, [&] {
    at.tagEquals("oid") ? items.oid(at.contentView()) : static_cast<void>(wellFormed = false);
  });
  return wellFormed && items.any();
}

// AuthorityInfoAccessSyntax ::= SEQUENCE OF SEQUENCE { accessMethod OBJECT IDENTIFIER,
//   accessLocation GeneralName }
bool explainAccess(ClsXml& at, Items& items) {
  bool wellFormed = true;
  eachChild(at, [&] {
    const bool isAccess = at.get_NumChildren() == 2 && at.FirstChild2();
    if (!isAccess) {
      wellFormed = false;
      return;
    }
    wellFormed = wellFormed && at.tagEquals("oid");
    items.oid(at.contentView());
    at.NextSibling2();
    items.alsoGeneralName(at);
    at.getParent2();
  });
  return wellFormed && items.any();
}

// DistributionPointName ::= CHOICE { fullName [0] GeneralNames, nameRelativeToCRLIssuer [1] RDN }
void explainPointName(ClsXml& at, Items& items) {
  eachChild(at, [&] {
    if (isContext(at, 1)) items.next().append("a name relative to the issuer's");
    if (!isContext(at, 0)) return;
    eachChild(at, [&] { items.generalName(at); });
  });
}

// CRLDistributionPoints ::= SEQUENCE OF SEQUENCE { distributionPoint [0] DistributionPointName
//   OPTIONAL, reasons [1] ReasonFlags OPTIONAL, cRLIssuer [2] GeneralNames OPTIONAL }
bool explainDistributionPoints(ClsXml& at, Items& items) {
  eachChild(at, [&] {
    eachChild(at, [&] {
      if (isContext(at, 0)) return explainPointName(at, items);
      if (isContext(at, 1)) items.next().append("for some reasons only");
      if (!isContext(at, 2)) return;
      items.next().append("issued by");
      eachChild(at, [&] { items.alsoGeneralName(at); });
    });
  });
  return items.any();
}

// The qualifier is the URI of a statement, CPSuri ::= IA5String, or
//   UserNotice ::= SEQUENCE { noticeRef SEQUENCE ... OPTIONAL, explicitText DisplayText OPTIONAL }
void explainQualifier(ClsXml& at, Items& items) {
  StringBuffer text;
  bool found = false;
  const auto take = [&] { found = found || readStringValue(at, text); };
  eachChild(at, [&] {
    take();
    eachChild(at, take);
  });
  if (found) items.alsoText(text.view());
}

// CertificatePolicies ::= SEQUENCE OF SEQUENCE { policyIdentifier OBJECT IDENTIFIER,
//   policyQualifiers SEQUENCE OF SEQUENCE { policyQualifierId OBJECT IDENTIFIER,
//   qualifier ANY } OPTIONAL }
bool explainPolicies(ClsXml& at, Items& items) {
  bool wellFormed = true;
  StringBuffer text;
  eachChild(at, [&] {
    if (!readChild(at, "oid", text)) {
      wellFormed = false;
      return;
    }
    items.oid(text.view());
    if (!at.findChild2("sequence")) return;
    eachChild(at, [&] { explainQualifier(at, items); });
    at.getParent2();
  });
  return wellFormed && items.any();
}

// NameConstraints ::= SEQUENCE { permittedSubtrees [0] SEQUENCE OF GeneralSubtree OPTIONAL,
//   excludedSubtrees [1] ... OPTIONAL }; GeneralSubtree ::= SEQUENCE { base GeneralName, ... }
bool explainNameConstraints(ClsXml& at, Items& items) {
  bool wellFormed = true;
  eachChild(at, [&] {
    const bool permitted = isContext(at, 0);
    if (!permitted && !isContext(at, 1)) wellFormed = false;
    eachChild(at, [&] {
      if (!at.FirstChild2()) {
        wellFormed = false;
        return;
      }
      items.next().append(permitted ? "only" : "not");
      items.alsoGeneralName(at);
      at.getParent2();
    });
  });
  return wellFormed && items.any();
}

// GeneralNames ::= SEQUENCE OF GeneralName
bool explainGeneralNames(ClsXml& at, Items& items) {
  eachChild(at, [&] { items.generalName(at); });
  return items.any();
}

struct Explained {
  std::string_view oid;
  const char* outermost;
  Explain explain;
};

constexpr Explained kExplained[] = {
    {"2.5.29.15", "bits", explainKeyUsage},
    {"2.5.29.17", "sequence", explainGeneralNames},
    {"2.5.29.18", "sequence", explainGeneralNames},
    {"2.5.29.19", "sequence", explainBasicConstraints},
    {"2.5.29.30", "sequence", explainNameConstraints},
    {"2.5.29.31", "sequence", explainDistributionPoints},
    {"2.5.29.32", "sequence", explainPolicies},
    {"2.5.29.37", "sequence", explainKeyPurposes},
    {"2.5.29.46", "sequence", explainDistributionPoints},
    {"1.3.6.1.5.5.7.1.1", "sequence", explainAccess},
    {"1.3.6.1.5.5.7.1.11", "sequence", explainAccess},
};

void appendSize(std::string_view base64, StringBuffer& out) {
  DataBuffer octets;
  octets.appendEncoded(base64, "base64");
  out.appendInt(static_cast<int64_t>(whole(octets).size()));
  out.append(octets.size() == 1 ? " byte" : " bytes");
}

}  // namespace

void appendMeaning(const ListedExtension& extension, OidStyle style, StringBuffer& out) {
  if (!extension.value) {
    out.append("without a value");
    return;
  }
  const auto* known =
      std::find_if(std::begin(kExplained), std::end(kExplained),
                   [&](const Explained& each) { return each.oid == extension.oid; });
  if (known == std::end(kExplained)) return appendSize(*extension.value, out);
  const size_t start = out.getSize();
  const XmlHandle tree = treeOfBase64(*extension.value);
  Items items(style, out);
  if (tree && tree->tagEquals(known->outermost) && known->explain(*tree, items)) return;
  out.truncate(start);
  out.append("cannot be read, ");
  appendSize(*extension.value, out);
}

}  // namespace velmora::tool
