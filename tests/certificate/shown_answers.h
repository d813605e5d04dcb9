#pragma once

#include <concepts>

#include "tests/certificate/typed_test.h"
#include "velmora/support/text/byte_codecs.h"

namespace velmora::test {

inline std::string hex(Bytes octets) {
  std::string digits(2 * octets.size(), ' ');
  hexEncodeUpper(reinterpret_cast<const unsigned char*>(octets.data()), octets.size(),
                 digits.data());
  return digits;
}

/// What answers say, in short; of lists one after the other.
struct Shown {
  std::string text;

  Shown& operator<<(const std::string& more) {
    text += more;
    return *this;
  }
  Shown& operator<<(const char* more) { return *this << std::string(more); }
  Shown& operator<<(Bytes octets) { return *this << hex(octets); }
  Shown& operator<<(std::monostate) { return *this; }
  Shown& operator<<(const Oid& id) { return *this << id.text(); }
  Shown& operator<<(std::integral auto number) { return *this << std::to_string(number); }
  Shown& operator<<(const GeneralName& name) { return *this << textOf(name) << ","; }
  Shown& operator<<(std::chrono::sys_seconds at) { return *this << at.time_since_epoch().count(); }
  Shown& operator<<(const Error& error) {
    if (error.code == ErrorCode::outOfMemory) return *this << "no memory";
    return all('!', static_cast<int>(error.code), '@', error.offset);
  }
  template <class T>
  Shown& operator<<(const Result<T>& result) {
    return result ? *this << *result : *this << result.error();
  }
  template <class T>
  Shown& operator<<(const std::optional<T>& value) {
    return value ? *this << *value : *this << "-";
  }
  template <class T>
  Shown& operator<<(const std::vector<T>& list) {
    for (const T& member : list) *this << member << " ";
    return *this;
  }
  Shown& operator<<(const Octets& octets) { return *this << Bytes(octets); }
  Shown& operator<<(const ExtensionContent& content) {
    return std::visit([this](const auto& it) -> Shown& { return *this << it; }, content);
  }

  template <class... Parts>
  Shown& all(const Parts&... parts) {
    return (*this << ... << parts);
  }

  Shown& operator<<(const BasicConstraints& a) { return all(a.ca ? "ca " : "no ", a.pathLength); }
  Shown& operator<<(const KeyUsage& a) { return *this << a.bits; }
  Shown& operator<<(const ExtendedKeyUsage& a) { return *this << a.purposes; }
  Shown& operator<<(const AuthorityKeyId& a) { return all(a.keyId, " ", a.issuer, a.serial); }
  Shown& operator<<(const Access& a) { return all(a.method, " ", a.location); }
  Shown& operator<<(const Attribute& a) { return *this << a.text; }
  Shown& operator<<(const DistributionPoint& a) {
    return all(a.fullName, a.relativeName, a.reasons, " ", a.crlIssuer);
  }
  Shown& operator<<(const CpsUri& a) { return all("cps ", a.text); }
  Shown& operator<<(const OtherQualifier& a) { return all(a.id, " ", a.value); }
  Shown& operator<<(const UserNotice& a) {
    return all("notice ", a.organization, " ", a.numbers, a.text);
  }
  Shown& operator<<(const PolicyQualifier& a) {
    return std::visit([this](const auto& it) -> Shown& { return *this << it; }, a);
  }
  Shown& operator<<(const Policy& a) { return all(a.id, ": ", a.qualifiers); }
  Shown& operator<<(const PolicyMapping& a) { return all(a.issuerPolicy, "=", a.subjectPolicy); }
  Shown& operator<<(const PolicyConstraints& a) {
    return all(a.requireExplicitPolicy, " ", a.inhibitPolicyMapping);
  }
  Shown& operator<<(const InhibitAnyPolicy& a) { return *this << a.skipCerts; }
  Shown& operator<<(const NameConstraints& a) { return all(a.permitted, "but ", a.excluded); }
  Shown& operator<<(const SignedTimestamp& a) {
    return all(Bytes(a.logId).first(1), " ", a.at.time_since_epoch().count(), " ", a.extensions,
               " ", a.hashAlgorithm, " ", a.signatureAlgorithm, " ", a.signature);
  }
  Shown& operator<<(const TlsFeatures& a) { return *this << a.features; }
  Shown& operator<<(const OcspNoCheck&) { return *this << "there"; }
  Shown& operator<<(const NoRevocationAvailable&) { return *this << "there"; }
};

}  // namespace velmora::test
