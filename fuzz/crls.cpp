
#include "fuzz/fuzz_target.h"
#include "velmora/certificate/der.h"
#include "velmora/path/crl.h"
#include "velmora/support/pem/pem_writer.h"

// Property: a CRL answers for each serial number in it, and for others close by, what a walk over
// all its entries finds (RFC 5280 §5.1.2.6, §5.3); it vouches only where all of them can be read;
// and two in a row, of DER or of PEM, are read as two.

namespace {

using namespace velmora;
using fuzz::require;
using View = std::string_view;

struct Element {
  View whole, content;
  bool is(char identifier) const { return whole[0] == identifier; }
};
using Elements = std::vector<Element>;

// Whether its highest bit is set; char has no sign on every machine.
bool isNegative(char octet) {
  return (octet & 0x80) != 0;
}

// Of what was found to be DER.
Elements membersOf(View in) {
  Elements all;
  while (!in.empty()) {
    size_t at = 1;
    if ((in[0] & 0x1F) == 0x1F)
      while (isNegative(in[at++])) continue;  // a tag number above 30
    size_t header = at + 1, size = static_cast<unsigned char>(in[at]);
    if (size >= 0x80) {
      header += size - 0x80;
      size = 0;
      for (const char octet : in.substr(at + 1, header - at - 1)) {
        size = size << 8 | static_cast<unsigned char>(octet);
      }
    }
    all.push_back({in.substr(0, header + size), in.substr(header, size)});
    in.remove_prefix(header + size);
  }
  return all;
}

Bytes bytesOf(View octets) {
  return std::as_bytes(std::span(octets));
}

// Whether these are the arcs of an OID, and no more than are held.
bool isOid(View octets) {
  bool isStart = true;
  for (const char octet : octets) {
    if (isStart && octet == '\x80') return false;
    isStart = !isNegative(octet);
  }
  return isStart && !octets.empty() && octets.size() <= 63;
}

// Whether an extension is understood; the reason is then set.
bool readExtension(const Element& extension, std::optional<CrlReason>& reason) {
  const Elements parts = extension.is(0x30) ? membersOf(extension.content) : Elements();
  const bool hasFlag = parts.size() == 3;
  if (parts.size() != (hasFlag ? 3 : 2) || !parts[0].is(6) || !parts.back().is(4)) return false;
  const bool isCritical = hasFlag && parts[1].content == "\xFF";
  if (hasFlag && !(parts[1].is(1) && (isCritical || parts[1].content == View("\0", 1))))
    return false;
  const View value = parts.back().content;
  if (!isOid(parts[0].content)) return false;
  if (parts[0].content != "\x55\x1D\x15") {
    return !isCritical || (parts[0].content == "\x55\x1D\x18" && readTime(bytesOf(value)));
  }
  const bool isCode = !reason && value.size() == 3 && value.starts_with("\x0A\1");
  if (!isCode || isNegative(value[2]) || value[2] == 7 || value[2] > 10) return false;
  reason = static_cast<CrlReason>(value[2]);
  return true;
}

RevokedCertificate readEntry(const Elements& entry) {
  const auto date = readTime(bytesOf(entry[1].whole));
  RevokedCertificate read{date.value_or(std::chrono::sys_seconds()), {}, date.has_value()};
  if (entry.size() == 2) return read;
  read.isReadable = read.isReadable && !entry[2].content.empty();
  for (const Element& extension : membersOf(entry[2].content)) {
    read.isReadable = read.isReadable && readExtension(extension, read.reason);
  }
  return read;
}

bool isRemoval(const RevokedCertificate& it) {
  return it.isReadable && it.reason == CrlReason::removeFromCrl;
}

// The number without octets in front that only repeat its sign.
std::string shortest(std::string serial) {
  const auto isSpare = [&] {
    return serial[0] == '\0' ? !isNegative(serial[1])
                             : serial[0] == '\xFF' && isNegative(serial[1]);
  };
  while (serial.size() > 1 && isSpare()) serial.erase(0, 1);
  return serial;
}

void ask(const Crl& crl, const std::vector<Elements>& entries, const std::string& serial) {
  std::optional<RevokedCertificate> expected;
  for (const Elements& entry : entries) {
    if (shortest(std::string(entry[0].content)) != shortest(serial)) continue;
    const RevokedCertificate read = readEntry(entry);
    if (!expected || (isRemoval(*expected) && !isRemoval(read))) expected = read;
  }
  const Result<RevokedCertificate> found = crl.find(bytesOf(serial));
  require(found.has_value() == expected.has_value(), "what is listed is found");
  if (!found) return;
  require(found->isReadable == expected->isReadable, "what can be read");
  const bool isSame = found->at == expected->at && found->reason == expected->reason;
  require(isSame || !found->isReadable, "the same entry");
}

void check(const Crl& crl, View der) {
  std::vector<Elements> entries;
  const Elements fields = membersOf(membersOf(membersOf(der)[0].content)[0].content);
  size_t at = fields[0].is(2) ? 4 : 3;
  if (at < fields.size() && (fields[at].is(0x17) || fields[at].is(0x18))) ++at;
  if (at < fields.size() && fields[at].is(0x30)) {
    for (const Element& entry : membersOf(fields[at].content)) {
      entries.push_back(membersOf(entry.content));
    }
  }
  require(crl.size() == entries.size(), "as many entries");
  for (const Elements& entry : entries) {
    std::string serial(entry[0].content);
    ask(crl, entries, serial);
    serial.insert(0, 1, !serial.empty() && isNegative(serial[0]) ? '\xFF' : '\0');
    ask(crl, entries, serial);
    serial.back() ^= 1;
    ask(crl, entries, serial);
    const RevokedCertificate read = readEntry(entry);
    require(!crl.mayVouch() || (read.isReadable && !isRemoval(read)), "what vouches is understood");
  }
}

// Of octets in any form.
void read(View octets) {
  const CrlReading read = CrlSet::read(bytesOf(octets));
  require(!read.crls.empty() || !read.failures.empty(), "an input has CRLs or a failure");
  for (const CrlFailure& each : read.failures) require(!each.reason.empty(), "with a reason");
  for (const Crl& each : read.crls) require(*Crl::parse(each.der()) == each, "CRLs are CRLs");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string der(data, data + size), twice = der + der;
  const Result<Crl> crl = Crl::parse(bytesOf(der));
  require(crl || crl.error().offset <= size, "an error is inside");
  read(der);
  if (!crl) return 0;
  StringBuffer pem;
  for (int i = 0; i < 2; ++i) {
    pem.append("text\n");
    appendPem("X509 CRL", {data, size}, pem);
  }
  for (const View both : {View(twice), pem.view()}) {
    const CrlReading read = CrlSet::read(bytesOf(both));
    require(read.complete() && read.crls == std::vector{*crl, *crl}, "two in a row");
  }
  check(*crl, der);
  return 0;
}
