#include <algorithm>
#include <new>

#include "velmora/certificate/internal/departure_list.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/encoding_check.h"
#include "velmora/certificate/internal/known_extensions.h"
#include "velmora/certificate/internal/octets.h"

// Where extensions depart from RFC 5280 §4.2 one by one: the list, what stands in each, and whether
// it may be critical. What they say together is in departures_rules.cpp.

namespace velmora {
namespace {

using Code = DepartureCode;

// One known extension with the place of each general name in it.
class ExtensionPart {
 public:
  ExtensionPart(const ExaminedCertificate& examined, DepartureList& list) noexcept
      : m_examined(examined), m_list(list) {}

  // What it says: its error, and the names in it.
  void judge(const Result<ExtensionContent>& answer) {
    if (answer) return std::visit([&](const auto& content) { examine(content); }, *answer);
    if (answer.error().code == ErrorCode::outOfMemory) throw std::bad_alloc();
    const Error& error = answer.error();
    const bool isUnread =
        error.code == ErrorCode::malformedExtension || error.code == ErrorCode::tooLarge;
    if (isUnread && m_list.isCertain()) m_list.add(Code::extensionMalformed, error.offset);
  }

 private:
  template <class T>
  void examine(const T&) {}

  void examine(const GeneralName& name) {
    if (const auto* const raw = std::get_if<RawName>(&name)) {
      if (raw->malformed) m_list.add(Code::generalNameMalformed, raw->offset);
    } else if (const auto* const directory = std::get_if<Name>(&name)) {
      const Bytes der = directory->der();
      examineName(der, static_cast<uint32_t>(der.data() - m_examined.der().data()), m_list);
    }
  }
  void examine(const Access& access) { examine(access.location); }
  void examine(const AuthorityKeyId& id) { examine(id.issuer); }
  void examine(const DistributionPoint& point) {
    examine(point.fullName);
    examine(point.crlIssuer);
  }
  void examine(const NameConstraints& constraints) {
    examine(constraints.permitted);
    examine(constraints.excluded);
  }
  template <class T>
  void examine(const std::vector<T>& list) {
    for (const T& member : list) examine(member);
  }

