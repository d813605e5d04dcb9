#pragma once

// One voice for what of a source cannot be read.

#include <string>
#include <string_view>
#include <vector>

#include "tools/reading/input.h"

namespace velmora::tool {

/// Tells what of one source cannot be read. Blocks in a row that fail for the same reason have one
/// line for the first and share another: of a file that is something else altogether there may be
/// millions. Keys, requests and CRLs are no fault in a source that has certificates, which is only
/// known later: they are held back until then.
class Failures {
 public:
  /// What it is given outlives it.
  Failures(std::string_view source, const VisitFailure& visitFailure, Console& console)
      : m_source(source), m_visit(visitFailure), m_console(console) {}

  void add(const CertificatePlace& place, const CertificateFailure& failure);

  /// There is a certificate.
  void certificate();

  /// The source as a whole could not be read on.
  void addSystemError(size_t index, int error);

  /// Writes what is held back while blocks fail for the same reason.
  void endRun();

  /// The source is at its end.
  void end();

 private:
  // A failure whose texts outlive the call that brought it.
  struct Held {
    Held(const CertificatePlace& at, const CertificateFailure& why)
        : label(at.label), reason(why.reason), index(at.index), line(at.line), cause(why) {}

    CertificatePlace place() const { return {index, label, line}; }
    CertificateFailure failure() const {
      CertificateFailure whole = cause;
      whole.reason = reason;
      whole.octets = {};  // were those of the call
      return whole;
    }

    std::string label;
    std::string reason;
    size_t index;
    size_t line;
    CertificateFailure cause;
  };

  void tell(const CertificatePlace& place, const CertificateFailure& failure);
  void tellBeside();
  StringBuffer lineOf(const CertificatePlace& place, const CertificateFailure& failure,
                      std::string_view advice) const;
  StringBuffer lineOfRun() const;
  void complain(const StringBuffer& what);

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

  bool m_hasCertificate = false;
  bool m_besideIsFault = false;
  std::vector<Held> m_beside;  // as long as no certificate was found; behind that the first
  size_t m_besideCount = 0;
};

}  // namespace velmora::tool
