#include <algorithm>
#include <deque>
#include <string>

#include "tools/bulk/lines.h"
#include "tools/commands/command.h"
#include "tools/render/fold.h"
#include "tools/render/path_report.h"
#include "velmora/certificate/date_text.h"
#include "velmora/reading/root_files.h"
#include "velmora/reading/trusted_root_loading.h"

namespace velmora::tool {

namespace {

constexpr uint32_t kAllPaths = 1000;

// Whoever sends FILEs chooses how many leaves are in them, and for each of these how many bear its
// issuer's name, and how many policies or constraints these have. Looks at issuers and comparisons
// are therefore limited for all of them together: to what one may use up, and for each certificate
// so many more; of comparisons also for each of its octets, since names take room.
constexpr uint64_t kLooksOfEach = 64;
constexpr uint64_t kComparisonsOfEach = 512;
constexpr uint64_t kComparisonsOfOctet = 2;

constexpr auto kAskedPurposes = std::span(kPurposes).subspan(1);
constexpr std::string_view kWhom[] = {"leaf", "all"};
constexpr std::string_view kSystem[] = {"system"};

// What a run may spend, and each certificate more.
class Allowance {
 public:
  explicit Allowance(uint32_t mostOfOne) noexcept : m_most(mostOfOne), m_left(mostOfOne) {}

  // What the next certificate may spend.
  uint32_t next(uint64_t more) noexcept {
    m_left += more;
    return static_cast<uint32_t>(std::min<uint64_t>(m_most, m_left));
  }
  void spend(uint64_t used) noexcept { m_left -= std::min(m_left, used); }

 private:
  uint32_t m_most;
  uint64_t m_left;
};

// The place of what an option says in the words that it takes; throws UsageError for another word.
size_t placeOf(std::string_view option, std::string_view given,
               std::span<const std::string_view> words) {
  const auto found = std::find(words.begin(), words.end(), given);
  if (found != words.end()) return static_cast<size_t>(found - words.begin());
  std::string error = "option \"" + std::string(option) + "\" takes ";
  for (const std::string_view& each : words) {
    error += &each == &words.front() ? "" : &each == &words.back() ? " or " : ", ";
    error += each;
  }
  throw UsageError(error);
}

void readPurpose(const Arguments& arguments, VerifyOptions& options) {
  options.purpose = Purpose::any;
  if (const auto given = arguments.value("--purpose")) {
    options.purpose = static_cast<Purpose>(1 + placeOf("--purpose", *given, kAskedPurposes));
  }
  const bool isHost = arguments.has("--host") || arguments.has("--ip");
  const bool isServer = options.purpose == Purpose::server;
  if (options.purpose == Purpose::email ? isHost : isServer && arguments.has("--email")) {
    throw UsageError("an e-mail address goes with the purpose \"email\", a host with \"server\"");
  }
  if (!isServer && arguments.has("--no-host")) {
    throw UsageError("option \"--no-host\" goes with --purpose server");
  }
  if (isServer && !isHost && !arguments.has("--no-host")) {
    throw UsageError(
        "the purpose \"server\" needs --host or --ip, or --no-host where the name is judged "
        "elsewhere");
  }
}

void readTarget(const Arguments& arguments, VerifyOptions& options) {
  arguments.wantAtMostOneOf({"--host", "--ip", "--email", "--no-host"});
  if (arguments.has("--no-host")) options.target = Target::notJudged();
  const struct {
    const char* option;
    Result<Target> (*parse)(std::string_view) noexcept;
    const char* what;
  } kinds[] = {{"--host", Target::host, "a host name or an IP address"},
               {"--ip", Target::ipAddress, "an IP address"},
               {"--email", Target::email, "an e-mail address"}};
  for (const auto& [option, parse, what] : kinds) {
    const auto given = arguments.value(option);
    if (!given) continue;
    const Result<Target> target = parse(*given);
    if (!target) {
      const bool isLetter = target.error().code == ErrorCode::hostNotAscii;
      throw UsageError("option \"" + std::string(option) + "\" needs " + what +
                       (isLetter ? " in ASCII (\"xn--...\"): " : ": ") + std::string(*given));
    }
    options.target = *target;
  }
}

void readPolicies(const Arguments& arguments, PolicyOptions& policies) {
  for (const std::string_view given : arguments.values("--policy")) {
    const Result<Oid> id = Oid::parse(given);
    if (!id) throw UsageError("option \"--policy\" needs a dotted OID");
    policies.accepted.push_back(*id);
  }
  if (arguments.has("--explicit-policy")) policies.requireExplicit = true;
  policies.inhibitMapping = arguments.has("--inhibit-mapping");
  policies.inhibitAny = arguments.has("--inhibit-any");
}

VerifyOptions readOptions(const Arguments& arguments) {
  VerifyOptions options;
  readPurpose(arguments, options);
  readTarget(arguments, options);
  options.at = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  if (const auto given = arguments.value("--at")) {
    const Result<std::chrono::sys_seconds> at = parseIso8601(*given);
    if (!at) {
      throw UsageError("option \"--at\" needs a time such as 2025-01-31 or 2025-01-31T23:59:59Z");
    }
    options.at = *at;
  }
  readPolicies(arguments, options.policies);
  options.allowSha1 = arguments.has("--allow-sha1");
  if (arguments.has("--all-paths")) options.paths = kAllPaths;
  uint32_t& most = options.limits.certificates;
  const auto depth = arguments.value("--max-depth");
  if (depth && !(parseNumber(*depth, most) && most != 0)) {
    throw UsageError("option \"--max-depth\" needs a number of certificates from 1 on");
  }
  if (arguments.has("--crl")) options.revocation = Revocation::whereCrlsAre;
  if (const auto whom = arguments.value("--require-crl")) {
    const bool isLeaf = placeOf("--require-crl", *whom, kWhom) == 0;
    options.revocation = isLeaf ? Revocation::leaf : Revocation::all;
  }
  const std::string_view profile = arguments.value("--profile").value_or("basic");
  options.profile = static_cast<Profile>(placeOf("--profile", profile, kProfiles));
  return options;
}

// Whether the direct issuer is one of those of --issuer.
struct DirectIssuer {
  const std::vector<Certificate>& issuers;

