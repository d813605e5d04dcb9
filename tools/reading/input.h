#pragma once

// What all commands read: certificates of the files on the command line, one after the other, and
// one voice for what cannot be read.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/terminal/console.h"
#include "tools/terminal/options.h"
#include "velmora/certificate/certificate.h"
#include "velmora/reading/certificate_reader.h"
#include "velmora/support/log/log_base.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

/// Where in the input something stands.
struct InputPlace {
  std::string_view source;  // as the user named it; "-" is standard input
  size_t index = 0;         // from 0 within the source; what could not be read counts too
};

/// One certificate of the input.
struct InputCertificate : InputPlace {
  std::span<const unsigned char> der;  // the octets as they came, which may be BER
  const Certificate& certificate;      // of BER that of the DER made of it
  std::optional<uint32_t> berAt;       // the first octet that is no DER; none when all of it is
};

/// Does a command's work on one certificate after the other.
class CertificateVisitor {
 public:
  virtual ~CertificateVisitor() = default;

  /// Gives null, or a constant text that says why the certificate could not be treated. May throw
  /// std::bad_alloc: what the certificate has put out since the last flush is then taken back.
  virtual const char* visit(const InputCertificate& input) = 0;
};

/// Reads every source in turn and hands each certificate to `visitor`. What cannot be read or is no
/// certificate gets a line on standard error (blocks in a row with the same fault share one, behind
/// the first) and, with `errorsAsJson`, an object {source, index, error} on standard output, raises
/// the exit status to kUnreadable and stops nothing. Stops early only when standard output cannot
/// be written to.
void visitCertificates(const std::vector<std::string_view>& sources, bool errorsAsJson,
                       CertificateVisitor& visitor, Console& console);

/// Reads all of a source. Null, or why it could not be read.
const char* readSource(std::string_view source, std::string& content);

/// The same for the files of a command, of which `visit(input)` gives what CertificateVisitor does;
/// errors come as JSON where the command got the option "--json". True, for a command to end with.
template <class Visit>
bool visitFiles(const Arguments& arguments, Console& console, Visit visit) {
  struct Visitor final : CertificateVisitor {
    explicit Visitor(Visit& each) : m_each(each) {}
    const char* visit(const InputCertificate& input) override { return m_each(input); }
    Visit& m_each;
  } visitor(visit);
  visitCertificates(arguments.files(), arguments.has("--json"), visitor, console);
  return true;
}

/// A certificate object that is loaded again and again.
class LoadedCertificate {
 public:
  LoadedCertificate();

  /// Null, or why the certificate does not load.
  const char* load(std::span<const unsigned char> der);
  VelmoraX509& get() noexcept { return *m_certificate; }

 private:
  RefOwner<VelmoraX509> m_certificate;
};

/// As visitFiles, with `visit(certificate, input)`, which gets each as an object.
template <class Visit>
bool visitLoaded(const Arguments& arguments, Console& console, Visit visit) {
  LoadedCertificate loaded;
  return visitFiles(arguments, console, [&](const InputCertificate& input) {
    const char* const reason = loaded.load(input.der);
    return reason != nullptr ? reason : visit(loaded.get(), input);
  });
}

/// Appends where a certificate stands, for people: "FILE: certificate 2".
void appendPlace(const InputPlace& input, StringBuffer& out);

/// Appends the library's sentence as a part of a line: without its full stop and, unless it starts
/// with an abbreviation, its capital letter.
void appendReason(std::string_view sentence, StringBuffer& out);

/// How people name a source.
std::string_view sourceForPeople(std::string_view source);

}  // namespace velmora::tool
