#pragma once

// What every question of the typed face is answered with: a value, or why there is none and where.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "velmora/support/core/export.h"

namespace velmora {

enum class ErrorCode : uint8_t {
  absent,              // not there: an answer, which is never given for what is there and malformed
  outOfMemory,         // says nothing about the input
  notAsn1,             // no element, or one whose length does not work out
  notDer,              // a length, identifier or type in a form that DER does not have
  trailingOctets,      // something follows the element
  notACertificate,     // ASN.1 of another shape; `found` says of which
  malformedField,      // not of the field's type, such as a version that is no INTEGER
  malformedName,       // not RDNs of one attribute or more
  malformedDate,       // not the text of a UTCTime or GeneralizedTime, or no day that exists
  malformedKey,        // not of the shape that its algorithm has
  malformedExtension,  // the value is not what the extension's syntax says, or the list is broken
  repeatedExtension,   // more than one has this OID (RFC 5280 §4.2 allows one)
  malformedText,       // not characters of its type, or a text that was given makes no sense
  unknownAlgorithm,    // not one of those that this library knows
  tooLarge,            // beyond a limit, which the operation names
  cannotOpenFile,      // the file does not exist or may not be read
  notAHost,            // a text that is no host name, address or e-mail address
  hostNotAscii,        // one with letters that have to be written in ASCII ("xn--...")
};

/// What octets turned out to be that are no certificate.
enum class Found : uint8_t {
  certificate,          // RFC 5280 §4.1
  pkcs7,                // PKCS #7 SignedData: RFC 2315 §9.1, RFC 5652 §5
  privateKey,           // PKCS #8, PKCS #1, SEC 1 (RFC 5915), DSA
  encryptedPrivateKey,  // PKCS #8 EncryptedPrivateKeyInfo, RFC 5958 §3
  request,              // PKCS #10, RFC 2986
  crl,                  // RFC 5280 §5.1
  publicKey,            // SubjectPublicKeyInfo, PKCS #1 RSAPublicKey
  pkcs12,               // RFC 7292
  ocspResponse,         // RFC 6960 §4.2.1
  otherAsn1,
  notAsn1,
};

/// Why there is no value. Eight bytes, nothing allocated.
struct VELMORA_API Error {
  ErrorCode code = ErrorCode::absent;  // what is wrong
  Found found = Found::certificate;    // with notACertificate: what it is instead
  uint32_t offset = 0;  // of the octet at fault, from the start of the input; 0 where there is none

  /// An error about the octet at `offset`, which is taken modulo 2^32.
  static constexpr Error at(ErrorCode code, size_t offset) noexcept {
    return {code, Found::certificate, static_cast<uint32_t>(offset)};
  }

  /// Whether what was asked for is simply not there.
  constexpr bool isAbsent() const noexcept { return code == ErrorCode::absent; }

  /// A constant sentence for people, such as "A private key, not a certificate.". It lives as long
  /// as the program.
  std::string_view message() const noexcept;

  friend constexpr bool operator==(const Error&, const Error&) noexcept = default;
};

/// A value or the Error in its place, with the names of std::expected. It is one class whatever the
/// language mode, so that objects compiled as C++20 and as later link. Nothing here throws but the
/// copies and functions that a caller brings; to take the value where there is none, with * or ->,
/// is as undefined as with std::expected, and there is no value() because it would have to throw.
template <class T>
class [[nodiscard]] Result {
 public:
  /// As std::expected has it.
  using value_type = T;
  /// As std::expected has it.
  using error_type = Error;

  /// With a value.
  constexpr Result(T value) noexcept(std::is_nothrow_move_constructible_v<T>)
      : m_state(std::in_place_index<0>, std::move(value)) {}
  /// Without one, and why.
  constexpr Result(Error error) noexcept : m_state(std::in_place_index<1>, error) {}

  /// Whether there is a value.
  constexpr bool has_value() const noexcept { return m_state.index() == 0; }
  /// The same, for conditions.
  constexpr explicit operator bool() const noexcept { return has_value(); }

  /// The value. Undefined where there is none.
  constexpr const T& operator*() const& noexcept { return *std::get_if<0>(&m_state); }
  constexpr T& operator*() & noexcept { return *std::get_if<0>(&m_state); }
  /// By value, so that what `for (auto& name : *certificate.subjectAltNames())` walks over lives.
  constexpr T operator*() && noexcept(std::is_nothrow_move_constructible_v<T>) {
    return std::move(*std::get_if<0>(&m_state));
  }
  /// The value's members. Undefined where there is none.
  constexpr const T* operator->() const noexcept { return std::get_if<0>(&m_state); }
  constexpr T* operator->() noexcept { return std::get_if<0>(&m_state); }

  /// Why there is no value. Undefined where there is one.
  constexpr const Error& error() const noexcept { return *std::get_if<1>(&m_state); }

  /// The value, or `other` in its place.
  template <class U = T>
  constexpr T value_or(U&& other) const& {
    return has_value() ? **this : static_cast<T>(std::forward<U>(other));
  }
  /// The same; the value is moved out.
  template <class U = T>
  constexpr T value_or(U&& other) && {
    return has_value() ? std::move(**this) : static_cast<T>(std::forward<U>(other));
  }

  /// What `next`, which gives a Result, makes of the value; or the error.
  template <class F>
  constexpr auto and_then(
      F&& next) const& -> std::remove_cvref_t<std::invoke_result_t<F, const T&>> {
    if (!has_value()) return error();
    return std::invoke(std::forward<F>(next), **this);
  }
  template <class F>
  constexpr auto and_then(F&& next) && -> std::remove_cvref_t<std::invoke_result_t<F, T&&>> {
    if (!has_value()) return error();
    return std::invoke(std::forward<F>(next), std::move(**this));
  }

  /// What `change` makes of the value, in a Result; or the error.
  template <class F>
  constexpr auto transform(
      F&& change) const& -> Result<std::remove_cv_t<std::invoke_result_t<F, const T&>>> {
    if (!has_value()) return error();
    return std::invoke(std::forward<F>(change), **this);
  }
  template <class F>
  constexpr auto transform(
      F&& change) && -> Result<std::remove_cv_t<std::invoke_result_t<F, T&&>>> {
    if (!has_value()) return error();
    return std::invoke(std::forward<F>(change), std::move(**this));
  }

  /// The value; or what `otherwise`, which gives a Result of the same kind, makes of the error.
  template <class F>
  constexpr Result or_else(F&& otherwise) const& {
    return has_value() ? *this : Result(std::invoke(std::forward<F>(otherwise), error()));
  }

 private:
  std::variant<T, Error> m_state;
};

}  // namespace velmora