  bool operator()(const Path& path) const noexcept {
    return path.certificates.size() > 1 &&
           std::find(issuers.begin(), issuers.end(), path.certificates[1]) != issuers.end();
  }
};

class Verifier {
 public:
  Verifier(const Arguments& arguments, Console& console)
      : m_arguments(arguments),
        m_console(console),
        m_json(arguments.has("--json")),
        m_question{readOptions(arguments), arguments.value("--issuer").value_or(""), {}} {}

  void collect() {
    for (const std::string_view each : m_arguments.values("--roots")) collectRoots(each);
    collectFiles("--issuer", m_issuers);
    m_others = m_issuers;
    collectFiles("--chain", m_others);
    collectCrls();
  }

  // The FILEs may hold issuers too, so all of them are read before the first answer.
  void answerFiles() {
    const auto keep = [&](const InputCertificate& input) {
      take(input, m_others);
      m_items.push_back({input, input.certificate, {}});
    };
    const auto keepFailure = [&](const InputPlace& place, std::string_view reason) {
      if (m_json) m_items.push_back({place, std::nullopt, std::string(reason)});
    };
    visitCertificates(m_arguments.files(), m_console, keep, keepFailure);
    prepare();
    for (const Item& each : m_items) {
      if (!each.certificate) {
        writeUnreadable(each.place, each.failure, m_console.out());
        m_console.endRecord();
      } else {
        report(each.place, *each.certificate);
      }
    }
    if (m_json || m_items.empty()) return;
    const size_t start = m_console.out().getSize();
    tellWhatIsNotJudged();
    foldHanging(start, m_console.width(), m_console.out());
  }

  // Each line is answered by itself and forgotten.
  void answerLines() {
    prepare();
    visitFilesOrLines(m_arguments, m_console, [this](Answers& answers) -> Visit {
      return [this, &answers](const InputCertificate& input) {
        refuseBer(input);
        append(input, input.certificate, answers);
      };
    });
  }