  const ExaminedCertificate& m_examined;
  DepartureList& m_list;
};

// An extension of the list that has an OID.
struct Listed {
  const ExtensionEntry* entry;
  Bytes id;
  uint64_t mark;    // its size and last octets, which differ in nearly all
  bool isRepeated;  // there is another one with that OID
};

uint64_t markOf(Bytes id) noexcept {
  constexpr size_t kLast = 7;
  const uint64_t size = std::min<size_t>(id.size(), 0xFF);
  return size << 8 * kLast | bigEndianNumber(id.last(std::min(id.size(), kLast)));
}

// Whether no extension can be there twice: each is of another kind, but for one that is not known.
bool areDistinct(std::span<const ExtensionEntry> entries) noexcept {
  uint32_t seen = 0;
  for (const ExtensionEntry& entry : entries) {
    const uint32_t bit = bitOf(entry.kind);
    if ((seen & bit) != 0) return false;
    seen |= bit;
  }
  return true;
}

// Sorted by OIDs in whatever order, so that those of one OID stand together, in the order of the
// certificate.
std::vector<Listed> sortedExtensions(const ExaminedCertificate& examined) {
  std::vector<Listed> listed;
  listed.reserve(examined.block->extensions().size());
  for (const ExtensionEntry& entry : examined.block->extensions()) {
    if (entry.id == 0) continue;
    const Bytes id = contentAt(examined.der(), entry.id);
    listed.push_back({&entry, id, markOf(id), false});
  }
  std::sort(listed.begin(), listed.end(), [](const Listed& a, const Listed& b) {
    if (a.mark != b.mark) return a.mark < b.mark;
    const auto differ = std::mismatch(a.id.begin(), a.id.end(), b.id.begin(), b.id.end());
    const bool aEnds = differ.first == a.id.end();
    const bool bEnds = differ.second == b.id.end();
    if (aEnds && bEnds) return a.entry->at < b.entry->at;
    return aEnds || (!bEnds && *differ.first < *differ.second);
  });
  for (size_t i = 1; i < listed.size(); ++i) {
    if (!sameOctets(listed[i - 1].id, listed[i].id)) continue;
    listed[i - 1].isRepeated = listed[i].isRepeated = true;
  }
  return listed;
}

void examineList(const ExaminedCertificate& examined, DepartureList& list) {
  const CertificateIndex& index = examined.index();
  list.beginPart();
  if (index.extensionFault != 0) list.add(Code::extensionListMalformed, index.extensionFault);
  if (index.extensions != 0 && (examined.version == 1 || examined.version == 2)) {
    list.add(Code::extensionsInOldVersion, index.extensions);
  }
}

// Whether an extension beside its value is as nearly all are: parse() has seen that its headers are
// DER, and a known OID is one. Left is its BOOLEAN.
bool isUsualOutside(Bytes der, const ExtensionEntry& entry) noexcept {
  if (entry.kind == ExtensionKind::other || !entry.isWellFormed) return false;
  constexpr size_t kShortHeader = 2;
  const size_t behindId = entry.id + kShortHeader + entry.idSize;
  return behindId == entry.value || der[behindId + kShortHeader] == std::byte{0xFF};
}

// What an extension of the list is beside its value.
void examineOutside(const ExaminedCertificate& examined, const ExtensionEntry& entry,
                    DepartureList& list) {
  constexpr ContentSpot kSpots[] = {{1, asn1_tag::kBoolean, ContentRule::falseIsDefault}};
  if (isUsualOutside(examined.der(), entry)) return;
  checkEncoding(elementAt(examined.der(), entry.at), entry.at, kSpots, list);
}

// Whether the content is as it should be, seen without keeping any of it.
bool isPlain(const ExaminedCertificate& examined, const KnownExtension& known, Bytes value) {
  ExtensionReader::Source source{examined.block, Strictness::strict, false};
  ExtensionReader reader(source, value, static_cast<size_t>(value.data() - examined.der().data()));
  known.check(reader);
  reader.end();
  return !source.fault && source.isPlain;
}

void examineContent(const ExaminedCertificate& examined, const Listed& listed,
                    const KnownExtension& known, DepartureList& list) {
  const ExtensionEntry& entry = *listed.entry;
  const Bytes value = contentAt(examined.der(), entry.value);
  // One that is there twice is not answered.
  const bool isAnswered = !listed.isRepeated && entry.isWellFormed;
  if (isAnswered && isPlain(examined, known, value)) return;
  const auto valueAt = static_cast<size_t>(value.data() - examined.der().data());
  checkEncoding(value, valueAt, known.spots, list);
  if (!isAnswered) return;
  const Extension extension{known.id, entry.critical, value, known.id.der(), entry.at};
  ExtensionPart(examined, list).judge(examined.certificate.content(extension));
}

void examineKnown(const ExaminedCertificate& examined, const Listed& listed,
                  const KnownExtension& known, DepartureList& list) {
  const ExtensionEntry& entry = *listed.entry;
  const bool mustBe = known.criticality == Criticality::must;
  if (known.criticality != Criticality::either && entry.critical != mustBe) {
    list.add(Code::criticalityWrong, entry.at);
  }
  if (known.check != nullptr && entry.value != 0) examineContent(examined, listed, known, list);
}

void examineOne(const ExaminedCertificate& examined, const Listed& listed, DepartureList& list) {
  examineOutside(examined, *listed.entry, list);
  if (const KnownExtension* const known = knownExtension(listed.entry->kind)) {
    examineKnown(examined, listed, *known, list);
  }
}

void examineDistinct(const ExaminedCertificate& examined, DepartureList& list) {
  for (const ExtensionEntry& entry : examined.block->extensions()) {
    if (entry.id == 0) continue;
    const Bytes id = contentAt(examined.der(), entry.id);
    list.beginPart(id);
    examineOne(examined, {&entry, id, 0, false}, list);
  }
}

void examineRepeated(const ExaminedCertificate& examined, DepartureList& list) {
  const std::vector<Listed> extensions = sortedExtensions(examined);
  for (size_t i = 0; i < extensions.size(); ++i) {
    const Listed& listed = extensions[i];
    if (i != 0 && sameOctets(extensions[i - 1].id, listed.id)) {
      list.add(Code::extensionRepeated, listed.entry->at);
    } else {
      list.beginPart(listed.id);
    }
    examineOne(examined, listed, list);
  }
}

}  // namespace

void examineExtensions(const ExaminedCertificate& examined, DepartureList& list) {
  examineList(examined, list);
  areDistinct(examined.block->extensions()) ? examineDistinct(examined, list)
                                            : examineRepeated(examined, list);
  examineRules(examined, list);
}

}  // namespace velmora
