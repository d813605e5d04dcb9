#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/common/der_builder.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::test {

inline bool load(VelmoraX509& cert, std::string_view der, LogBase& log,
                 SystemCerts* store = nullptr) {
  return cert.loadX509DerAlt(reinterpret_cast<const unsigned char*>(der.data()),
                             static_cast<unsigned int>(der.size()), store, log);
}

/// A certificate loaded from DER that has to be loadable.
struct LoadedX509 : VelmoraX509 {
  explicit LoadedX509(std::string_view der) {
    LogText log;
    EXPECT_TRUE(load(*this, der, log)) << log.text().view();
  }
};

struct DeleteHolder {
  void operator()(VelmoraX509Holder* holder) const { VelmoraObject::deleteObject(holder); }
};
using Holder = std::unique_ptr<VelmoraX509Holder, DeleteHolder>;

/// A certificate in a holder, null when it cannot be loaded.
inline Holder holderOf(std::string_view der, LogBase& log) {
  return Holder(VelmoraX509Holder::createFromDer(reinterpret_cast<const unsigned char*>(der.data()),
                                                 static_cast<unsigned int>(der.size()), log));
}

inline der::Bytes withSubject(const der::Bytes& name) {
  return withField(&der::Certificate::subject, name);
}
inline der::Bytes withKey(const der::Bytes& publicKey) {
  return withField(&der::Certificate::publicKey, publicKey);
}

inline der::Bytes extension(const std::string& oid, std::string_view value) {
  return sequence(der::oid(oid), octets(value));
}

inline DataBuffer bytesOf(std::string_view text) {
  DataBuffer bytes;
  EXPECT_TRUE(bytes.append(text.data(), text.size()));
  return bytes;
}

inline std::string base64Of(std::string_view bytes) {
  StringBuffer text;
  bytesOf(bytes).encodeDB("base64", text);
  return std::string(text.view());
}
inline std::string pemOf(std::string_view der, const std::string& label = "CERTIFICATE",
                         const std::string& lineEnd = "\n") {
  return "-----BEGIN " + label + "-----" + lineEnd + base64Of(der) + lineEnd + "-----END " + label +
         "-----" + lineEnd;
}
/// The ASN.1 XML form of DER.
inline std::string xmlOf(std::string_view der) {
  LogNull log;
  StringBuffer xml;
  EXPECT_TRUE(DerXmlCodec::derToXml(bytesOf(der), false, true, xml, nullptr, log));
  return std::string(xml.view());
}

/// The certificates that stand below an element of these children.
struct LoadedFromXml {
  explicit LoadedFromXml(const std::string& children) {
    LogText log;
    const _clsOwner xml(ClsXml::createNewCls());
    EXPECT_TRUE(xml->loadXml("<certs>" + children + "</certs>", true, log)) << log.text().view();
    EXPECT_TRUE(VelmoraX509::loadX509_fromXml(xml.get(), certs, log)) << log.text().view();
  }
  VelmoraX509& first() { return static_cast<VelmoraX509&>(*certs.elementAt(0)); }

  ExtPtrArrayRc certs;
};

/// The DER of each certificate of a store.
inline std::vector<std::string> contentsOf(const SystemCerts& store) {
  std::vector<std::string> certs;
  DataBuffer der;
  for (size_t i = 0; store.getNthCertDer(i, der); ++i) certs.emplace_back(der.view());
  return certs;
}

/// What an operation that takes an XString leaves in it.
template <class Operation>
std::string textOf(Operation operation) {
  XString out;
  operation(out);
  return std::string(out.view());
}

inline std::string subjectOf(VelmoraX509& cert, int nameStyle = 0) {
  LogNull log;
  return textOf([&](XString& out) { cert.getDN(true, true, out, log, nameStyle); });
}

inline std::string serialOf(VelmoraX509& cert) {
  LogNull log;
  return textOf([&](XString& out) { cert.get_SerialNumber(out, log); });
}

/// Keeps the error lines apart from everything else.
class ErrorLog : public LogBase {
 public:
  void LogError(const char* message) override {
    errors.append(errors.empty() ? "" : "|").append(message);
  }
  void LogInfo(const char*) override {}
  void LogData(const char*, std::string_view) override {}
  void enterContext(const char*) override {}
  void leaveContext() override {}

  std::string errors;  // with | between them
};

}  // namespace velmora::test
