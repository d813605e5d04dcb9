#pragma once

// What the page has been given, and what it asks about it. The page has one session, on one thread.

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/reading/place.h"
#include "velmora/path/verify.h"
#include "velmora/reading/reading.h"

namespace velmora::viewer {

/// A question about whether a certificate may be trusted, as the page asks it.
struct TrustQuestion {
  Purpose purpose = Purpose::any;
  Profile profile = Profile::basic;
  std::string_view target;                     // a host or an e-mail address; empty: not judged
  std::optional<std::chrono::sys_seconds> at;  // now where none is given
};

/// Reads inputs and keeps their certificates, each known by its row from 0 on. Every answer is
/// appended to `out` as lines of JSON or as what the command line prints. What is asked about a row
/// that is not there has no answer. Whatever is out of memory ends the program, which the page then
/// starts anew.
class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Starts an input, of which the name is what the page calls it. One is read at a time.
  void begin(std::string_view name);
  /// Takes its next piece, and appends a line for each certificate in it: {row, source, index,
  /// title, issuer, notBefore, notAfter, ca, selfIssued, ber}, where titles are short names for
  /// people and `ber` is whether it came in BER, on which no decision may rest; and for what is
  /// none: {source, index, error, found, line}. Beyond 100 of these an input's are counted only.
  void feed(std::span<const unsigned char> piece, StringBuffer& out);
  /// Takes its end, with lines as above and a last one, {source, items, passedOver}: how many items
  /// it held, and how many of them were only counted.
  void finish(StringBuffer& out);

  /// Three lines: what "show --json" and "lint --json" say, and {signatureAlgorithm, keyAlgorithm,
  /// extensions, octets}: words, safe to show, empty for an OID that cannot be read, and how many
  /// octets it has.
  void show(size_t row, StringBuffer& out) const;
  /// The octets as they came.
  void octets(size_t row, StringBuffer& out) const;
  /// Its elements (element_tree.h).
  void elements(size_t row, StringBuffer& out) const;
  /// All of the value of one of them, by its offset, of which elements() gives the start.
  void value(size_t row, size_t offset, StringBuffer& out) const;
  void pem(size_t row, StringBuffer& out) const;
  void summary(size_t row, StringBuffer& out) const;
  /// A list of {field, before, after}, as "diff" tells them; safe to show.
  void differences(size_t before, size_t after, StringBuffer& out) const;

  /// Whether a certificate is trusted as it is, and others on its account. None is at first.
  void trust(size_t row, bool isTrusted);
  /// What "verify --json" says, with all that was read as certificates that may stand between; or
  /// {refused}, a sentence, when the target is none.
  void verify(size_t row, const TrustQuestion& question, StringBuffer& out);

 private:
  class Sink;
  struct Item {
    const std::string* source;
    size_t index;
    Certificate certificate;
    Octets original;  // of what came in BER
    std::optional<uint32_t> berAt;
    bool isTrusted = false;

    tool::InputCertificate input() const;
  };

  const Item* at(size_t row) const { return row < m_items.size() ? &m_items[row] : nullptr; }
  void index();

  std::deque<std::string> m_sources;
  std::deque<Item> m_items;
  std::unique_ptr<Sink> m_sink;
  std::unique_ptr<CertificateReader> m_reader;

  // What verifications share, until something is read or trusted.
  bool m_isIndexed = false;
  std::map<Certificate, tool::InputPlace> m_places;
  std::optional<TrustAnchors> m_anchors;
  std::optional<CertificateSet> m_others;
};

}  // namespace velmora::viewer
