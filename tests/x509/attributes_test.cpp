#include <utility>

#include "support/asn1/vm_asn1.h"
#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

constexpr const char* kCn = "2.5.4.3";

der::Bytes withNames(const der::Bytes& issuer, const der::Bytes& subject) {
  der::Certificate fields;
  fields.issuer = issuer;
  fields.subject = subject;
  return fields.der();
}

// What the subject and the issuer give for one attribute of their names, with its members.
struct ValueCase {
  const char* what;
  der::Bytes attributes;
  bool found;
  const char* text;
};

const ValueCase kValues[] = {
    {"PrintableString", der::attribute(kCn, der::printable("a")), true, "a"},
    {"UTF8String", der::attribute(kCn, der::utf8("Zürich")), true, "Zürich"},
    {"IA5String", der::attribute(kCn, der::ia5("a@b")), true, "a@b"},
    {"T61String", der::attribute(kCn, der::t61("\xE9")), true, "é"},
    {"empty UTF8String", der::attribute(kCn, der::utf8("")), true, ""},
    {"OCTET STRING", der::attribute(kCn, der::octets("ab")), false, ""},
    {"INTEGER", der::attribute(kCn, der::integer("\x05")), false, ""},
    {"no value", der::sequence(der::oid(kCn)), false, ""},
    {"another type", der::attribute("2.5.4.31", der::utf8("x")), false, ""},
    {"a type in a value", der::attribute("2.5.4.10", der::sequence(der::oid(kCn))), false, ""},
    {"string types are tried in their order, not in that of the values",
     der::sequence(der::oid(kCn), der::bmp(u"u"), der::t61("t"), der::ia5("i"), der::utf8("8")),
     true, "8"},
    {"PrintableString before all",
     der::sequence(der::oid(kCn), der::utf8("8"), der::printable("p")), true, "p"},
    {"the first of two", der::attribute(kCn, der::utf8("1")) + der::attribute(kCn, der::utf8("2")),
     true, "1"},
    {"the first decides even if it cannot be read",
     der::attribute(kCn, der::integer("\x05")) + der::attribute(kCn, der::printable("2")), false,
     ""},
};

TEST(NameAttributes, StringTypesAreReadAndMissingOnesAreNoError) {
  for (const ValueCase& one : kValues) {
    SCOPED_TRACE(one.what);
    const der::Bytes name = der::sequence(der::set(one.attributes));
    LoadedX509 cert(withNames(name, name));
    LogText log;
    XString value(std::string_view("what stood here"));
    EXPECT_EQ(cert.get_SubjectValue(kCn, value, log), one.found);
    EXPECT_EQ(value.view(), one.text);
    EXPECT_EQ(cert.get_IssuerValue(kCn, value, log), one.found);
    EXPECT_EQ(value.view(), one.text);
    EXPECT_TRUE(log.text().isEmpty()) << log.text().view();
  }
}

TEST(NameAttributes, OtherTypesAreUtf16AndOnlyTheSubjectLeavesATrace) {
  const std::pair<der::Bytes, const char*> kCases[] = {
      {der::bmp(u"AB"), "AB"},
      {der::bmp(u"Zürich"), "Zürich"},
      {der::element(0x1E, std::string_view("\0A\0", 3)), "A"},  // an odd octet counts for nothing
      {der::element(0x1E, ""), ""},
      {der::bmp(u"\xD800"), "\uFFFD"},
      {der::element(0x1A, "AB"), "\u4142"},  // VisibleString
  };
  for (const auto& [element, text] : kCases) {
    const der::Bytes name = der::sequence(der::set(der::attribute(kCn, element)));
    LoadedX509 cert(withNames(name, name));
    LogText log;
    XString value;
    EXPECT_TRUE(cert.get_IssuerValue(kCn, value, log));
    EXPECT_EQ(value.view(), text);
    EXPECT_TRUE(log.text().isEmpty());
    EXPECT_TRUE(cert.get_SubjectValue(kCn, value, log));
    EXPECT_EQ(value.view(), text);
    EXPECT_EQ(log.text().view(), "bmpStr: " + std::string(text) + "\n");
  }
}

