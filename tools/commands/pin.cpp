#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "velmora/support/core/arrays.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

bool isHash(std::string_view name) {
  return _vmHash::hashId(name) != _vmHash::kUnknown;
}

bool isEncoding(std::string_view name) {
  StringBuffer unused;
  return DataBuffer().encodeDB(StringBuffer(name).getString(), unused);
}

bool checkNames(std::string_view hash, std::string_view encoding, std::string& usageError) {
  if (!isHash(hash)) {
    usageError = "the hash is one of sha1, sha256, sha384, sha512";
  } else if (!isEncoding(encoding)) {
    usageError = "the encoding is one of base64, base64url, hex, hexlower";
  }
  return usageError.empty();
}

bool runPin(const Arguments& arguments, Console& console, std::string& usageError) {
  const std::string_view hash = arguments.value("--hash").value_or("sha256");
  const std::string_view encoding = arguments.value("--encoding").value_or("base64");
  if (!checkNames(hash, encoding, usageError)) return false;
  const StringBuffer hashName(hash);
  const StringBuffer encodingName(encoding);
  LogNull log;
  XString pin;
  StringBuffer& out = console.out();
  return visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto&) -> const char* {
    pin.weakClear();
    const bool read =
        certificate.getSpkiFingerprint(whole(hashName), whole(encodingName), pin, log);
    whole(pin);
    if (!read) return "The public key cannot be read.";
    out.append3(hashName.getString(), ",", encodingName.getString());
    out.appendChar(',');
    out.append(pin.view());
    out.appendChar('\n');
    return nullptr;
  });
}

// A pin set that could never match is a mistake, and not an answer.
bool checkPinSet(std::string_view pinSet, std::string& usageError) {
  ExtPtrArraySb fields;
  StringBuffer(pinSet).split(fields, ',', true, false);
  if (fields.getSize() >= 3) {
    return checkNames(fields.sbAt(0)->view(), fields.sbAt(1)->view(), usageError);
  }
  usageError = "a pin set is a hash, an encoding and pins, separated by commas";
  return false;
}

bool runMatch(const Arguments& arguments, Console& console, std::string& usageError) {
  if (!checkPinSet(arguments.operand(), usageError)) return false;
  XString pinSet(arguments.operand());
  LogNull log;
  bool anyMatches = false;
  bool allMatch = true;
  visitLoaded(arguments, console, [&](VelmoraX509& certificate, auto& input) -> const char* {
    const bool matches = certificate.matchesPinSet(pinSet, log);
    anyMatches = anyMatches || matches;
    allMatch = allMatch && matches;
    console.out().append(matches ? "yes  " : "no   ");
    appendPlace(input, console.out());
    console.out().appendChar('\n');
    return nullptr;
  });
  const bool yes = anyMatches && (allMatch || !arguments.has("--all"));
  if (!yes) console.raise(ExitStatus::kNo);
  return true;
}

constexpr OptionSpec kPinOptions[] = {
    {"--hash", "NAME", "sha1, sha256 (default), sha384 or sha512"},
    {"--encoding", "NAME", "base64 (default), base64url, hex or hexlower"},
};

constexpr OptionSpec kMatchOptions[] = {
    {"--all", "", "the answer is yes only when every certificate matches"},
};

}  // namespace

const Command kPinCommand = {
    "pin", "print a pin set of the public key of each certificate",
    "A line is a hash, an encoding and the digest of the SubjectPublicKeyInfo (RFC\n"
    "7469), separated by commas: what \"match\" and the library's matchesPinSet take.\n"
    "More pins may be added to it.\n",
    kPinOptions, runPin};

const Command kMatchCommand = {
    "match",
    "tell which certificates have a public key of a pin set",
    "PINSET is \"hash, encoding, pin, pin, ...\", as \"pin\" prints it. The exit status\n"
    "is 0 when any certificate matches, else 1.\n",
    kMatchOptions,
    runMatch,
    "PINSET"};

}  // namespace velmora::tool
