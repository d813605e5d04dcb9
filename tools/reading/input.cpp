#include "tools/reading/input.h"

#include <unistd.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "velmora/reading/certificate_reader.h"
#include "velmora/reading/file_pieces.h"
#include "velmora/reading/reading.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// Tells what of one source cannot be read. Blocks in a row that fail for the same reason have one
// line for the first and share another: of a file that is something else altogether there may be
// millions.
class Failures {
 public:
  Failures(std::string_view source, const VisitFailure& visitFailure, Console& console)
      : m_source(source), m_visit(visitFailure), m_console(console) {}

  void add(const CertificatePlace& place, const CertificateFailure& failure) {
    if (m_visit) m_visit({m_source, place.index}, reasonAndPlace(failure, true).view());
    if (!m_going || failure.reason != m_reason || place.label != m_label) {
      endRun();
      m_going = true;
      m_reason = failure.reason;
      m_label = place.label;
      return complain(lineOf(place, failure));
    }
    m_last = {place.index, {}, place.line};
    if (m_count++ != 0) return;
    m_first = m_last;
    m_second = lineOf(place, failure);
  }

  // The source as a whole.
  void addSystemError(size_t index, int error) {
    endRun();
    const char* reason = std::strerror(error);
    if (m_visit) m_visit({m_source, index}, reason);
    m_console.complain(sourceForPeople(m_source), reason);
  }

  // Writes what is held back while blocks fail for the same reason.
  void endRun() {
    if (m_count == 1) complain(m_second);
    if (m_count > 1) complain(lineOfRun());
    m_going = false;
    m_count = 0;
  }

 private:
  StringBuffer lineOf(const CertificatePlace& place, const CertificateFailure& failure) const {
    StringBuffer line;
    print(line, ": block ", place.index + 1);
    if (!place.label.empty() && place.line != 0) {
      print(line, " (\"", Safe{place.label}, "\", line ", place.line, ')');
    } else if (place.line != 0) {
      print(line, " (line ", place.line, ')');
    }
    const bool isElsewhere = failure.line != place.line;
    print(line, ": ", Safe{reasonAndPlace(failure, isElsewhere).view()});
    return line;
  }

  // ": blocks 2 to 9 (lines 4 to 40): the reason"
  StringBuffer lineOfRun() const {
    StringBuffer line;
    print(line, ": blocks ", m_first.index + 1, " to ", m_last.index + 1);
    if (m_first.line != 0) print(line, " (lines ", m_first.line, " to ", m_last.line, ')');
    print(line, ": ", Safe{reasonAndPlace({m_reason}, false).view()});
    return line;
  }

  // `what` is safe to print.
  void complain(const StringBuffer& what) {
    m_console.error(Safe{sourceForPeople(m_source)}, what);
    m_console.raise(ExitStatus::kUnreadable);
  }

  std::string_view m_source;
  const VisitFailure& m_visit;
  Console& m_console;
  bool m_going = false;
  std::string m_reason;
  std::string m_label;
  size_t m_count = 0;  // of those behind the first
  CertificatePlace m_first;
  CertificatePlace m_last;
  StringBuffer m_second;
};

// Hands what the reader finds in one source to the visitor, and failures to those who tell them.
class SourceSink final : public TypedCertificateSink {
 public:
  SourceSink(std::string_view source, const Visit& visit, Failures& failures, Console& console)
      : m_source(source), m_visit(visit), m_failures(failures), m_console(console) {}

  // A certificate for which memory runs out leaves no half of its record behind.
  void typedCertificate(const CertificatePlace& place, Bytes octets, const Certificate& certificate,
                        std::optional<uint32_t> berAt) override {
    const size_t start = m_console.out().getSize();
    try {
      m_visit({{m_source, place.index}, octetsOf(octets), certificate, berAt});
      whole(m_console.out());
      m_failures.endRun();
      m_console.endRecord();
    } catch (const Untreated& untreated) {
      m_failures.add(place, {untreated.reason, untreated.offset});
    } catch (const std::bad_alloc&) {
      m_console.takeBack(start);
      m_failures.add(place, {kMemoryRanOut});
    }
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    m_failures.add(place, failure);
  }

 private:
  std::string_view m_source;
  const Visit& m_visit;
  Failures& m_failures;
  Console& m_console;
};

