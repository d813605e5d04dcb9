#include <algorithm>
#include <string>
#include <vector>

#include "tools/commands/command.h"
#include "tools/reading/dates.h"
#include "tools/render/path_report.h"
#include "velmora/path/verify.h"
#include "velmora/reading/root_files.h"
#include "velmora/reading/trusted_root_loading.h"

namespace velmora::tool {

namespace {

constexpr std::string_view kNotJudged =
    "\nNot judged: what OCSP and certificate transparency say, and revocation without --crl.\n";
constexpr std::string_view kAnyPurpose =
    "No purpose was asked for: any use is judged alike. To ask for one add --purpose";

// Collects certificates in order, and where each stood first. All places are those of `places`.
class Collect final : public CertificateVisitor {
 public:
  explicit Collect(Places& places) : m_places(places) {}

  struct Given {
    Certificate certificate;
    InputPlace place;
  };
  const std::vector<Given>& given() const noexcept { return m_given; }

  const char* visit(const InputCertificate& input) override {
    if (input.berAt) return "BER, on which no decision may rest.";
    m_places.try_emplace(input.certificate, input);
    m_given.push_back({input.certificate, input});
    return nullptr;
  }

  void appendTo(std::vector<Certificate>& out) const {
    for (const Given& each : m_given) out.push_back(each.certificate);
  }

 private:
  Places& m_places;
  std::vector<Given> m_given;
};

// What the command was asked, read from its options.
class Request {
 public:
  explicit Request(Console& console)
      : m_console(console),
        m_roots(m_places),
        m_issuers(m_places),
        m_chain(m_places),
        m_wanted(m_places) {}

  bool read(const Arguments& arguments, std::string& usageError) {
    return readPurpose(arguments, usageError) && readTarget(arguments, usageError) &&
           readTime(arguments, usageError) && readPolicies(arguments, usageError) &&
           readLimits(arguments, usageError) && readRevocation(arguments, usageError) &&
           readProfile(arguments, usageError);
  }

  void collect(const Arguments& arguments) {
    if (const auto given = arguments.value("--roots")) collectRoots(*given);
    collectFile(arguments.value("--issuer"), m_issuers);
    collectFile(arguments.value("--chain"), m_chain);
    collectCrls(arguments);
    visitCertificates(arguments.files(), arguments.has("--json"), m_wanted, m_console);
  }

  void answer(const Arguments& arguments) {
    std::vector<Certificate> roots;
    std::vector<Certificate> others;
    m_roots.appendTo(roots);
    for (const Collect* const each : {&m_issuers, &m_chain, &m_wanted}) each->appendTo(others);
    const TrustAnchors anchors(roots);
    const CertificateSet intermediates(others);
    const bool confined = arguments.has("--issuer");
    const auto isDirect = [&](const Path& path) noexcept { return issuerIsGiven(path); };
    if (confined) m_options.accept = isDirect;
    for (const Collect::Given& each : m_wanted.given()) {
      report(each, verify(each.certificate, anchors, intermediates, m_options),
             arguments.has("--json"));
    }
    if (arguments.has("--json") || m_wanted.given().empty()) return;
    m_console.out().append(kNotJudged);
    if (arguments.has("--purpose")) return;
    const Target& target = m_options.target;
    m_console.out().append(kAnyPurpose);
    m_console.out().append(target.isHost() ? " server.\n" : target.isEmail() ? " email.\n" : ".\n");
  }

 private:
  bool readPurpose(const Arguments& arguments, std::string& usageError) {
    const auto given = arguments.value("--purpose");
    m_options.purpose = Purpose::any;
    if (!given) return checkTarget(arguments, usageError);
    for (int i = static_cast<int>(Purpose::server); i <= static_cast<int>(Purpose::any); ++i) {
      m_options.purpose = static_cast<Purpose>(i);
      if (purposeName(m_options.purpose) == *given) return checkTarget(arguments, usageError);
    }
    usageError = "option \"--purpose\" takes server, client, code, email, time, ocsp or any";
    return false;
  }

  bool checkTarget(const Arguments& arguments, std::string& usageError) const {
    const bool isEmail = m_options.purpose == Purpose::email;
    const bool isServer = m_options.purpose == Purpose::server;
    const bool isHost = arguments.has("--host") || arguments.has("--ip");
    if ((isEmail && isHost) || (isServer && arguments.has("--email"))) {
      usageError = "an e-mail address goes with the purpose \"email\", a host with \"server\"";
      return false;
    }
    if (!isServer && arguments.has("--no-host")) {
      usageError = "option \"--no-host\" goes with --purpose server";
      return false;
    }
    if (!isServer || isHost || arguments.has("--no-host")) return true;
    usageError =
        "the purpose \"server\" needs --host or --ip, or --no-host where the name is judged "
        "elsewhere";
    return false;
  }

