#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>

#include "fuzz/fuzz_target.h"
#include "tests/common/der_builder.h"
#include "velmora/path/target.h"
#include "velmora/reading/crossing.h"
#include "velmora/support/text/ascii.h"
#include "velmora/x509/velmora_x509.h"

// Property: a host is a certificate's exactly when a matcher by labels finds it so (RFC 9525 §6.3),
// an address when inet_pton reads it, and a mailbox when its halves do; a pin set accepts a key
// exactly when one of its pins is the digest, character by character. An input is the host that is
// asked for and a line for each that is there; or, behind "#", a pin set in which octets beyond
// ASCII stand for pins.

namespace {

using namespace velmora;
using namespace velmora::test;
using fuzz::require;
using Texts = std::vector<std::string>;

std::string small(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return text;
}

Texts split(const std::string& text, char at) {
  Texts parts;
  std::istringstream in(text + at);
  for (std::string part; std::getline(in, part, at);) parts.push_back(part);
  return parts;
}

bool isName(const Texts& labels) {
  size_t size = 0;
  for (const std::string& label : labels) {
    const bool isLabel =
        label.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_") == label.npos;
    if (!isLabel || label.empty() || label.size() > 63) return false;
    size += label.size() + 1;
  }
  return size <= 254 && labels.back().find_first_not_of("0123456789") != std::string::npos;
}

bool holds(const Target& target, const std::string& names) {
  const auto der = withExtensions(sequence(der::oid("2.5.29.17"), octets(sequence(names))));
  const auto certificate = Certificate::parse(der);
  require(certificate && target.matches(*certificate), "a certificate");
  return *target.matches(*certificate);
}

void matchName(const Texts& lines, Texts wanted, const Target& target) {
  if (lines[0].ends_with('.')) wanted.pop_back();
  std::string names;
  bool isNamed = false;
  for (size_t i = 1; i < lines.size(); ++i) {
    Texts labels = split(small(lines[i]), '.');
    if (labels[0] == "*" && labels.size() > 2) labels[0] = wanted[0];
    isNamed = isNamed || labels == wanted;
    names += primitive(2, lines[i]) + primitive(1, lines[i]) + primitive(7, lines[i]);
  }
  require(lines.size() == 1 || holds(target, names) == isNamed, "the labels match");
}

// RFC 5321 §4.1.2: atoms between dots, or a quoted string.
bool isLocalPart(const std::string& text) {
  const std::string atoms = text.starts_with('"') ? "" : text;
  for (const std::string& atom : split(atoms, '.')) {
    const auto isAtomic = [](unsigned char c) {
      return std::isalnum(c) != 0 || (c > ' ' && std::strchr("!#$%&'*+-/=?^_`{|}~", c) != nullptr);
    };
    if (!atoms.empty() && (atom.empty() || !std::all_of(atom.begin(), atom.end(), isAtomic)))
      return false;
  }
  if (!atoms.empty() || text.size() < 2) return !atoms.empty();
  size_t at = 1;
  for (; at + 1 < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\') ++at;
    if (text[at] < ' ' || text[at] > '~') return false;
  }
  return at + 1 == text.size() && text[at] == '"';
}

void matchMailbox(const Texts& lines) {
  const auto halves = [](const std::string& text) {
    const size_t at = text.rfind('@') + 1;
    return std::pair(text.substr(0, at), small(text.substr(at)));
  };
  const auto [local, domain] = halves(lines[0]);
  const Result<Target> target = Target::email(lines[0]);
  const bool isMailbox = !local.empty() && isLocalPart(local.substr(0, local.size() - 1)) &&
                         isName(split(domain, '.'));
  require(target.has_value() == isMailbox, "a mailbox");
  if (!target) return;
  std::string names;
  bool isNamed = false;
  for (size_t i = 1; i < lines.size(); ++i) {
    isNamed = isNamed || halves(lines[i]) == std::pair(local, domain);
    names += primitive(1, lines[i]) + primitive(2, lines[i]) + primitive(6, lines[i]);
  }
  require(lines.size() == 1 || holds(*target, names) == isNamed, "the halves match");
}

void matchHost(const Texts& lines) {
  const std::string& host = lines[0];
  matchMailbox(lines);
  const bool isInBrackets = host.starts_with('[') && host.ends_with(']');
  const std::string bare = isInBrackets ? host.substr(1, host.size() - 2) : host;
  char four[4], six[16];
  const bool isFour = inet_pton(AF_INET, host.c_str(), four) == 1;
  const bool isSix = inet_pton(AF_INET6, bare.c_str(), six) == 1;
  const bool isAddress = (isFour || isSix) && host.find('\0') == host.npos;
  Texts labels = split(small(host), '.');
  const bool hasDot = labels.size() > 1 && labels.back().empty();
  const Result<Target> name = Target::dnsName(host), address = Target::ipAddress(host);
  const Result<Target> any = Target::host(host);
  require(name.has_value() == isName(hasDot ? Texts(labels.begin(), labels.end() - 1) : labels),
          "a name");
  require(address.has_value() == isAddress, "an address");
  require(any ? any->text() == (name ? name : address)->text() : !name && !address, "a host");
  if (name) matchName(lines, labels, *name);
  if (!address) return;
  const std::string octets(isFour ? four : six, isFour ? 4 : 16);
  require(holds(*address, primitive(7, octets)), "its octets");
  require(!holds(*address, primitive(2, host) + primitive(7, octets + '\0')), "no others");
}

std::string digestOf(const Certificate& key, unsigned hash, const char* encoding) {
  DataBuffer bytes;
  StringBuffer text;
  const Octets octets = key.spkiPin(static_cast<Hash>(hash));
  bytes.append(octets.data(), octets.size());
  bytes.encodeDB(encoding, text);
  return std::string(text.view());
}

void matchPins(const std::string& input) {
  static const Certificate key = *Certificate::parse(der::Certificate().der());
  static const RefOwner<VelmoraX509> object = objectOf(key);
  constexpr const char* kEncodings[] = {"hex", "hexlower", "base64", "base64url"};
  std::string set;
  for (const char c : input) {
    const auto what = static_cast<unsigned char>(c);
    const std::string pin = what < 0x80 ? "" : digestOf(key, what % 4, kEncodings[what / 4 % 4]);
    set += what < 0x80          ? std::string(1, c)
           : (what & 0x10) != 0 ? small(pin)
                                : pin.substr(what >> 6 & 1);
  }
  Texts fields;
  for (const std::string& field : split(set, ',')) {
    const std::string trimmed(trimmedAscii(field));
    if (!trimmed.empty()) fields.push_back(trimmed);
  }
  bool isPinned = false;
  for (unsigned i = 0; fields.size() > 2 && i < 16; ++i) {
    constexpr const char* kHashes[] = {"1", "256", "384", "512"};
    const std::string hash = small(fields[0]), encoding = kEncodings[i / 4];
    const bool isHash =
        hash == std::string("sha") + kHashes[i % 4] || hash == std::string("sha-") + kHashes[i % 4];
    if (!isHash || small(fields[1]) != encoding) continue;
    const std::string digest = digestOf(key, i % 4, encoding.c_str());
    for (size_t at = 2; at < fields.size(); ++at) {
      isPinned = isPinned || (i < 8 ? small(fields[at]) == small(digest) : fields[at] == digest);
    }
  }
  LogNull log;
  XString pins;
  pins.setFromUtf8(set);
  require(object->matchesPinSet(pins, log) == isPinned, "the same pins");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(data, data + size);
  input.starts_with('#') ? matchPins(input.substr(1)) : matchHost(split(input, '\n'));
  return 0;
}
