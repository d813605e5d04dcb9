#include <algorithm>
#include <atomic>
#include <string>

#include "tools/bulk/lines.h"
#include "tools/commands/command.h"
#include "tools/reading/memory_log.h"
#include "velmora/support/core/arrays.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

void checkNames(std::string_view hash, std::string_view encoding) {
  StringBuffer unused;
  if (_vmHash::hashId(hash) == _vmHash::kUnknown) {
    throw UsageError("the hash is one of sha1, sha256, sha384, sha512");
  }
  const bool isEncoding = DataBuffer().encodeDB(whole(StringBuffer(encoding)).getString(), unused);
  if (!isEncoding && !unused.failed()) {
    throw UsageError("the encoding is one of base64, base64url, hex, hexlower");
  }
}

// What HTTP clients call their pins.
constexpr std::string_view kHttpPin = "sha256//";

void runPin(const Arguments& arguments, Console& console) {
  const StringBuffer hash(arguments.value("--hash").value_or("sha256"));
  const StringBuffer encoding(arguments.value("--encoding").value_or("base64"));
  const bool isHttp = arguments.has("--http");
  for (const std::string_view option : {"--hash", "--encoding"}) {
    arguments.wantAtMostOneOf({"--http", option});
  }
  checkNames(whole(hash).view(), whole(encoding).view());
  visitFilesOrLines(
      arguments, console,
      [&](Answers& answers) {
        return loaded([&](VelmoraX509& certificate, auto&) {
          LogNull log;
          XString pin;
          const bool read = certificate.getSpkiFingerprint(hash, encoding, pin, log);
          whole(pin);
          if (!read) throw Untreated("The public key cannot be read.");
          isHttp ? print(answers.out(), kHttpPin, pin.view(), '\n')
                 : print(answers.out(), hash, ',', encoding, ',', pin.view(), '\n');
        });
      },
      Takes::kKeys);
}

// A pin set that could never match is a mistake, and not an answer.
void checkPinSet(std::string_view pinSet) {
  ExtPtrArraySb fields;
  if (!StringBuffer(pinSet).split(fields, ',', true, false)) throw std::bad_alloc();
  if (fields.getSize() >= 3) return checkNames(fields.sbAt(0)->view(), fields.sbAt(1)->view());
  throw UsageError(
      "a pin set is a hash, an encoding and pins, separated by commas, or sha256// and a pin");
}

// The pin set that pins of HTTP clients stand for, "sha256//" and base64 each, between semicolons.
// Every one of them has to be the whole of a digest: one that could never match is a mistake too.
std::string pinSetOfHttp(std::string_view pins) {
  std::string pinSet = "sha256,base64";
  while (!pins.empty()) {
    const size_t end = std::min(pins.find(';'), pins.size());
    const std::string_view pin = pins.substr(0, end);
    pins.remove_prefix(std::min(end + 1, pins.size()));
    const std::string_view digest = pin.substr(std::min(kHttpPin.size(), pin.size()));
    DataBuffer octets;
    StringBuffer again;
    const bool isDigest = pin.starts_with(kHttpPin) && octets.appendEncoded(digest, "base64") &&
                          octets.size() == Sha256Digest::kDigestSize &&
                          octets.encodeDB("base64", again) && again.view() == digest;
    if (!isDigest) throw UsageError("a pin behind sha256// is the base64 of a SHA-256 digest");
    pinSet.append(",").append(digest);
  }
  return pinSet;
}

void runMatch(const Arguments& arguments, Console& console) {
  const bool isHttp = arguments.operand().starts_with(kHttpPin);
  const std::string pins =
      isHttp ? pinSetOfHttp(arguments.operand()) : std::string(arguments.operand());
  checkPinSet(pins);
  std::atomic<bool> anyMatches = false;
  std::atomic<bool> allMatch = true;
  visitFilesOrLines(
      arguments, console,
      [&](Answers& answers) {
        return loaded([&](VelmoraX509& certificate, const InputCertificate& input) {
          MemoryLog log;
          XString pinSet(pins);
          const bool matches = certificate.matchesPinSet(whole(pinSet), log);
          log.wantNone();
          if (matches) anyMatches = true;
          if (!matches) allMatch = false;
          print(answers.out(), matches ? "yes  " : "no   ", input, '\n');
        });
      },
      Takes::kKeys);
  const bool yes = anyMatches && (allMatch || !arguments.has("--all"));
  if (!yes) console.raise(ExitStatus::kNo);
}

constexpr std::string_view kHashes[] = {"sha1", "sha256", "sha384", "sha512"};
constexpr std::string_view kEncodings[] = {"base64", "base64url", "hex", "hexlower"};

constexpr OptionSpec kPinOptions[] = {
    {"--hash", "NAME", "sha1, sha256 (default), sha384 or sha512", false, kHashes},
    {"--http", "", "as HTTP clients write it: sha256// and the digest in base64"},
    {"--encoding", "NAME", "base64 (default), base64url, hex or hexlower", false, kEncodings},
    kLinesOption,
    kJobsOption,
    kProgressOption,
    kQuietOption,
};

constexpr OptionSpec kMatchOptions[] = {
    {"--all", "", "the answer is yes only when every certificate matches"},
    kLinesOption,
    kJobsOption,
    kProgressOption,
    kQuietOption,
};

}  // namespace

const Command kPinCommand = {
    "pin", "print a pin set of the public key of each certificate",
    "A line is a hash, an encoding and the digest of the SubjectPublicKeyInfo (RFC\n"
    "7469), separated by commas: what \"match\" and the library's matchesPinSet take.\n"
    "More pins may be added to it. Public keys (PUBLIC KEY, RSA PUBLIC KEY) and\n"
    "requests are taken too.\n",
    kPinOptions, runPin};

const Command kMatchCommand = {
    "match",
    "tell which certificates have a public key of a pin set",
    "PINSET is \"hash, encoding, pin, pin, ...\", as \"pin\" prints it, or pins of HTTP\n"
    "clients, \"sha256//pin;sha256//pin\". Public keys (PUBLIC KEY, RSA PUBLIC KEY) and\n"
    "requests are matched too. The exit status is 0 when any key matches, else 1.\n",
    kMatchOptions,
    runMatch,
    "PINSET"};

}  // namespace velmora::tool