  bool readTarget(const Arguments& arguments, std::string& usageError) {
    if (!arguments.atMostOneOf({"--host", "--ip", "--email", "--no-host"}, usageError))
      return false;
    if (arguments.has("--no-host")) m_options.target = Target::notJudged();
    using Parse = Result<Target> (*)(std::string_view) noexcept;
    const std::pair<const char*, Parse> kinds[] = {
        {"--host", Target::host}, {"--ip", Target::ipAddress}, {"--email", Target::email}};
    for (const auto& [option, parse] : kinds) {
      const auto given = arguments.value(option);
      if (!given) continue;
      const Result<Target> target = parse(*given);
      if (!target) {
        usageError =
            std::string("option \"") + option + "\": " + std::string(target.error().message());
        return false;
      }
      m_options.target = *target;
    }
    return true;
  }

  bool readTime(const Arguments& arguments, std::string& usageError) {
    VelmoraSysTime at;
    at.getCurrentGmt();
    const auto given = arguments.value("--at");
    if (given && !parseIsoTime(*given, at)) {
      usageError = "option \"--at\" needs a time such as 2025-01-31 or 2025-01-31T23:59:59Z";
      return false;
    }
    m_options.at = std::chrono::sys_seconds(std::chrono::seconds(at.toUnixSeconds()));
    return true;
  }

  bool readPolicies(const Arguments& arguments, std::string& usageError) {
    for (const std::string_view given : arguments.values("--policy")) {
      const Result<Oid> id = Oid::parse(given);
      if (!id) {
        usageError = "option \"--policy\" needs a dotted OID";
        return false;
      }
      m_options.policies.accepted.push_back(*id);
    }
    if (arguments.has("--explicit-policy")) m_options.policies.requireExplicit = true;
    m_options.policies.inhibitMapping = arguments.has("--inhibit-mapping");
    m_options.policies.inhibitAny = arguments.has("--inhibit-any");
    return true;
  }

  bool readLimits(const Arguments& arguments, std::string& usageError) {
    m_options.allowSha1 = arguments.has("--allow-sha1");
    if (arguments.has("--all-paths")) m_options.paths = kAllPaths;
    const auto given = arguments.value("--max-depth");
    if (!given) return true;
    uint32_t& most = m_options.limits.certificates;
    if (parseNumber(*given, most) && most != 0) return true;
    usageError = "option \"--max-depth\" needs a number of certificates from 1 on";
    return false;
  }

  bool readRevocation(const Arguments& arguments, std::string& usageError) {
    if (arguments.has("--crl")) m_options.revocation = Revocation::whereCrlsAre;
    const auto given = arguments.value("--require-crl");
    if (!given) return true;
    m_options.revocation = *given == "leaf" ? Revocation::leaf : Revocation::all;
    if (*given == "leaf" || *given == "all") return true;
    usageError = "option \"--require-crl\" takes leaf or all";
    return false;
  }

  bool readProfile(const Arguments& arguments, std::string& usageError) {
    const std::string_view given = arguments.value("--profile").value_or("basic");
    for (const Profile each : {Profile::basic, Profile::rfc5280, Profile::web}) {
      m_options.profile = each;
      if (profileName(each) == given) return true;
    }
    usageError = "option \"--profile\" takes basic, rfc5280 or web";
    return false;
  }

  // What --roots means; without roots nothing is trusted, so that the rest can go on.
  void collectRoots(std::string_view given) {
    const char* path = nullptr;
    if (given == "system" && (path = systemTrustedRootsPath()) == nullptr) {
      return m_console.complain("system", "no file of trusted roots in any of the usual places");
    }
    const std::string wanted(path != nullptr ? path : given);
    if (const std::error_code error = listRootFiles(wanted, m_rootFiles)) {
      m_console.complain(wanted, error.message());
    }
    for (const std::string& file : m_rootFiles) {
      visitCertificates({file}, false, m_roots, m_console);
    }
  }

  void collectFile(const std::optional<std::string_view>& file, Collect& collect) {
    if (file) visitCertificates({*file}, false, collect, m_console);
  }

