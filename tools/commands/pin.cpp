#include <atomic>

#include "tools/bulk/lines.h"
#include "tools/commands/command.h"
#include "velmora/support/core/arrays.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

void checkNames(std::string_view hash, std::string_view encoding) {
  StringBuffer unused;
  if (_vmHash::hashId(hash) == _vmHash::kUnknown) {
    throw UsageError("the hash is one of sha1, sha256, sha384, sha512");
  }
  if (!DataBuffer().encodeDB(StringBuffer(encoding).getString(), unused)) {
    throw UsageError("the encoding is one of base64, base64url, hex, hexlower");
  }
}

void runPin(const Arguments& arguments, Console& console) {
  const StringBuffer hash(arguments.value("--hash").value_or("sha256"));
  const StringBuffer encoding(arguments.value("--encoding").value_or("base64"));
  checkNames(whole(hash).view(), whole(encoding).view());
  visitFilesOrLines(arguments, console, [&](Answers& answers) {
    return loaded([&](VelmoraX509& certificate, auto&) {
      LogNull log;
      XString pin;
      const bool read = certificate.getSpkiFingerprint(hash, encoding, pin, log);
      whole(pin);
      if (!read) throw Untreated("The public key cannot be read.");
      print(answers.out(), hash, ',', encoding, ',', pin.view(), '\n');
    });
  });
}

// A pin set that could never match is a mistake, and not an answer.
void checkPinSet(std::string_view pinSet) {
  ExtPtrArraySb fields;
  StringBuffer(pinSet).split(fields, ',', true, false);
  if (fields.getSize() >= 3) return checkNames(fields.sbAt(0)->view(), fields.sbAt(1)->view());
  throw UsageError("a pin set is a hash, an encoding and pins, separated by commas");
}

void runMatch(const Arguments& arguments, Console& console) {
  checkPinSet(arguments.operand());
  std::atomic<bool> anyMatches = false;
  std::atomic<bool> allMatch = true;
  visitFilesOrLines(arguments, console, [&](Answers& answers) {
    return loaded([&](VelmoraX509& certificate, const InputCertificate& input) {
      LogNull log;
      XString pinSet(arguments.operand());
      const bool matches = certificate.matchesPinSet(pinSet, log);
      if (matches) anyMatches = true;
      if (!matches) allMatch = false;
      print(answers.out(), matches ? "yes  " : "no   ", input, '\n');
    });
  });
  const bool yes = anyMatches && (allMatch || !arguments.has("--all"));
  if (!yes) console.raise(ExitStatus::kNo);
}

constexpr OptionSpec kPinOptions[] = {
    {"--hash", "NAME", "sha1, sha256 (default), sha384 or sha512"},
    {"--encoding", "NAME", "base64 (default), base64url, hex or hexlower"},
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
