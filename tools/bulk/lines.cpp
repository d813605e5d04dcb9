#include "tools/bulk/lines.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "tools/bulk/in_order.h"
#include "tools/bulk/interrupt.h"
#include "tools/bulk/line_batches.h"
#include "tools/bulk/progress.h"
#include "tools/reading/key_shell.h"
#include "velmora/reading/reading.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr size_t kMostJobs = 256;
// Of a source, so many lines that cannot be read are told one by one; then their number alone.
constexpr size_t kTold = 5;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// What the keys before the lines of an answer may be, in times of the line that is answered.
constexpr size_t kMostOfKeys = 16;

constexpr const char* kKeyTooOften = "The key is too long for so many lines; --json has it once.";
constexpr const char* kTooLarge = "The DER is larger than 64 MiB.";
constexpr const char* kNotBase64 = "The line is not base64.";
constexpr const char* kPem = "The line is of PEM, which is read without --lines.";
constexpr const char* kSeveral = "The line holds more than one certificate.";
constexpr const char* kNothing = "There is no certificate behind the key.";

// What the octets of one line are that are not the DER of a certificate and nothing else.
class LineReading final : public TypedCertificateSink {
 public:
  // Where to put why there is none; the text outlives what is thrown.
  LineReading(Takes takes, StringBuffer& failure) noexcept : m_takes(takes), m_failure(failure) {}

  void typedCertificate(const CertificatePlace&, Bytes octets, const Certificate& certificate,
                        std::optional<uint32_t> berAt) override {
    take(certificate, octets, berAt);
  }

  void failure(const CertificatePlace&, const CertificateFailure& failure) override {
    const auto shell = m_takes == Takes::kKeys ? certificateAround(failure) : std::nullopt;
    if (shell) return take(*shell, shell->der(), std::nullopt);
    if (m_failure.isEmpty()) m_failure.append(reasonAndPlace(failure, true));
    whole(m_failure);
  }

  // Throws Untreated when it is none.
  InputCertificate at(const InputPlace& place) const {
    if (!m_failure.isEmpty()) throw Untreated(m_failure.getString());
    return {place, octetsOf(m_octets), *m_certificate, m_berAt};
  }

 private:
  void take(const Certificate& certificate, Bytes octets, std::optional<uint32_t> berAt) {
    if (m_certificate) throw Untreated(kSeveral);
    m_certificate = certificate;
    m_octets.assign(octets.begin(), octets.end());
    m_berAt = berAt;
  }

  Takes m_takes;
  std::optional<Certificate> m_certificate;
  Octets m_octets;
  std::optional<uint32_t> m_berAt;
  StringBuffer& m_failure;
};

// Does a command's work on batches, in one thread.
class LineWorker {
 public:
  LineWorker(bool isJson, const MakeVisit& make, Takes takes)
      : m_isJson(isJson), m_takes(takes), m_visit(make(m_answers)) {}
  LineWorker(const LineWorker&) = delete;
  LineWorker& operator=(const LineWorker&) = delete;

  void treat(std::string_view source, LineBatch& batch) {
    InputPlace place{source, batch.firstIndex, "line"};
    std::string_view rest = batch.text;
    if (batch.firstIndex == 0 && rest.starts_with(kUtf8Mark)) rest.remove_prefix(kUtf8Mark.size());
    for (; !rest.empty(); ++place.index) {
      const size_t end = std::min(rest.find('\n'), rest.size());
      const std::string_view line = rest.substr(0, end);
      rest.remove_prefix(std::min(end + 1, rest.size()));
      treatLine(place, line, batch.lastIsCut && rest.empty(), batch);
    }
    batch.status = m_answers.status();
    batch.text = {};
  }

 private:
  void treatLine(InputPlace place, std::string_view line, bool isCut, LineBatch& batch) {
    const size_t tab = line.find('\t');
    if (tab != line.npos) place.key = line.substr(0, tab);
    const std::string_view base64 = trimmedAscii(tab == line.npos ? line : line.substr(tab + 1));
    if (base64.empty() && !place.key) return;
    StringBuffer& answer = m_answers.out();
    answer.weakClear();
    try {
      Bytes der;
      const char* const fault = isCut ? kTooLarge : decode(base64, der);
      if (fault != nullptr) {
        fail(place, reasonAndPlace({fault}, true).view(), batch);
      } else {
        visit(place, der);
        checkKeys(place, line.size(), whole(answer).view());
        ++batch.certificates;
      }
    } catch (const Untreated& untreated) {
      fail(place, reasonAndPlace({untreated.reason, untreated.offset}, true).view(), batch);
    } catch (const std::bad_alloc&) {
      fail(place, "memory ran out", batch);
    }
    take(place, batch.out);
  }