TEST(NameAttributes, TheAccessorsReadTheirAttributeOfTheirName) {
  using Get = bool (VelmoraX509::*)(XString&, LogBase&);
  const struct {
    const char* oid;
    Get issuer;
    Get subject;
  } kAccessors[] = {
      {"2.5.4.6", &VelmoraX509::get_IssuerC, &VelmoraX509::get_SubjectC},
      {"2.5.4.8", &VelmoraX509::get_IssuerS, &VelmoraX509::get_SubjectS},
      {"2.5.4.7", &VelmoraX509::get_IssuerL, &VelmoraX509::get_SubjectL},
      {"2.5.4.10", &VelmoraX509::get_IssuerO, &VelmoraX509::get_SubjectO},
      {"2.5.4.11", &VelmoraX509::get_IssuerOU, &VelmoraX509::get_SubjectOU},
      {"2.5.4.3", &VelmoraX509::get_IssuerCN, &VelmoraX509::get_SubjectCN},
      {"1.2.840.113549.1.9.1", &VelmoraX509::get_IssuerE, &VelmoraX509::get_SubjectE},
      {"2.5.4.5", &VelmoraX509::get_IssuerSerial, nullptr},
  };
  der::Bytes issuer;
  der::Bytes subject;
  for (const auto& accessor : kAccessors) {
    const std::string oid(accessor.oid);
    issuer += der::set(der::attribute(oid, der::utf8("issuer " + oid)));
    subject += der::set(der::attribute(oid, der::utf8("subject " + oid)));
  }
  LoadedX509 cert(withNames(der::sequence(issuer), der::sequence(subject)));
  LogNull log;
  for (const auto& [oid, ofIssuer, ofSubject] : kAccessors) {
    XString value;
    EXPECT_TRUE((cert.*ofIssuer)(value, log));
    EXPECT_EQ(value.view(), "issuer " + std::string(oid));
    if (ofSubject == nullptr) continue;
    EXPECT_TRUE((cert.*ofSubject)(value, log));
    EXPECT_EQ(value.view(), "subject " + std::string(oid));
  }
}

TEST(NameAttributes, ANameThatCannotBeReachedIsAnError) {
  VelmoraX509 never;
  LoadedX509 empty(der::sequence(der::sequence()));
  for (VelmoraX509* cert : {&never, static_cast<VelmoraX509*>(&empty)}) {
    ErrorLog log;
    XString value(std::string_view("what stood here"));
    EXPECT_FALSE(cert->get_IssuerValue(kCn, value, log));
    EXPECT_TRUE(value.isEmpty());
    EXPECT_FALSE(cert->get_SubjectValue(kCn, value, log));
    EXPECT_EQ(log.errors,
              (std::vector<std::string>{"Cannot get certificate issuer value (1)",
                                        "Navigation to the certificate subject failed."}));
    EXPECT_EQ(cert->getDnAsn(true, log), nullptr);
    EXPECT_EQ(log.errors.size(), 2u);
  }
}

TEST(NameAttributes, AWholeNameIsItsDer) {
  const der::Bytes subject = der::sequence(
      der::set(der::attribute(kCn, der::bmp(u"x")), der::attribute(kCn, der::utf8("\xFF"))));
  LoadedX509 cert(withSubject(subject));
  LogNull log;
  const std::pair<bool, der::Bytes> kNames[] = {{true, subject},
                                                {false, der::Certificate().issuer}};
  for (const auto& [forSubject, expected] : kNames) {
    const RefOwner<_vmAsn1> name(cert.getDnAsn(forSubject, log));
    DataBuffer out;
    ASSERT_TRUE(name && name->EncodeToDer(out, false, log));
    EXPECT_EQ(out.view(), expected);
  }
}

}  // namespace
}  // namespace velmora::test
