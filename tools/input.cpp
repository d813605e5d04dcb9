#include "tools/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "support/text/ascii.h"
#include "tools/escape.h"
#include "tools/json_writer.h"

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

// Hands what the reader finds in one source to the visitor, and failures to the console.
class SourceSink final : public CertificateSink {
 public:
  SourceSink(std::string_view source, bool errorsAsJson, CertificateVisitor& visitor,
             Console& console)
      : m_source(source), m_errorsAsJson(errorsAsJson), m_visitor(visitor), m_console(console) {}

  void certificate(const CertificatePlace& place, std::span<const unsigned char> der) override {
    const char* reason = m_visitor.visit({m_source, place.index, der});
    if (reason != nullptr) return failure(place, {reason, std::nullopt});
    m_console.endRecord();
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    StringBuffer where;
    where.append(": block ");
    where.appendInt(static_cast<int64_t>(place.index) + 1);
    appendLabelAndLine(place, where);
    report(where.view(), place.index, reasonWithOffset(failure).view());
  }

  // The source as a whole.
  void systemFailure(size_t index, int error) { report("", index, std::strerror(error)); }

 private:
  static void appendLabelAndLine(const CertificatePlace& place, StringBuffer& out) {
    if (place.line == 0) return;
    out.append(" (");
    if (!place.label.empty()) {
      out.appendChar('"');
      appendPrintable(place.label, out);
      out.append("\", ");
    }
    out.append("line ");
    out.appendInt(static_cast<int64_t>(place.line));
    out.appendChar(')');
  }

  // The library's sentence as a part of a line: without its full stop and, unless it starts with an
  // abbreviation, its capital letter.
  static StringBuffer reasonWithOffset(const CertificateFailure& failure) {
    std::string_view text = failure.reason;
    if (text.ends_with('.')) text.remove_suffix(1);
    StringBuffer reason;
    const bool isAbbreviation = text.size() > 1 && text[1] >= 'A' && text[1] <= 'Z';
    if (!text.empty() && !isAbbreviation) {
      reason.appendChar(asciiLower(text.front()));
      text.remove_prefix(1);
    }
    reason.append(text);
    if (failure.offset) {
      reason.append(" (offset ");
      reason.appendInt(static_cast<int64_t>(*failure.offset));
      reason.append(" in the DER)");
    }
    return reason;
  }

  // `where` is safe to print.
  void report(std::string_view where, size_t index, std::string_view reason) {
    if (m_errorsAsJson) {
      JsonLine line(m_console.out());
      line.text("source", m_source);
      line.number("index", static_cast<int64_t>(index));
      line.text("error", reason);
      line.end();
    }
    StringBuffer line("velmora-x509: ");
    appendPrintable(sourceForPeople(m_source), line);
    line.append(where);
    line.append(": ");
    appendPrintable(reason, line);
    m_console.error(line.view());
    m_console.raise(ExitStatus::kUnreadable);
  }

  std::string_view m_source;
  bool m_errorsAsJson;
  CertificateVisitor& m_visitor;
  Console& m_console;
};

// 0, or what reading failed with.
int feedAll(int descriptor, CertificateReader& reader, Console& console) {
  const auto chunk = std::make_unique<char[]>(kChunkSize);
  for (;;) {
    const ssize_t size = ::read(descriptor, chunk.get(), kChunkSize);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return errno;
    if (size == 0) return 0;
    const bool wantsMore = reader.feed(std::string_view(chunk.get(), static_cast<size_t>(size)));
    // What a pipe brought goes out at once: its other end may wait for it.
    if (!console.flush() || !wantsMore) return 0;
  }
}

void visitSource(std::string_view source, SourceSink& sink, Console& console) {
  const bool isStandardInput = source == "-";
  const Descriptor file(
      isStandardInput ? STDIN_FILENO : ::open(std::string(source).c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return sink.systemFailure(0, errno);
  CertificateReader reader(sink);
  if (const int error = feedAll(file.get(), reader, console); error != 0) {
    return sink.systemFailure(reader.count(), error);
  }
  if (console.flush()) reader.finish();
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

LoadedCertificate::LoadedCertificate() : m_certificate(VelmoraX509::createNewX509()) {
  if (!m_certificate) throw std::bad_alloc();
  m_certificate->incRefCount();
}

const char* LoadedCertificate::load(std::span<const unsigned char> der) {
  LogNull log;
  const bool loaded = m_certificate->loadX509DerAlt(
      der.data(), static_cast<unsigned int>(der.size()), nullptr, log);
  return loaded ? nullptr : "A certificate that cannot be loaded.";
}

void appendPlace(const InputCertificate& input, StringBuffer& out) {
  appendPrintable(sourceForPeople(input.source), out);
  out.append(": certificate ");
  out.appendInt(static_cast<int64_t>(input.index) + 1);
}

std::string_view sourceForPeople(std::string_view source) {
  return source == "-" ? "standard input" : source;
}

}  // namespace velmora::tool
