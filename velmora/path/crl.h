#pragma once

// Certificate revocation lists (RFC 5280 §5): what they list, and sets of them.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/issuer_key.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// Why a certificate was revoked (RFC 5280 §5.3.1); the numbers are those of CRLReason.
enum class CrlReason : uint8_t {
  unspecified = 0,
  keyCompromise = 1,
  caCompromise = 2,
  affiliationChanged = 3,
  superseded = 4,
  cessationOfOperation = 5,
  certificateHold = 6,
  removeFromCrl = 8,
  privilegeWithdrawn = 9,
  aaCompromise = 10,
};

/// An entry of a CRL (§5.1.2.6).
struct RevokedCertificate {
  std::chrono::sys_seconds at;           // revocationDate
  std::optional<CrlReason> reason = {};  // none where the entry gives none
  bool isReadable = true;  // false: a date, reason or critical extension is not understood
};

/// One full CRL in DER (RFC 5280 §5): a counted pointer to its octets and an index of its serial
/// numbers. Never changes; any thread may ask. `Bytes` live as long as any copy of it.
class VELMORA_API Crl {
 public:
  /// Copies one CRL in DER, outside and inside, of version 1 or 2. Linear in its size but for the
  /// sorting of its serial numbers, with eight octets beside it for an entry. What dates, names and
  /// extensions say is no reason to refuse it. Errors notAsn1, notDer, trailingOctets, tooLarge and
  /// outOfMemory as of Certificate::parse, and malformedField with the offset of what is not of its
  /// field's type (§5.1).
  static Result<Crl> parse(Bytes der) noexcept;

  /// Whose CRL it is.
  Name issuer() const noexcept;
  /// Error malformedDate, also for a date that is not in DER: decisions rest on it.
  Result<std::chrono::sys_seconds> thisUpdate() const noexcept;
  /// Errors absent, malformedDate.
  Result<std::chrono::sys_seconds> nextUpdate() const noexcept;
  /// How many entries it has.
  size_t size() const noexcept;

  /// The entry with the content octets of a serial number: logarithmic in size(). It is the number
  /// that counts, so that octets which only repeat the sign make no other one. Of several entries
  /// with one number the first that does not remove it from the list. Error absent.
  Result<RevokedCertificate> find(Bytes serial) const noexcept;

  /// Which certificates it is about. Errors absent, malformedExtension with the offset in the
  /// extension's value. Throws std::bad_alloc.
  Result<IssuingDistributionPoint> issuingDistributionPoint() const;
  /// The value of that extension; empty where there is none.
  Bytes scope() const& noexcept;
  Bytes scope() const&& = delete;

  /// Whether it may say "good": no delta (§5.2.4), not indirect, no critical extension but the
  /// issuing distribution point, which can be read; extensions in version 2 alone, and in a list
  /// that is one; every entry readable and none removed. What it lists is revoked all the same.
  bool mayVouch() const noexcept;

  /// What its signature rests on, for IssuerKey::check.
  SignedParts signedParts() const& noexcept;
  SignedParts signedParts() const&& = delete;

  /// All of it as it was given; it lives as long as any copy.
  Bytes der() const& noexcept;
  Bytes der() const&& = delete;

  friend VELMORA_API bool operator==(const Crl& a, const Crl& b) noexcept;

 private:
  explicit Crl(std::shared_ptr<const struct CrlData> data) noexcept : m_data(std::move(data)) {}
  std::shared_ptr<const struct CrlData> m_data;
};

/// Something in an input that is no CRL, or could not be read.
struct CrlFailure {
  size_t index = 0;              // of the item in the input, from 0; CRLs count too
  size_t line = 0;               // of the BEGIN line, from 1; 0 where there is none
  size_t faultLine = 0;          // at fault in PEM, likewise
  Error error = {};              // its offset is that in the DER of the input, or of the block
  std::string_view reason = {};  // a constant sentence for people
};

/// What an input of CRLs holds.
struct CrlReading {
  std::vector<Crl> crls;             // in the input's order
  std::vector<CrlFailure> failures;  // likewise

  /// Whether the input held CRLs, and nothing that may have been meant for one.
  bool complete() const noexcept { return failures.empty(); }
};

/// CRLs, found by their issuer's name. A value that copies cheaply and never changes; any thread
/// may ask. Nothing in it is believed before a signature on it holds. Of one that was moved from
/// nothing may be asked.
class VELMORA_API CrlSet {
 public:
  /// Throws std::bad_alloc.
  CrlSet();
  /// Throws std::bad_alloc.
  explicit CrlSet(std::span<const Crl> crls);

  /// Reads all CRLs of an input: DER in a row, or PEM blocks labelled "X509 CRL" (RFC 7468 §6),
  /// with any text and blocks of other labels between them. What is none stops nothing and is a
  /// failure: with the error of Crl::parse; with malformedText where a block or marker is none,
  /// since nobody knows what it hides; with absent where the input holds neither a CRL nor anything
  /// of that. Linear in the input. Throws std::bad_alloc.
  static CrlReading read(Bytes derOrPem);

  /// How many CRLs there are.
  size_t size() const noexcept;

 private:
  friend class PathBuilder;
  std::shared_ptr<const class CrlIndex> m_index;
};

}  // namespace velmora