  void collectCrls(const Arguments& arguments) {
    std::vector<Crl> crls;
    for (const std::string_view file : arguments.values("--crl")) {
      std::string content;
      if (const char* const reason = readSource(file, content)) {
        m_console.complain(file, reason);
        continue;
      }
      const Result<std::vector<Crl>> read = CrlSet::read(std::as_bytes(std::span(content)));
      if (!read) {
        m_console.complain(file, read.error().message());
        continue;
      }
      crls.insert(crls.end(), read->begin(), read->end());
    }
    m_options.crls = CrlSet(crls);
  }

  bool issuerIsGiven(const Path& path) const noexcept {
    return path.certificates.size() > 1 &&
           std::any_of(m_issuers.given().begin(), m_issuers.given().end(),
                       [&](const auto& each) { return each.certificate == path.certificates[1]; });
  }

  void report(const Collect::Given& given, const Verification& answer, bool json) {
    if (answer.reason == Reason::outOfMemory) throw std::bad_alloc();
    const PathReport report{given.place, given.certificate, m_options, *m_options.at, m_places};
    const size_t start = m_console.out().getSize();
    json ? appendPathJson(report, answer, m_console.out())
         : appendPathText(report, answer, m_console.out());
    if (m_console.out().failed()) {
      // No half of a record is left behind.
      m_console.takeBack(start);
      throw std::bad_alloc();
    }
    if (!answer) m_console.raise(ExitStatus::kNo);
    m_console.endRecord();
  }

  static constexpr uint32_t kAllPaths = 1000;

  Console& m_console;
  VerifyOptions m_options;
  Places m_places;
  std::vector<std::string> m_rootFiles;
  Collect m_roots;
  Collect m_issuers;
  Collect m_chain;
  Collect m_wanted;
};

bool runVerify(const Arguments& arguments, Console& console, std::string& usageError) {
  Request request(console);
  if (!request.read(arguments, usageError)) return false;
  request.collect(arguments);
  request.answer(arguments);
  return true;
}

constexpr OptionSpec kOptions[] = {
    {"--host", "NAME", "the host that a leaf has to speak for"},
    {"--ip", "ADDRESS", "likewise, an address"},
    {"--email", "ADDRESS", "the e-mail address that a leaf has to speak for"},
    {"--no-host", "", "with --purpose server: the name is judged elsewhere"},
    {"--purpose", "WHAT", "server, client, code, email, time, ocsp or any (default any)"},
    {"--roots", "WHERE",
     "the trusted roots: a file, a directory of files, or system; without it nothing is trusted"},
    {"--chain", "FILE", "certificates that may stand between FILE and a root"},
    {"--issuer", "FILE", "the certificates of which one issued each FILE, and no other"},
    {"--crl", "FILE", "CRLs, which have to vouch where they are of the issuer; may be repeated",
     true},
    {"--require-crl", "WHOM", "leaf or all: a CRL has to vouch for these"},
    {"--policy", "OID", "a policy of which one has to hold for the whole way; may be repeated",
     true},
    {"--explicit-policy", "", "some policy has to hold for the whole way"},
    {"--inhibit-mapping", "", "policies are not mapped to others"},
    {"--inhibit-any", "", "anyPolicy does not stand for others"},
    {"--max-depth", "N",
     "how many certificates a way may have, leaf and root included (default 16)"},
    {"--profile", "NAME", "basic (default), rfc5280 or web: the rules beyond those of validation"},
    {"--allow-sha1", "", "signatures may rest on SHA-1"},
    {"--at", "TIME",
     "check the dates at 2025-01-31T23:59:59Z, or at the start of 2025-01-31, in UTC (default "
     "now)"},
    {"--all-paths", "", "all ways that hold instead of the first"},
    {"--json", "", "one JSON object a line"},
};

}  // namespace

const Command kVerifyCommand = {
    "verify", "tell whether certificates may be trusted, for what and why not",
    "Path validation as RFC 5280 has it: signatures, dates, CAs, critical extensions,\n"
    "name constraints, policies, and CRLs where they are given. The roots are trusted as\n"
    "they are given; issuers are looked for among them, the --issuer and --chain\n"
    "certificates and the FILEs themselves. The exit status is 1 when any certificate of\n"
    "a FILE does not verify.\n"
    "\n"
    "JSON has for each certificate of a FILE source, index, verified, reason, text, at,\n"
    "purpose, target, profile, paths and used; paths lists {anchored, certificates,\n"
    "anyPolicy, policies, leafNotRevoked, nothingRevoked}, of certificates {subject,\n"
    "source, index, notBefore, notAfter, findings}, and of findings {id, severity, text,\n"
    "clause, about, offset, detail}. Where nothing verifies, paths has the way that came\n"
    "furthest.\n",
    kOptions, runVerify};

}  // namespace velmora::tool
