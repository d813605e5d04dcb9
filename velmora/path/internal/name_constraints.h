#pragma once

// Names held against name constraints (RFC 5280 §4.2.1.10).

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/path/finding.h"
#include "velmora/path/internal/name_doubt.h"

namespace velmora {

/// The forms of general names by their tags, which constraints bind one by one (RFC 5280
/// §4.2.1.10).
enum class NameForm : uint8_t {
  other,
  email,
  dns,
  x400Address,
  directory,
  ediParty,
  uri,
  ip,
  registeredId,
  unknown,  // what has the tag of no general name
};
inline constexpr size_t kNameForms = 10;

/// One name as constraints judge it.
struct JudgedName {
  GeneralName name;         // as it stands in the certificate
  bool isReadable = true;   // false: it can be within nothing
  bool isWildcard = false;  // of DNS: the key is that of what stands behind "*."
  std::string key = {};     // of DNS, of a host or a domain: dnsKey(); of addresses: addressKey();
                            // Name::folded()
  std::string localPart = {};
  DoubtfulName doubtful = {};
};

/// The names that a certificate speaks for, in the forms that constraints are about, made ready for
/// comparison: the subject's distinguished name, its emailAddress attributes, and the subject
/// alternative names. SmtpUTF8Mailbox (RFC 9598) is among the e-mail addresses, and among the
/// otherNames as well. The common name is no host. Made once for each certificate.
class JudgedNames {
 public:
  /// Throws std::bad_alloc.
  explicit JudgedNames(const Certificate& certificate);

  const std::vector<JudgedName>& of(NameForm form) const noexcept {
    return m_forms[static_cast<size_t>(form)];
  }
  /// False where the alternative names cannot be read; nothing is permitted then.
  bool areReadable() const noexcept { return m_areReadable; }

 private:
  void add(NameForm form, JudgedName name) {
    m_forms[static_cast<size_t>(form)].push_back(std::move(name));
  }
  void addSubject(const Name& subject);
  void addAlternative(const GeneralName& name);

  std::array<std::vector<JudgedName>, kNameForms> m_forms;
  bool m_areReadable = true;
};

/// The constraints of one CA or anchor, sorted so that a name is held against n of them in log n
/// comparisons.
///
/// Where RFC 5280 §4.2.1.10 leaves room: an empty DNS or e-mail constraint is everything. A DNS
/// constraint with a leading dot, which the RFC does not have, is the subdomains alone where it
/// permits, and the name with them where it excludes; those of e-mail and URI are the RFC's. A name
/// or a constraint that cannot be read, and forms of which nothing is known here, refuse every name
/// of the form. Host bits behind a mask do not count.
class PreparedConstraints {
 public:
  /// Throws std::bad_alloc.
  explicit PreparedConstraints(const NameConstraints& constraints);
  ~PreparedConstraints();
  PreparedConstraints(PreparedConstraints&&) noexcept;
  PreparedConstraints& operator=(PreparedConstraints&&) noexcept;

  /// Holds all names against them. Appends a finding (certificate and severity left as they are by
  /// default) for the first name of each form that is not permitted, excluded or cannot be judged.
  /// `comparisons` is what may still be spent, and is counted down; false when it does not do,
  /// and then nothing is said. Throws std::bad_alloc.
  bool judge(const JudgedNames& names, uint32_t& comparisons, std::vector<Finding>& findings) const;

 private:
  struct Forms;
  std::unique_ptr<Forms> m_forms;
};

}  // namespace velmora
