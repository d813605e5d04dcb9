#include "tests/common/allocation_fault.h"

#include <optional>

#include "tests/certificate/typed_test.h"

namespace velmora::test {
namespace {

TEST(Allocation, IsOneForACertificateOfAnyNumberOfExtensions) {
  std::string many;
  for (int i = 0; i < 1000; ++i) many += extension("1.2.3", octets(""));
  for (const std::string& der : {der::Certificate().der(), withExtensions(many)}) {
    Result<Certificate> result = Error();
    const size_t faults = forEachAllocationFault(
        [&] { result = Certificate::parse(der); },
        [&](bool faulted) {
          ASSERT_EQ(result.has_value(), !faulted);
          EXPECT_TRUE(!faulted || result.error().code == ErrorCode::outOfMemory);
        });
    EXPECT_EQ(faults, 1U);
  }
}

TEST(Allocation, WithoutMemoryNoNameIsParsedOrMatched) {
  const char* const text = R"(CN=a\00+O=#0C0141,1.2.3=b+UID=\C3\BC)";
  const Name name = *Name::parse(text);
  Result<Name> parsedName = Error();
  const size_t parseFaults = forEachAllocationFault(
      [&] { parsedName = Name::parse(text); },
      [&](bool faulted) {
        EXPECT_EQ(faulted, !parsedName);
        EXPECT_TRUE(parsedName ? *parsedName == name
                               : parsedName.error() == Error{ErrorCode::outOfMemory});
      });
  EXPECT_GT(parseFaults, 0U);
  const Name other = *Name::parse("o=A+CN=A\\00,1.2.3=B+UID=\xC3\xBC");
  bool matched = false;
  const size_t matchFaults = forEachAllocationFault(
      [&] { matched = name.matches(other); }, [&](bool faulted) { EXPECT_EQ(matched, !faulted); });
  EXPECT_GT(matchFaults, 0U);
}

TEST(Allocation, WithoutMemoryNoSignatureIsGoodAndNoDepartureListed) {
  size_t faults = 0;
  for (const std::string& der : madeCertificates()) {
    const Result<Certificate> certificate = Certificate::parse(der);
    if (!certificate) continue;
    const std::vector<Departure> whole = certificate->departures();
    std::optional<std::vector<Departure>> found;
    forEachAllocationFault(
        [&] {
          found.reset();
          try {
            found = certificate->departures();
          } catch (const std::bad_alloc&) {
          }
        },
        [&](bool faulted) { EXPECT_EQ(found, faulted ? std::nullopt : std::optional(whole)); });
    if (certificate->signedBy(*certificate) != SignatureVerdict::good) continue;
    SignatureCheck check;
    faults += forEachAllocationFault(
        [&] { check = certificate->checkSignature(*certificate); },
        [&](bool faulted) {
          EXPECT_EQ(check.fault, faulted ? SignatureFault::outOfMemory : SignatureFault::none);
          EXPECT_EQ(check.verdict, verdictOf(check.fault));
        });
  }
  EXPECT_GT(faults, 0U);
}

}  // namespace
}  // namespace velmora::test
