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

class PrintPin final : public CertificateVisitor {
 public:
  PrintPin(std::string_view hash, std::string_view encoding, Console& console)
      : m_hash(hash), m_encoding(encoding), m_console(console) {
    whole(m_hash);
    whole(m_encoding);
  }

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    m_pin.weakClear();
    const bool read = m_loaded.get().getSpkiFingerprint(m_hash, m_encoding, m_pin, m_log);
    whole(m_pin);
    if (!read) return "The public key cannot be read.";
    StringBuffer& out = m_console.out();
    out.append3(m_hash.getString(), ",", m_encoding.getString());
    out.appendChar(',');
    out.append(m_pin.view());
    out.appendChar('\n');
    return nullptr;
  }

 private:
  StringBuffer m_hash;
  StringBuffer m_encoding;
  Console& m_console;
  LoadedCertificate m_loaded;
  LogNull m_log;
  XString m_pin;
};

class MatchPinSet final : public CertificateVisitor {
 public:
  MatchPinSet(std::string_view pinSet, Console& console) : m_pinSet(pinSet), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    const bool matches = m_loaded.get().matchesPinSet(m_pinSet, m_log);
    ++(matches ? m_matching : m_others);
    StringBuffer& out = m_console.out();
    out.append(matches ? "yes  " : "no   ");
    appendPlace(input, out);
    out.appendChar('\n');
    return nullptr;
  }

  bool anyMatches() const noexcept { return m_matching != 0; }
  bool allMatch() const noexcept { return m_matching != 0 && m_others == 0; }

 private:
  XString m_pinSet;
  Console& m_console;
  LoadedCertificate m_loaded;
  LogNull m_log;
  size_t m_matching = 0;
  size_t m_others = 0;
};

bool runPin(const Arguments& arguments, Console& console, std::string& usageError) {
  const std::string_view hash = arguments.value("--hash").value_or("sha256");
  const std::string_view encoding = arguments.value("--encoding").value_or("base64");
  if (!checkNames(hash, encoding, usageError)) return false;
  PrintPin visitor(hash, encoding, console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
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
  MatchPinSet visitor(arguments.operand(), console);
  visitCertificates(arguments.files(), false, visitor, console);
  const bool yes = arguments.has("--all") ? visitor.allMatch() : visitor.anyMatches();
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
