#pragma once

#include <cstdlib>

#include "tests/common/certificate_files.h"
#include "tests/common/der_builder.h"
#include "velmora/certificate/certificate.h"

namespace velmora::test {

/// A certificate that has to be one.
inline Certificate parsed(const der::Bytes& der) {
  const Result<Certificate> certificate = Certificate::parse(der);
  if (!certificate) std::abort();
  return *certificate;
}

inline Certificate withSubject(const der::Bytes& name) {
  return parsed(withField(&der::Certificate::subject, name));
}

inline Certificate withExtension(const der::Bytes& id, const der::Bytes& value) {
  return parsed(withExtensions(sequence(id, octets(value))));
}

/// An Extension of these members behind its OID.
template <class... Parts>
der::Bytes extension(const std::string& oid, const Parts&... parts) {
  return sequence(der::oid(oid), parts...);
}

/// Where some octets that stand in a certificate once start in it.
inline uint32_t offsetOf(const Certificate& certificate, std::string_view octets) {
  const Bytes der = certificate.der();
  const std::string_view all(reinterpret_cast<const char*>(der.data()), der.size());
  EXPECT_EQ(all.find(octets), all.rfind(octets));
  return static_cast<uint32_t>(all.find(octets));
}

inline std::string charactersOf(Bytes octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

/// A name with its kind in front; what a RawName is, with its tag.
inline std::string textOf(const GeneralName& name) {
  struct {
    std::string operator()(const DnsName& dns) const { return "dns " + dns.text; }
    std::string operator()(const EmailAddress& email) const { return "email " + email.text; }
    std::string operator()(const Uri& uri) const { return "uri " + uri.text; }
    std::string operator()(const IpAddress& ip) const { return "ip " + ip.text(); }
    std::string operator()(const IpRange& range) const { return "range " + range.text(); }
    std::string operator()(const Name& dn) const { return "name " + *dn.rfc4514(); }
    std::string operator()(const RegisteredId& id) const { return "id " + id.id.text(); }
    std::string operator()(const OtherName& other) const {
      return "other " + other.type.text() + " " + other.text().value_or("no text");
    }
    std::string operator()(const RawName& raw) const {
      return (raw.malformed ? "malformed " : "raw ") + std::to_string(raw.tag);
    }
  } const kind;
  return std::visit(kind, name);
}

}  // namespace velmora::test