 private:
  // Of a FILE: a certificate, or why there is none.
  struct Item {
    InputPlace place;
    std::optional<Certificate> certificate;
    std::string failure;
  };

  void tellWhatIsNotJudged() {
    const bool withCrls = m_question.options.revocation != Revocation::notAsked;
    print(m_console.out(), "\nNot judged: ", withCrls ? "" : "revocation (--crl), ",
          "OCSP and certificate transparency.\n");
    if (m_arguments.has("--purpose")) return;
    const Target& target = m_question.options.target;
    print(m_console.out(),
          "No purpose was asked for: any use is judged alike. To ask for one add --purpose",
          target.isHost()    ? " server.\n"
          : target.isEmail() ? " email.\n"
                             : ".\n");
  }

  static void refuseBer(const InputCertificate& input) {
    if (input.berAt) throw Untreated("BER, on which no decision may rest.");
  }

  void take(const InputCertificate& input, std::vector<Certificate>& into) {
    refuseBer(input);
    m_question.places.try_emplace(input.certificate, input);
    into.push_back(input.certificate);
  }

  void collectFrom(std::string_view file, std::vector<Certificate>& into) {
    visitCertificates({file}, m_console, [&](const InputCertificate& input) { take(input, into); });
  }

  void collectFiles(std::string_view option, std::vector<Certificate>& into) {
    for (const std::string_view file : m_arguments.values(option)) collectFrom(file, into);
  }

  // What cannot be read may be the CRL that lists a certificate, so that another has to vouch.
  void collectCrls() {
    const GivenCrls given = readCrls(m_arguments.values("--crl"), m_console);
    VerifyOptions& options = m_question.options;
    options.crls = CrlSet(given.crls);
    if (!given.areAll) options.revocation = Revocation::all;
  }

  // What --roots means; without roots nothing is trusted, so that the rest can go on.
  void collectRoots(std::string_view given) {
    const char* path = nullptr;
    if (given == "system" && (path = systemTrustedRootsPath()) == nullptr) {
      return m_console.complain("system", "no file of trusted roots in any of the usual places");
    }
    const std::string wanted(path != nullptr ? path : given);
    std::vector<std::string>& files = m_rootFiles.emplace_back();
    if (const std::error_code error = listRootFiles(wanted, files)) {
      m_console.complain(wanted, error.message());
    }
    for (const std::string& file : files) collectFrom(file, m_roots);
  }

  void prepare() {
    m_anchors.emplace(m_roots);
    m_intermediates.emplace(m_others);
    if (m_arguments.has("--issuer")) m_question.options.accept = m_isDirect;
  }

  void report(const InputPlace& leaf, const Certificate& certificate) {
    const size_t start = m_console.out().getSize();
    Limits& limits = m_question.options.limits;
    limits.candidates = m_looks.next(kLooksOfEach);
    limits.comparisons =
        m_comparisons.next(kComparisonsOfEach + kComparisonsOfOctet * certificate.der().size());
    const Cost used = append(leaf, certificate, m_console);
    m_looks.spend(used.candidates);
    m_comparisons.spend(used.comparisons);
    if (!m_json) foldHanging(start, m_console.width(), m_console.out());
    if (m_console.out().failed()) {
      // No half of a record is left behind.
      m_console.takeBack(start);
      throw std::bad_alloc();
    }
    m_console.endRecord();
  }

  Cost append(const InputPlace& leaf, const Certificate& certificate, Answers& answers) const {
    const Verification answer =
        verify(certificate, *m_anchors, *m_intermediates, m_question.options);
    if (answer.reason == Reason::outOfMemory) throw std::bad_alloc();
    if (!answer) answers.raise(ExitStatus::kNo);
    m_json ? appendPathJson(m_question, leaf, answer, answers.out())
           : appendPathText(m_question, leaf, answer, answers.out());
    return answer.used;
  }

