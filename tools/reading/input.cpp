#include "tools/reading/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "tools/render/escape.h"
#include "tools/render/json_writer.h"
#include "velmora/reading/reading.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

constexpr size_t kChunkSize = size_t{256} << 10;

class Descriptor {
 public:
  explicit Descriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
  ~Descriptor() {
    if (m_descriptor > STDERR_FILENO) ::close(m_descriptor);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const noexcept { return m_descriptor; }

 private:
  int m_descriptor;
};

void appendNumber(std::string_view before, size_t number, StringBuffer& out) {
  out.append(before);
  out.appendInt(static_cast<int64_t>(number));
}

// The reason, and where in the block it lies.
void appendReasonAndPlace(const CertificateFailure& failure, bool withLine, StringBuffer& out) {
  appendReason(failure.reason, out);
  if (withLine && failure.line != 0) {
    appendNumber(" (line ", failure.line, out);
    out.appendChar(')');
  }
  if (failure.offset) {
    appendNumber(" (offset ", *failure.offset, out);
    out.append(" in the DER)");
  }
}

// Blocks in a row that fail for the same reason. The first has a line of its own, the others share
// one: of a file that is something else altogether there may be millions.
class FailureRun {
 public:
  bool continuesWith(const CertificatePlace& place, std::string_view reason) const {
    return m_going && reason == m_reason && place.label == m_label;
  }
  void start(const CertificatePlace& place, std::string_view reason) {
    *this = FailureRun();
    m_going = true;
    m_reason = reason;
    m_label = place.label;
  }
  void add(const CertificatePlace& place) {
    m_last = {place.index, {}, place.line};
    if (m_count++ == 0) m_first = m_last;
  }

  /// How many there are behind the first one.
  size_t count() const noexcept { return m_count; }

  /// Appends those: ": blocks 2 to 9 (lines 4 to 40): the reason".
  void append(StringBuffer& out) const {
    appendNumber(": blocks ", m_first.index + 1, out);
    appendNumber(" to ", m_last.index + 1, out);
    if (m_first.line != 0) {
      appendNumber(" (lines ", m_first.line, out);
      appendNumber(" to ", m_last.line, out);
      out.appendChar(')');
    }
    out.append(": ");
    StringBuffer reason;
    appendReason(m_reason, reason);
    appendPrintable(reason.view(), out);
  }

 private:
  bool m_going = false;
  size_t m_count = 0;
  std::string m_reason;
  std::string m_label;
  CertificatePlace m_first;
  CertificatePlace m_last;
};

// Hands what the reader finds in one source to the visitor, and failures to the console.
class SourceSink final : public TypedCertificateSink {
 public:
  SourceSink(std::string_view source, bool errorsAsJson, CertificateVisitor& visitor,
             Console& console)
      : m_source(source), m_errorsAsJson(errorsAsJson), m_visitor(visitor), m_console(console) {}

  void typedCertificate(const CertificatePlace& place, Bytes octets, const Certificate& certificate,
                        std::optional<uint32_t> berAt) override {
    const char* reason = visit({{m_source, place.index}, octetsOf(octets), certificate, berAt});
    if (reason != nullptr) return failure(place, {reason});
    endRun();
    m_console.endRecord();
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    if (m_errorsAsJson) writeJson(place.index, failure);
    if (m_run.continuesWith(place, failure.reason)) {
      m_run.add(place);
      if (m_run.count() == 1) m_heldLine = lineOf(place, failure);
      return;
    }
    endRun();
    m_run.start(place, failure.reason);
    complain(lineOf(place, failure));
  }

  // The source as a whole.
  void systemFailure(size_t index, int error) {
    endRun();
    const char* reason = std::strerror(error);
    if (m_errorsAsJson) writeJson(index, std::string_view(reason));
    m_console.complain(sourceForPeople(m_source), reason);
  }

  // Writes what is held back while blocks fail for the same reason.
  void endRun() {
    if (m_run.count() > 1) {
      m_heldLine = lineStart();
      m_run.append(m_heldLine);
    }
    if (m_run.count() != 0) complain(m_heldLine);
    m_run = FailureRun();
  }

 private:
  // A certificate for which memory runs out leaves no half of its record behind.
  const char* visit(const InputCertificate& input) {
    const size_t start = m_console.out().getSize();
    try {
      const char* reason = m_visitor.visit(input);
      whole(m_console.out());
      return reason;
    } catch (const std::bad_alloc&) {
      m_console.takeBack(start);
      return kMemoryRanOut;
    }
  }

  StringBuffer lineStart() const {
    StringBuffer line("velmora-x509: ");
    appendPrintable(sourceForPeople(m_source), line);
    return line;
  }

