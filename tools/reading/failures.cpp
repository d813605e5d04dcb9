#include "tools/reading/failures.h"

#include <cerrno>
#include <cstring>

namespace velmora::tool {

namespace {

// Beyond so many that are no certificates none is expected any more.
constexpr size_t kMostBeside = 1000;

// Whether it belongs beside certificates, as in the files of servers.
bool standsBeside(const CertificatePlace& place, const CertificateFailure& failure) {
  if (failure.code != ErrorCode::notACertificate) return false;
  switch (failure.found) {
    case Found::privateKey:
    case Found::encryptedPrivateKey:
    case Found::publicKey:
    case Found::request:
    case Found::crl:
      return true;
    default:
      return place.label.ends_with(" PARAMETERS");  // of a key
  }
}

// What to do next about what is not known by a code.
struct Advice {
  std::string_view reason;  // the start of the sentence
  std::string_view text;
};
constexpr Advice kAdvice[] = {
    {"No certificate:", "; for base64 of one certificate a line there is --lines"},
    {"The PEM block has no END", "; the input may be cut short"},
    {"UTF-16 without", "; save it with one, or as UTF-8"},
};

// What to do next, behind the reason.
std::string_view adviceFor(const CertificateFailure& failure) {
  if (failure.line != 0) return "; mend or remove the line";
  if (failure.code == ErrorCode::notAsn1 && failure.offset) {
    return "; the input may be cut short or damaged there";
  }
  if (failure.code != ErrorCode::notACertificate) {
    for (const Advice& each : kAdvice) {
      if (failure.reason.starts_with(each.reason)) return each.text;
    }
    return "";
  }
  switch (failure.found) {
    case Found::privateKey:
    case Found::encryptedPrivateKey:
      return "; give the certificate that goes with it";
    case Found::publicKey:
    case Found::request:
      return "; key, pin and match take it";
    case Found::crl:
      return "; verify takes it behind --crl";
    case Found::pkcs12:
      return "; openssl pkcs12 -nokeys takes the certificates out of it";
    default:
      return "";
  }
}

}  // namespace

void Failures::add(const CertificatePlace& place, const CertificateFailure& failure) {
  if (m_visit) m_visit({m_source, place.index}, reasonAndPlace(failure, true).view());
  if (m_besideIsFault || !standsBeside(place, failure)) return tell(place, failure);
  if (m_besideCount++ != 0 && m_hasCertificate) return;
  m_beside.emplace_back(place, failure);
  if (m_hasCertificate || m_beside.size() < kMostBeside) return;
  m_besideIsFault = true;
  tellBeside();
}

void Failures::certificate() {
  m_hasCertificate = true;
  if (m_beside.size() > 1) m_beside.erase(m_beside.begin() + 1, m_beside.end());
}

void Failures::addSystemError(size_t index, int error) {
  endRun();
  const char* reason = std::strerror(error);
  if (m_visit) m_visit({m_source, index}, reason);
  const std::string advice = error == EISDIR ? "; give the files in it" : "";
  m_console.complain(sourceForPeople(m_source), reason + advice);
}

void Failures::end() {
  endRun();
  if (!m_hasCertificate) return tellBeside();
  if (m_beside.empty()) return;
  const Held& first = m_beside.front();
  StringBuffer more;
  if (m_besideCount > 1) print(more, ", and ", m_besideCount - 1, " more");
  m_console.error(Safe{sourceForPeople(m_source)}, ": passed over beside the certificates",
                  lineOf(first.place(), first.failure(), ""), more);
}

// There is no certificate that they stand beside.
void Failures::tellBeside() {
  for (const Held& each : m_beside) tell(each.place(), each.failure());
  m_beside.clear();
  endRun();
}

void Failures::tell(const CertificatePlace& place, const CertificateFailure& failure) {
  if (!m_going || failure.reason != m_reason || place.label != m_label) {
    endRun();
    m_going = true;
    m_reason = failure.reason;
    m_label = place.label;
    return complain(lineOf(place, failure, adviceFor(failure)));
  }
  m_last = {place.index, {}, place.line};
  if (m_count++ != 0) return;
  m_first = m_last;
  m_second = lineOf(place, failure, "");
}

void Failures::endRun() {
  if (m_count == 1) complain(m_second);
  if (m_count > 1) complain(lineOfRun());
  m_going = false;
  m_count = 0;
}

StringBuffer Failures::lineOf(const CertificatePlace& place, const CertificateFailure& failure,
                              std::string_view advice) const {
  StringBuffer line;
  print(line, ": block ", place.index + 1);
  if (!place.label.empty() && place.line != 0) {
    print(line, " (\"", Safe{place.label}, "\", line ", place.line, ')');
  } else if (place.line != 0) {
    print(line, " (line ", place.line, ')');
  }
  const bool isElsewhere = failure.line != place.line;
  print(line, ": ", Safe{reasonAndPlace(failure, isElsewhere).view()}, advice);
  return line;
}

// ": blocks 2 to 9 (lines 4 to 40): the reason"
StringBuffer Failures::lineOfRun() const {
  StringBuffer line;
  print(line, ": blocks ", m_first.index + 1, " to ", m_last.index + 1);
  if (m_first.line != 0) print(line, " (lines ", m_first.line, " to ", m_last.line, ')');
  print(line, ": ", Safe{reasonAndPlace({m_reason}, false).view()});
  return line;
}

// `what` is safe to print.
void Failures::complain(const StringBuffer& what) {
  m_console.error(Safe{sourceForPeople(m_source)}, what);
  m_console.raise(ExitStatus::kUnreadable);
}

}  // namespace velmora::tool