  void visit(const InputPlace& place, Bytes der) {
    const Result<Certificate> certificate = Certificate::parseBytes(der);
    if (certificate) return m_visit({place, octetsOf(der), *certificate, std::nullopt});
    m_failure.clear();
    LineReading reading(m_takes, m_failure);
    CertificateReader reader(reading);
    reader.feed(octetsOf(der));
    reader.finish();
    m_visit(reading.at(place));
  }

  // Long keys before very many lines would make gigabytes of a line.
  void checkKeys(const InputPlace& place, size_t lineSize, std::string_view answer) const {
    if (m_isJson || !place.key) return;
    const auto lines = static_cast<size_t>(std::count(answer.begin(), answer.end(), '\n'));
    if (lines > 1 && place.key->size() * lines > kMostOfKeys * lineSize)
      throw Untreated(kKeyTooOften);
  }

  // Why there are none, or null; the octets live until the next call. Nothing is thrown, which
  // takes longer than all the rest: there may be a line for every other octet.
  const char* decode(std::string_view base64, Bytes& der) {
    if (base64.empty()) return kNothing;
    if (base64.starts_with("-----")) return kPem;
    m_octets.resize(base64.size() / 4 * 3 + 3);
    auto* const out = reinterpret_cast<unsigned char*>(m_octets.data());
    const DecodeResult result = base64Decode(base64, false, out);
    if (!result.complete) return kNotBase64;
    if (result.written > CertificateReader::kMaxDerSize) return kTooLarge;
    der = Bytes(m_octets).first(result.written);
    return nullptr;
  }

  void fail(const InputPlace& place, std::string_view reason, LineBatch& batch) {
    m_answers.out().clear();
    writeUnreadable(place, reason, m_answers.out());
    m_answers.raise(ExitStatus::kUnreadable);
    if (batch.errors++ >= kTold) return;
    StringBuffer complaint;
    print(complaint, place, ": ", Safe{reason});
    batch.complaints.emplace_back(whole(complaint).view());
  }

  // Appends the answer, of which each line has the key before it where it is no JSON.
  void take(const InputPlace& place, StringBuffer& out) {
    std::string_view rest = whole(m_answers.out()).view();
    if (m_isJson || !place.key) print(out, std::exchange(rest, {}));
    while (!rest.empty()) {
      const size_t size = std::min(rest.find('\n'), rest.size() - 1) + 1;
      print(out, Safe{*place.key}, '\t', rest.substr(0, size));
      rest.remove_prefix(size);
    }
    whole(out);
  }

  bool m_isJson;
  Takes m_takes;
  Answers m_answers;  // of one line
  Visit m_visit;
  Octets m_octets;
  StringBuffer m_failure;
};

// A file that is open, or standard input, which stays so.
struct Source {
  explicit Source(std::string_view name)
      : isStandardInput(name == "-"),
        descriptor(isStandardInput ? STDIN_FILENO
                                   : ::open(std::string(name).c_str(), O_RDONLY | O_CLOEXEC)),
        error(descriptor < 0 ? errno : 0) {}
  ~Source() {
    if (!isStandardInput && descriptor >= 0) ::close(descriptor);
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  const bool isStandardInput;
  const int descriptor;
  const int error;  // with which opening failed, else 0
};

// The size of all input, where all of it is files.
std::optional<uint64_t> sizeOf(const std::vector<std::string_view>& sources) {
  uint64_t size = 0;
  for (const std::string_view each : sources) {
    struct stat status = {};
    const bool isKnown = (each == "-" ? ::fstat(STDIN_FILENO, &status)
                                      : ::stat(std::string(each).c_str(), &status)) == 0;
    if (!isKnown || !S_ISREG(status.st_mode)) return std::nullopt;
    size += static_cast<uint64_t>(status.st_size);
  }
  return size;
}

class LinesRun {
 public:
  LinesRun(const Arguments& arguments, size_t jobs, Console& console, const MakeVisit& make,
           Takes takes)
      : m_arguments(arguments),
        m_isJson(arguments.has("--json")),
        m_isQuiet(arguments.has("--quiet")),
        m_console(console),
        m_progress(arguments, console, sizeOf(arguments.files())) {
    for (size_t i = 0; i < jobs; ++i) {
      m_workers.push_back(std::make_unique<LineWorker>(m_isJson, make, takes));
    }
  }

