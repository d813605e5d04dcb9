#include "velmora/reading/trusted_root_loading.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "velmora/reading/certificate_reader.h"
#include "velmora/reading/file_pieces.h"
#include "velmora/reading/root_files.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/log/first_error_log.h"
#include "velmora/x509/trusted_root_registration.h"

namespace velmora {
namespace {

// Where operating systems keep their roots as one file of PEM blocks.
constexpr const char* kUsualPlaces[] = {
    "/etc/ssl/certs/ca-certificates.crt",                 // Debian, Arch and what comes from them
    "/etc/pki/tls/certs/ca-bundle.crt",                   // Fedora, RHEL
    "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem",  // likewise
    "/etc/ssl/ca-bundle.pem",                             // SUSE
    "/etc/ssl/cert.pem",                                  // Alpine, macOS, OpenBSD
    "/usr/local/share/certs/ca-root-nss.crt",             // FreeBSD
};

// Registers what is found in one file after the other.
class RootSink final : public CertificateSink {
 public:
  RootSink(const char* set, LogBase& log) : m_set(set), m_log(log) {}

  const TrustedRootCount& count() const { return m_count; }
  void startFile(std::string_view path) { m_file = path; }

  void certificate(const CertificatePlace& place, std::span<const unsigned char> der,
                   const Result<Certificate>&) override {
    FirstErrorLog reason;
    const auto size = static_cast<unsigned>(der.size());
    const bool loaded = m_root.loadX509DerAlt(der.data(), size, nullptr, reason);
    if (loaded && addTrustedRoot(m_root, m_set, reason)) {
      ++m_count.registered;
      return;
    }
    failure(place, {reason.error(), std::nullopt});
    if (loaded) logSubject();
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    refuseFile(failure.reason);
    m_log.LogDataLong("index", static_cast<int64_t>(place.index));
    if (!place.label.empty()) m_log.LogData("label", place.label);
    if (place.line != 0) m_log.LogDataLong("line", static_cast<int64_t>(place.line));
    if (failure.line != 0) m_log.LogDataLong("faultLine", static_cast<int64_t>(failure.line));
    if (failure.offset) m_log.LogDataLong("offset", static_cast<int64_t>(*failure.offset));
  }

  void refuseFile(std::string_view reason) {
    ++m_count.refused;
    const StringBuffer text(reason);
    m_log.LogError(text.getString());
    m_log.LogData("file", m_file);
  }

 private:
  void logSubject() {
    XString subject;
    LogNull quiet;
    m_root.getDN(true, true, subject, quiet, 0);
    m_log.LogDataX("subject", subject);
  }

  const char* m_set;
  LogBase& m_log;
  VelmoraX509 m_root;  // one after the other
  std::string_view m_file;
  TrustedRootCount m_count;
};

void readFile(const std::string& path, RootSink& sink) {
  sink.startFile(path);
  CertificateReader reader(sink);
  const int error = readPieces(path, [&](auto piece) { return reader.feed(piece); });
  if (error != 0) {
    return sink.refuseFile(std::generic_category().message(error));
  }
  reader.finish();
}

void readFileOrDirectory(const std::string& path, RootSink& sink) {
  std::vector<std::string> files;
  if (const std::error_code error = listRootFiles(path, files)) {
    sink.startFile(path);
    sink.refuseFile(error.message());
  }
  for (const std::string& file : files) readFile(file, sink);
}

// As the program that runs, whoever started it.
bool mayRead(const char* path) {
#if defined(_WIN32)
  return ::access(path, R_OK) == 0;
#else
  return ::faccessat(AT_FDCWD, path, R_OK, AT_EACCESS) == 0;
#endif
}

}  // namespace

TrustedRootCount addTrustedRootsFrom(const char* path, const char* set, LogBase& log) {
  LogContextExitor context(log, "addTrustedRoots");
  RootSink sink(set, log);
  const char* const given = path != nullptr ? path : "";
  try {
    readFileOrDirectory(given, sink);
  } catch (const std::bad_alloc&) {
    sink.startFile(given);
    sink.refuseFile(kOutOfMemory);
  }
  return sink.count();
}

const char* systemTrustedRootsPath() {
  const char* chosen = std::getenv("SSL_CERT_FILE");
  if (chosen != nullptr && *chosen != '\0') return chosen;
  for (const char* place : kUsualPlaces) {
    if (mayRead(place)) return place;
  }
  return nullptr;
}

TrustedRootCount addSystemTrustedRoots(const char* set, LogBase& log) {
  if (const char* path = systemTrustedRootsPath()) return addTrustedRootsFrom(path, set, log);
  log.LogError("The operating system keeps no trusted roots where they usually are.");
  return {};
}

}  // namespace velmora
