#include "tools/commands/command.h"
#include "tools/reading/dates.h"
#include "tools/render/verify_report.h"
#include "velmora/reading/root_files.h"
#include "velmora/reading/trusted_root_loading.h"
#include "velmora/support/log/first_error_log.h"
#include "velmora/support/text/whole.h"
#include "velmora/x509/trusted_root_registration.h"

namespace velmora::tool {

namespace {

// Keeps certificates in the pool.
class Collect : public CertificateVisitor {
 public:
  explicit Collect(CertificatePool& pool) : m_pool(pool) {}

  const char* visit(const InputCertificate& input) final {
    const char* reason = nullptr;
    const KnownCertificate* known = m_pool.add(input, reason);
    return known == nullptr ? reason : take(input, *known);
  }

 private:
  // Null, or why the certificate is no use here.
  virtual const char* take(const InputCertificate&, const KnownCertificate&) { return nullptr; }

  CertificatePool& m_pool;
};

// Trusts them.
class CollectRoots final : public Collect {
 public:
  using Collect::Collect;

 private:
  const char* take(const InputCertificate&, const KnownCertificate& known) override {
    if (!known.selfIssued) return "A trusted root has to be issued by itself.";
    m_log.clear();
    if (addTrustedRoot(known.loaded.get(), nullptr, m_log)) return nullptr;
    m_reason = m_log.error();
    return m_reason.c_str();
  }

  FirstErrorLog m_log;
  std::string m_reason;
};

// Keeps them apart from the others.
class CollectIssuers final : public Collect {
 public:
  using Collect::Collect;

  const CertificateIndex& index() const noexcept { return m_index; }

 private:
  const char* take(const InputCertificate&, const KnownCertificate& known) override {
    m_index.add(known);
    return nullptr;
  }

  CertificateIndex m_index;
};

// Keeps them in order, with where each stands: one that was met before is known by another place.
class CollectWanted final : public Collect {
 public:
  using Collect::Collect;

  struct Wanted {
    const KnownCertificate* certificate;
    InputPlace place;
  };
  const std::vector<Wanted>& wanted() const noexcept { return m_wanted; }

 private:
  const char* take(const InputCertificate& input, const KnownCertificate& known) override {
    m_wanted.push_back({&known, input});
    return nullptr;
  }

  std::vector<Wanted> m_wanted;
};

// Reads what --roots means; without roots nothing is trusted, so that the rest can go on.
void collectRoots(std::string_view given, CollectRoots& roots, Console& console) {
  const char* path = nullptr;
  if (given == "system" && (path = systemTrustedRootsPath()) == nullptr) {
    return console.complain("system", "no file of trusted roots in any of the usual places");
  }
  const std::string wanted(path != nullptr ? path : given);
  std::vector<std::string> files;
  if (const std::error_code error = listRootFiles(wanted, files)) {
    console.complain(wanted, error.message());
  }
  for (const std::string& file : files) visitCertificates({file}, false, roots, console);
}

bool readTime(const Arguments& arguments, VelmoraSysTime& at, std::string& usageError) {
  at.getCurrentGmt();
  const auto given = arguments.value("--at");
  if (!given || parseIsoTime(*given, at)) return true;
  usageError = "option \"--at\" needs a time such as 2025-01-31 or 2025-01-31T23:59:59Z";
  return false;
}

void collectOption(const Arguments& arguments, std::string_view option, Collect& collect,
                   Console& console) {
  const auto file = arguments.value(option);
  if (file) visitCertificates({*file}, false, collect, console);
}

void report(const CollectWanted& collected, bool json, const VelmoraSysTime& at,
            ChainBuilder& builder, Console& console) {
  StringBuffer place;
  for (const CollectWanted::Wanted& each : collected.wanted()) {
    const Chain chain = builder.build(*each.certificate);
    const size_t start = console.out().getSize();
    if (json) {
      appendChainJson(each.place, chain, at, console.out());
    } else {
      place.weakClear();
      appendPlace(each.place, place);
      appendChainText(whole(place).view(), chain, at, console.out());
    }
    if (console.out().failed()) {
      // No half of a record is left behind.
      console.takeBack(start);
      throw std::bad_alloc();
    }
    if (!chain.verified) console.raise(ExitStatus::kNo);
    console.endRecord();
  }
  if (!json && !collected.wanted().empty()) console.out().append(kNotTheWhole);
}

bool runVerify(const Arguments& arguments, Console& console, std::string& usageError) {
  VelmoraSysTime at;
  if (!readTime(arguments, at, usageError)) return false;
  const bool json = arguments.has("--json");
  CertificatePool pool;
  CollectRoots roots(pool);
  CollectIssuers direct(pool);
  Collect others(pool);
  CollectWanted wanted(pool);
  if (const auto given = arguments.value("--roots")) collectRoots(*given, roots, console);
  collectOption(arguments, "--issuer", direct, console);
  collectOption(arguments, "--chain", others, console);
  visitCertificates(arguments.files(), json, wanted, console);
  ChainBuilder builder(pool, at);
  if (arguments.has("--issuer")) builder.setDirectIssuers(direct.index());
  report(wanted, json, at, builder, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--issuer", "FILE", "the certificates of which one issued each FILE, and no other"},
    {"--chain", "FILE", "certificates that may stand between FILE and a root"},
    {"--roots", "WHERE",
     "the trusted roots: a file, a directory of files, or system; without it nothing is trusted"},
    {"--at", "TIME",
     "check the dates at 2025-01-31T23:59:59Z, or at the start of 2025-01-31, in UTC (default "
     "now)"},
    {"--json", "", "one JSON object a line"},
};

}  // namespace

const Command kVerifyCommand = {
    "verify", "check signatures, dates and issuers up to a trusted root",
    "Issuers are looked for among the roots, the --issuer and --chain certificates\n"
    "and the FILEs themselves: the whole names have to be equal, and the key\n"
    "identifiers where both are there. What of the roots is not issued by itself is no\n"
    "root, has a line on standard error and may still stand in a chain. Issuers have to\n"
    "be CAs that may sign certificates. The exit status is 1 when any certificate of a\n"
    "FILE does not verify.\n"
    "\n"
    "Checked are signatures, dates and issuer links. This is not the whole of RFC\n"
    "5280's path validation: no name or policy constraints, and no revocation.\n"
    "\n"
    "JSON has for each certificate of a FILE source, index, verified, at, chain and\n"
    "notChecked; chain lists {source, index, subject, notBefore, notAfter, trustedRoot,\n"
    "signature, failures, warnings}, and signature is null or {signer, matchedBy,\n"
    "verdict, reason, algorithm, algorithmName, hash, key, warnings}, with the verdict\n"
    "good, wrong, cannotCheck or refused.\n",
    kOptions, runVerify};

}  // namespace velmora::tool
