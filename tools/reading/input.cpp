#include "tools/reading/input.h"

#include <unistd.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "tools/reading/failures.h"
#include "tools/reading/key_shell.h"
#include "velmora/reading/certificate_reader.h"
#include "velmora/reading/file_pieces.h"
#include "velmora/reading/reading.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// Hands what the reader finds in one source to the visitor, and failures to those who tell them.
class SourceSink final : public TypedCertificateSink {
 public:
  SourceSink(std::string_view source, const Visit& visit, Takes takes, Failures& failures,
             Console& console)
      : m_source(source),
        m_visit(visit),
        m_takes(takes),
        m_failures(failures),
        m_console(console) {}

  // A certificate for which memory runs out leaves no half of its record behind.
  void typedCertificate(const CertificatePlace& place, Bytes octets, const Certificate& certificate,
                        std::optional<uint32_t> berAt) override {
    m_failures.certificate();
    visit({{m_source, place.index}, octetsOf(octets), certificate, berAt}, place);
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    const auto shell = m_takes == Takes::kKeys ? certificateAround(failure) : std::nullopt;
    if (!shell) return m_failures.add(place, failure);
    const bool isRequest = failure.found == Found::request;
    visit({{m_source, place.index, isRequest ? "request" : "public key"},
           octetsOf(shell->der()),
           *shell,
           std::nullopt},
          place);
  }

 private:
  void visit(const InputCertificate& input, const CertificatePlace& place) {
    const size_t start = m_console.out().getSize();
    try {
      m_visit(input);
      whole(m_console.out());
      m_failures.endRun();
      m_console.endRecord();
    } catch (const Untreated& untreated) {
      m_failures.add(place, {untreated.reason, untreated.offset, 0, ErrorCode::malformedField});
    } catch (const std::bad_alloc&) {
      m_console.takeBack(start);
      m_failures.add(place, {kMemoryRanOut});
    }
  }

  std::string_view m_source;
  const Visit& m_visit;
  Takes m_takes;
  Failures& m_failures;
  Console& m_console;
};

int readSource(std::string_view source, const TakePiece& take) {
  return source == "-" ? readPieces(STDIN_FILENO, take) : readPieces(std::string(source), take);
}

}  // namespace

void visitCertificates(const std::vector<std::string_view>& sources, Console& console,
                       const Visit& visit, const VisitFailure& visitFailure, Takes takes) {
  for (const std::string_view source : sources) {
    Failures failures(source, visitFailure, console);
    SourceSink sink(source, visit, takes, failures, console);
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
    failures.end();
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

void visitFiles(const Arguments& arguments, Console& console, const Visit& visit, Takes takes) {
  visitCertificates(arguments.files(), console, visit, failuresAsJson(arguments, console), takes);
}

Visit loaded(VisitLoaded visit) {
  const auto object = std::make_shared<RefOwner<VelmoraX509>>(VelmoraX509::createOwnedX509());
  return [object, visit = std::move(visit)](const InputCertificate& input) {
    loadInto(object->get(), input.der);
    visit(**object, input);
  };
}

void visitLoaded(const Arguments& arguments, Console& console, const VisitLoaded& visit,
                 Takes takes) {
  visitFiles(arguments, console, loaded(visit), takes);
}

GivenCrls readCrls(const std::vector<std::string_view>& sources, Console& console) {
  GivenCrls given;
  const VisitFailure note = [&](const InputPlace&, std::string_view) { given.areAll = false; };
  for (const std::string_view source : sources) {
    Failures failures(source, note, console);
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
    given.crls.insert(given.crls.end(), reading.crls.begin(), reading.crls.end());
    for (const CrlFailure& each : reading.failures) {
      const bool isText = each.error.code == ErrorCode::malformedText || each.error.isAbsent();
      const auto offset = isText ? std::nullopt : std::optional<size_t>(each.error.offset);
      failures.add({each.index, {}, each.line},
                   {each.reason, offset, each.faultLine, each.error.code});
    }
    failures.end();
  }
  return given;
}

void loadInto(VelmoraX509* object, std::span<const unsigned char> der) {
  LogNull log;
  if (object == nullptr) throw std::bad_alloc();
  const auto size = static_cast<unsigned int>(der.size());
  if (object->loadX509DerAlt(der.data(), size, nullptr, log)) return;
  throw Untreated("A certificate that cannot be loaded.");
}

}  // namespace velmora::tool