  const Arguments& m_arguments;
  Console& m_console;
  bool m_json;
  PathQuestion m_question;
  std::deque<std::vector<std::string>> m_rootFiles;  // of each --roots; places name them
  std::vector<Certificate> m_roots;
  std::vector<Certificate> m_issuers;
  DirectIssuer m_isDirect{m_issuers};
  std::vector<Certificate> m_others;  // that may stand between, those and the FILEs' included
  std::vector<Item> m_items;
  Allowance m_looks{Limits().candidates};
  Allowance m_comparisons{Limits().comparisons};
  std::optional<TrustAnchors> m_anchors;
  std::optional<CertificateSet> m_intermediates;
};

void runVerify(const Arguments& arguments, Console& console) {
  arguments.wantBoth("--lines", "--json");
  jobsOf(arguments);
  Verifier verifier(arguments, console);
  verifier.collect();
  arguments.has("--lines") ? verifier.answerLines() : verifier.answerFiles();
}

constexpr OptionSpec kOptions[] = {
    {"--host", "NAME", "the host that a leaf has to speak for"},
    {"--ip", "ADDRESS", "likewise, an address"},
    {"--email", "ADDRESS", "the e-mail address that a leaf has to speak for"},
    {"--no-host", "", "with --purpose server: the name is judged elsewhere"},
    {"--purpose", "WHAT", "server, client, code, email, time, ocsp or any (default any)", false,
     kAskedPurposes},
    {"--roots", "WHERE",
     "the trusted roots: a file, a directory of files, or system; may be repeated; without it "
     "nothing is trusted",
     true, kSystem},
    {"--chain", "FILE", "certificates that may stand between FILE and a root; may be repeated",
     true},
    {"--issuer", "FILE", "certificates of which one has to be the direct issuer of each FILE"},
    {"--crl", "FILE",
     "CRLs: where a certificate's issuer has one, it has to vouch; may be repeated", true},
    {"--require-crl", "WHOM", "leaf or all: a CRL has to vouch for these", false, kWhom},
    {"--policy", "OID", "a policy of which one has to hold for the whole way; may be repeated",
     true},
    {"--explicit-policy", "", "some policy has to hold for the whole way"},
    {"--inhibit-mapping", "", "policies are not mapped to others"},
    {"--inhibit-any", "", "anyPolicy does not stand for others"},
    {"--max-depth", "N",
     "how many certificates a way may have, leaf and root included (default 16)"},
    {"--profile", "NAME", "basic (default), rfc5280 or web: the rules beyond those of validation",
     false, kProfiles},
    {"--allow-sha1", "", "signatures may rest on SHA-1"},
    {"--at", "TIME",
     "check the dates at 2025-01-31T23:59:59Z, or at the start of 2025-01-31, in UTC (default "
     "now)"},
    {"--all-paths", "", "all ways that hold instead of the first"},
    {"--json", "", "one JSON object a line"},
    kLinesOption,
    kJobsOption,
    kProgressOption,
    kQuietOption,
};

}  // namespace

const Command kVerifyCommand = {
    "verify", "tell whether certificates may be trusted, for what and why not",
    "Path validation as RFC 5280 has it: signatures, dates, CAs, critical extensions,\n"
    "name constraints, policies, and CRLs where they are given. The roots are trusted\n"
    "as they are given; issuers are looked for among them, the --issuer and --chain\n"
    "certificates and the FILEs themselves. The exit status is 1 when any certificate\n"
    "of a FILE does not verify.\n"
    "\n"
    "JSON has for each certificate of a FILE source, index, verified, reason, text,\n"
    "at, purpose, target, profile, paths and used; paths lists {anchored,\n"
    "certificates, anyPolicy, policies, leafNotRevoked, nothingRevoked}, of\n"
    "certificates {subject, source, index, notBefore, notAfter, findings}, and of\n"
    "findings {id, severity, text, clause, about, offset, detail}. Where nothing\n"
    "verifies, paths has the way that came furthest, and reason is the id of its\n"
    "gravest finding.\n",
    kOptions, runVerify};

}  // namespace velmora::tool
