#pragma once

// What all commands read: certificates of the files on the command line, one after the other, and
// one voice for what cannot be read.

#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "tools/reading/place.h"
#include "tools/terminal/console.h"
#include "tools/terminal/options.h"
#include "velmora/certificate/certificate.h"
#include "velmora/path/crl.h"
#include "velmora/reading/certificate_reader.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

/// Why a certificate could not be treated: thrown by whoever is handed it.
struct Untreated {
  explicit Untreated(const char* sentence) noexcept : reason(sentence) {}
  explicit Untreated(const Error& error) noexcept : reason(error.message()), offset(error.offset) {}
  std::string_view reason;            // a sentence that lives as long as whoever catches this
  std::optional<size_t> offset = {};  // of the octet at fault in the DER
};

/// Does a command's work on one certificate. May throw Untreated, and std::bad_alloc: what was put
/// out since the last flush is then taken back.
using Visit = std::function<void(const InputCertificate& input)>;
/// Is told what could not be read, and why, beside the line on standard error that it has anyway.
using VisitFailure = std::function<void(const InputPlace& place, std::string_view reason)>;

/// Makes one that answers there, for a thread of its own.
using MakeVisit = std::function<Visit(Answers& answers)>;

/// What a command takes: certificates alone, or public keys and requests too, each as a certificate
/// around its key (reading/key_shell.h) of another kind.
enum class Takes { kCertificates, kKeys };

/// Reads every source in turn and hands each certificate to `visit`. What cannot be read or is no
/// certificate gets a line on standard error (blocks in a row with the same fault share one, behind
/// the first), goes to `visitFailure`, if there is one, raises the exit status to kUnreadable and
/// stops nothing. Keys, requests and CRLs in a source that has certificates too share one line and
/// raise nothing. Stops early only when standard output cannot be written to.
void visitCertificates(const std::vector<std::string_view>& sources, Console& console,
                       const Visit& visit, const VisitFailure& visitFailure = {},
                       Takes takes = Takes::kCertificates);

/// With the option "--json", what writes an object {source, index, error}; else nothing.
VisitFailure failuresAsJson(const Arguments& arguments, Console& console);

/// Visits the files of a command, failures as JSON where that is asked for.
void visitFiles(const Arguments& arguments, Console& console, const Visit& visit,
                Takes takes = Takes::kCertificates);

/// Loads the certificate into an object, which may have held another one. Throws Untreated for one
/// that does not load, and std::bad_alloc where there is no object because memory ran out.
void loadInto(VelmoraX509* object, std::span<const unsigned char> der);

/// What gives each certificate as an object, by `visit(certificate, input)`. Not for two threads.
using VisitLoaded = std::function<void(VelmoraX509&, const InputCertificate&)>;
Visit loaded(VisitLoaded visit);

/// As visitFiles, with `visit(certificate, input)`, which gets each as an object.
void visitLoaded(const Arguments& arguments, Console& console, const VisitLoaded& visit,
                 Takes takes = Takes::kCertificates);

/// The CRLs of some sources.
struct GivenCrls {
  std::vector<Crl> crls;
  bool areAll = true;  // there was nothing that could not be read
};
/// Whatever is none is told as of certificates.
GivenCrls readCrls(const std::vector<std::string_view>& sources, Console& console);

}  // namespace velmora::tool