  void run() {
    const Interruptible whileThisLives;
    for (const std::string_view source : m_arguments.files()) {
      if (Interruptible::interrupted() || !m_console.flush()) break;
      readSource(source);
    }
    m_progress.finish();
    if (Interruptible::interrupted()) m_console.raise(ExitStatus::kInterrupted);
  }

 private:
  void readSource(std::string_view name) {
    const Source source(name);
    LineBatches batches(source.descriptor);
    const auto read = [&](LineBatch& batch) { return batches.next(batch) ? batch.octets : 0; };
    const auto treat = [&](LineBatch& batch, size_t worker) {
      m_workers[worker]->treat(name, batch);
    };
    const auto write = [&](LineBatch& batch) { return this->write(batch); };
    if (source.error == 0) InOrder<LineBatch>::run(m_workers.size(), {read, treat, write});
    tellRest(name);
    const int error = source.error != 0 ? source.error : batches.error();
    if (error == 0) return;
    m_progress.clear();
    if (m_isJson) {
      writeUnreadable({name, batches.count()}, std::strerror(error), m_console.out());
    }
    m_console.complain(sourceForPeople(name), std::strerror(error));
  }

  bool write(LineBatch& batch) {
    m_console.out().swap(batch.out);
    const bool isWritten = m_console.flush();
    m_console.raise(batch.status);
    for (const std::string& each : batch.complaints) {
      if (m_isQuiet || m_told == kTold) break;
      ++m_told;
      m_progress.clear();
      m_console.error(each);
    }
    m_errors += batch.errors;
    m_hasCertificate = m_hasCertificate || batch.certificates != 0;
    m_progress.add(batch.certificates, batch.errors, batch.octets);
    return isWritten;
  }

  // What was not told line by line; and, of a source that is perhaps of another form altogether,
  // what lines are.
  void tellRest(std::string_view name) {
    const size_t untold = m_errors - m_told;
    const bool isOfAnotherForm = m_errors != 0 && !m_hasCertificate;
    m_errors = m_told = 0;
    m_hasCertificate = false;
    if (m_isQuiet || (untold == 0 && !isOfAnotherForm)) return;
    m_progress.clear();
    const Safe source{sourceForPeople(name)};
    if (untold != 0) {
      m_console.error(source, ": ", untold,
                      untold == 1 ? " more line that holds no certificate"
                                  : " more lines that hold no certificate");
    }
    if (isOfAnotherForm) {
      m_console.error(
          source,
          ": no certificate in it; --lines reads base64, or a key, a tab and base64, a line "
          "each, and other files are read without it");
    }
  }

  const Arguments& m_arguments;
  bool m_isJson;
  bool m_isQuiet;
  Console& m_console;
  Progress m_progress;
  std::vector<std::unique_ptr<LineWorker>> m_workers;
  // Of a source: lines that cannot be read, and how many of them were told one by one.
  size_t m_errors = 0;
  size_t m_told = 0;
  bool m_hasCertificate = false;
};

}  // namespace

size_t jobsOf(const Arguments& arguments) {
  size_t jobs = 1;
  arguments.wantAtMostOneOf({"--progress", "--quiet"});
  for (const std::string_view option : {"--jobs", "--progress", "--quiet"}) {
    arguments.wantBoth(option, "--lines");
  }
  const auto given = arguments.value("--jobs");
  if (given && !(parseNumber(*given, jobs) && jobs != 0 && jobs <= kMostJobs)) {
    throw UsageError("option \"--jobs\" needs a number of threads from 1 to 256");
  }
  return jobs;
}

void visitFilesOrLines(const Arguments& arguments, Console& console, const MakeVisit& make,
                       Takes takes) {
  const size_t jobs = jobsOf(arguments);
  if (!arguments.has("--lines")) return visitFiles(arguments, console, make(console), takes);
  LinesRun(arguments, jobs, console, make, takes).run();
}

}  // namespace velmora::tool