  StringBuffer lineOf(const CertificatePlace& place, const CertificateFailure& failure) const {
    StringBuffer reason;
    appendReasonAndPlace(failure, failure.line != place.line, reason);
    StringBuffer line = lineStart();
    appendNumber(": block ", place.index + 1, line);
    appendLabelAndLine(place, line);
    line.append(": ");
    appendPrintable(reason.view(), line);
    return line;
  }

  static void appendLabelAndLine(const CertificatePlace& place, StringBuffer& out) {
    if (place.line == 0) return;
    out.append(" (");
    if (!place.label.empty()) {
      out.appendChar('"');
      appendPrintable(place.label, out);
      out.append("\", ");
    }
    appendNumber("line ", place.line, out);
    out.appendChar(')');
  }

  void writeJson(size_t index, const CertificateFailure& failure) {
    StringBuffer reason;
    appendReasonAndPlace(failure, true, reason);
    writeJson(index, reason.view());
  }

  void writeJson(size_t index, std::string_view reason) {
    JsonLine line(m_console.out());
    line.text("source", m_source);
    line.number("index", static_cast<int64_t>(index));
    line.text("error", reason);
    line.end();
    m_console.endRecord();
  }

  // `line` is safe to print.
  void complain(const StringBuffer& line) {
    m_console.error(line.view());
    m_console.raise(ExitStatus::kUnreadable);
  }

  std::string_view m_source;
  bool m_errorsAsJson;
  CertificateVisitor& m_visitor;
  Console& m_console;
  FailureRun m_run;
  StringBuffer m_heldLine;  // of the first behind that with a line of its own
};

// Hands each piece of a source to `take` until that is false; 0, or what reading failed with.
template <class Take>
int readPieces(std::string_view source, Take take) {
  const bool isStandardInput = source == "-";
  const Descriptor file(
      isStandardInput ? STDIN_FILENO : ::open(std::string(source).c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return errno;
  const auto chunk = std::make_unique<char[]>(kChunkSize);
  for (;;) {
    const ssize_t size = ::read(file.get(), chunk.get(), kChunkSize);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return errno;
    if (size == 0 || !take(std::string_view(chunk.get(), static_cast<size_t>(size)))) return 0;
  }
}

void visitSource(std::string_view source, SourceSink& sink, Console& console) {
  CertificateReader reader(sink);
  const int error = readPieces(source, [&](std::string_view piece) {
    const bool wantsMore = reader.feed(piece);
    // What a pipe brought goes out at once: its other end may wait for it.
    sink.endRun();
    return console.flush() && wantsMore;
  });
  if (error != 0) return sink.systemFailure(reader.count(), error);
  if (console.flush()) reader.finish();
  sink.endRun();
}

}  // namespace

void visitCertificates(const std::vector<std::string_view>& sources, bool errorsAsJson,
                       CertificateVisitor& visitor, Console& console) {
  for (const std::string_view source : sources) {
    SourceSink sink(source, errorsAsJson, visitor, console);
    visitSource(source, sink, console);
    if (!console.flush()) return;
  }
}

const char* readSource(std::string_view source, std::string& content) {
  const int error = readPieces(source, [&](std::string_view piece) {
    content += piece;
    return true;
  });
  return error != 0 ? std::strerror(error) : nullptr;
}

LoadedCertificate::LoadedCertificate() : m_certificate(VelmoraX509::createOwnedX509()) {
  if (!m_certificate) throw std::bad_alloc();
}

const char* LoadedCertificate::load(std::span<const unsigned char> der) {
  LogNull log;
  const bool loaded = m_certificate->loadX509DerAlt(
      der.data(), static_cast<unsigned int>(der.size()), nullptr, log);
  return loaded ? nullptr : "A certificate that cannot be loaded.";
}

void appendPlace(const InputPlace& input, StringBuffer& out) {
  appendPrintable(sourceForPeople(input.source), out);
  out.append(": certificate ");
  out.appendInt(static_cast<int64_t>(input.index) + 1);
}

void appendReason(std::string_view sentence, StringBuffer& out) {
  if (sentence.ends_with('.')) sentence.remove_suffix(1);
  const bool isAbbreviation = sentence.size() > 1 && sentence[1] >= 'A' && sentence[1] <= 'Z';
  if (!sentence.empty() && !isAbbreviation) {
    out.appendChar(asciiLower(sentence.front()));
    sentence.remove_prefix(1);
  }
  out.append(sentence);
}

std::string_view sourceForPeople(std::string_view source) {
  return source == "-" ? "standard input" : source;
}

}  // namespace velmora::tool
