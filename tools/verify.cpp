#include <algorithm>
#include <filesystem>

#include "tools/command.h"
#include "tools/dates.h"
#include "tools/verify_report.h"
#include "x509/first_error_log.h"
#include "x509/trusted_root_loading.h"

namespace velmora::tool {

namespace {

using Certificates = std::vector<const KnownCertificate*>;

// Keeps certificates in the pool and in a list of their own.
class Collect : public CertificateVisitor {
 public:
  explicit Collect(CertificatePool& pool) : m_pool(pool) {}

  const char* visit(const InputCertificate& input) override {
    const char* reason = nullptr;
    const KnownCertificate* known = m_pool.add(input, reason);
    if (known == nullptr) return reason;
    m_certificates.push_back(known);
    m_sources.push_back({input.source, input.index, {}});
    return nullptr;
  }

  const Certificates& certificates() const noexcept { return m_certificates; }
  /// Where the i-th of the certificates was read, without its bytes.
  const InputCertificate& source(size_t i) const { return m_sources[i]; }

 private:
  CertificatePool& m_pool;
  Certificates m_certificates;
  std::vector<InputCertificate> m_sources;
};

// Keeps certificates and trusts them.
class CollectRoots final : public Collect {
 public:
  using Collect::Collect;

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = Collect::visit(input)) return reason;
    m_log.clear();
    if (addTrustedRoot(certificates().back()->loaded.get(), nullptr, m_log)) return nullptr;
    m_reason = m_log.error();
    return m_reason.c_str();
  }

 private:
  FirstErrorLog m_log;
  std::string m_reason;
};

// The files that --roots means.
bool listRootFiles(std::string_view given, std::vector<std::string>& files,
                   std::string& usageError) {
  std::string path(given);
  if (given == "system") {
    const char* found = systemTrustedRootsPath();
    if (found == nullptr) {
      usageError = "this system keeps no file of trusted roots in any of the usual places";
      return false;
    }
    path = found;
  }
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) {
    files.push_back(path);
    return true;
  }
  std::filesystem::directory_iterator entry(path, error);
  for (const std::filesystem::directory_iterator end; !error && entry != end;
       entry.increment(error)) {
    std::error_code unknown;
    if (entry->is_regular_file(unknown)) files.push_back(entry->path().string());
  }
  std::sort(files.begin(), files.end());
  if (error) usageError = "--roots " + path + ": " + error.message();
  return !error;
}

struct Wishes {
  VelmoraSysTime at;
  std::vector<std::string> rootFiles;
  bool json = false;
};

bool readWishes(const Arguments& arguments, Wishes& wishes, std::string& usageError) {
  wishes.json = arguments.has("--json");
  wishes.at.getCurrentGmt();
  const auto at = arguments.value("--at");
  if (at && !parseIsoTime(*at, wishes.at)) {
    usageError = "option \"--at\" needs a time such as 2025-01-31 or 2025-01-31T23:59:59Z";
    return false;
  }
  const auto roots = arguments.value("--roots");
  return !roots || listRootFiles(*roots, wishes.rootFiles, usageError);
}

void collectOption(const Arguments& arguments, std::string_view option, Collect& collect,
                   Console& console) {
  const auto file = arguments.value(option);
  if (file) visitCertificates({*file}, false, collect, console);
}

void report(const Collect& wanted, const Wishes& wishes, ChainBuilder& builder, Console& console) {
  StringBuffer place;
  for (size_t i = 0; i < wanted.certificates().size(); ++i) {
    const Chain chain = builder.build(*wanted.certificates()[i]);
    if (!chain.verified) console.raise(ExitStatus::kNo);
    if (wishes.json) {
      appendChainJson(wanted.source(i), chain, wishes.at, console.out());
    } else {
      place.weakClear();
      appendPlace(wanted.source(i), place);
      appendChainText(place.view(), chain, wishes.at, console.out());
    }
    console.endRecord();
  }
  if (!wishes.json && !wanted.certificates().empty()) console.out().append(kNotTheWhole);
}

bool runVerify(const Arguments& arguments, Console& console, std::string& usageError) {
  Wishes wishes;
  if (!readWishes(arguments, wishes, usageError)) return false;
  CertificatePool pool;
  CollectRoots roots(pool);
  Collect direct(pool);
  Collect others(pool);
  const std::vector<std::string_view> rootFiles(wishes.rootFiles.begin(), wishes.rootFiles.end());
  visitCertificates(rootFiles, false, roots, console);
  collectOption(arguments, "--issuer", direct, console);
  collectOption(arguments, "--chain", others, console);
  Collect wanted(pool);
  visitCertificates(arguments.files(), wishes.json, wanted, console);
  ChainBuilder builder(pool, wishes.at);
  if (arguments.has("--issuer")) builder.setDirectIssuers(direct.certificates());
  report(wanted, wishes, builder, console);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--issuer", "FILE", "the certificates of which one issued each FILE, and no other"},
    {"--chain", "FILE", "certificates that may stand between FILE and a root"},
    {"--roots", "WHERE",
     "the trusted roots: a file, a directory of files, or system; without it nothing is trusted"},
    {"--at", "TIME", "check the dates at 2025-01-31 or 2025-01-31T23:59:59Z, in UTC (default now)"},
    {"--json", "", "one JSON object a line"},
};

}  // namespace

const Command kVerifyCommand = {
    "verify", "check signatures, dates and issuers up to a trusted root",
    "Issuers are looked for among the roots, the --issuer and --chain certificates\n"
    "and the FILEs themselves: the whole names have to be equal, and the key\n"
    "identifiers where both are there. The exit status is 1 when any certificate of a\n"
    "FILE does not verify.\n"
    "\n"
    "Checked are signatures, dates and issuer links. This is not the whole of RFC\n"
    "5280's path validation: no name or policy constraints, and no revocation.\n",
    kOptions, runVerify};

}  // namespace velmora::tool