int readSource(std::string_view source, const TakePiece& take) {
  return source == "-" ? readPieces(STDIN_FILENO, take) : readPieces(std::string(source), take);
}

}  // namespace

void visitCertificates(const std::vector<std::string_view>& sources, Console& console,
                       const Visit& visit, const VisitFailure& visitFailure) {
  for (const std::string_view source : sources) {
    Failures failures(source, visitFailure, console);
    SourceSink sink(source, visit, failures, console);
    CertificateReader reader(sink);
    const int error = readSource(source, [&](auto piece) {
      const bool wantsMore = reader.feed(piece);
      // What a pipe brought goes out at once: its other end may wait for it.
      failures.endRun();
      return console.flush() && wantsMore;
    });
    if (error != 0) {
      failures.addSystemError(reader.count(), error);
    } else if (console.flush()) {
      reader.finish();
    }
    failures.endRun();
    if (!console.flush()) return;
  }
}

VisitFailure failuresAsJson(const Arguments& arguments, Console& console) {
  if (!arguments.has("--json")) return {};
  return [&](auto& place, std::string_view reason) {
    writeUnreadable(place, reason, console.out());
    console.endRecord();
  };
}

void visitFiles(const Arguments& arguments, Console& console, const Visit& visit) {
  visitCertificates(arguments.files(), console, visit, failuresAsJson(arguments, console));
}

Visit loaded(VisitLoaded visit) {
  const auto object = std::make_shared<RefOwner<VelmoraX509>>(VelmoraX509::createOwnedX509());
  return [object, visit = std::move(visit)](const InputCertificate& input) {
    loadInto(object->get(), input.der);
    visit(**object, input);
  };
}

void visitLoaded(const Arguments& arguments, Console& console, const VisitLoaded& visit) {
  visitFiles(arguments, console, loaded(visit));
}

std::vector<Crl> readCrls(const std::vector<std::string_view>& sources, Console& console) {
  std::vector<Crl> crls;
  for (const std::string_view source : sources) {
    const VisitFailure nobody;
    Failures failures(source, nobody, console);
    std::vector<unsigned char> content;
    const int error = readSource(source, [&](auto piece) {
      content.insert(content.end(), piece.begin(), piece.end());
      return true;
    });
    if (error != 0) {
      failures.addSystemError(0, error);
      continue;
    }
    const CrlReading reading = CrlSet::read(std::as_bytes(std::span(content)));
    crls.insert(crls.end(), reading.crls.begin(), reading.crls.end());
    for (const CrlFailure& each : reading.failures) {
      const bool isText = each.error.code == ErrorCode::malformedText || each.error.isAbsent();
      const auto offset = isText ? std::nullopt : std::optional<size_t>(each.error.offset);
      failures.add({each.index, {}, each.line}, {each.reason, offset, each.faultLine});
    }
    failures.endRun();
  }
  return crls;
}

void loadInto(VelmoraX509* object, std::span<const unsigned char> der) {
  LogNull log;
  if (object == nullptr) throw std::bad_alloc();
  const auto size = static_cast<unsigned int>(der.size());
  if (object->loadX509DerAlt(der.data(), size, nullptr, log)) return;
  throw Untreated("A certificate that cannot be loaded.");
}

StringBuffer reasonAndPlace(const CertificateFailure& failure, bool withLine) {
  StringBuffer out;
  appendReason(failure.reason, out);
  if (withLine && failure.line != 0) print(out, " (line ", failure.line, ')');
  if (failure.offset) print(out, " (offset ", *failure.offset, " in the DER)");
  return out;
}

void appendItem(const InputPlace& place, StringBuffer& out) {
  print(out, Safe{sourceForPeople(place.source)}, ": ", place.kind, ' ', place.index + 1);
}

void writePlace(const InputPlace& place, JsonLine& line) {
  line.text("source", place.source);
  line.number("index", place.index);
}

void writeLineKey(const InputPlace& place, JsonLine& line) {
  if (place.key) line.text("key", *place.key);
}

void writeUnreadable(const InputPlace& place, std::string_view reason, StringBuffer& out) {
  JsonLine line(out);
  writePlace(place, line);
  line.text("error", reason);
  writeLineKey(place, line);
  line.end();
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
