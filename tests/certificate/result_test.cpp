#include "velmora/certificate/result.h"

#include <memory>
#include <set>

#include "tests/certificate/other_mode.h"
#include "tests/certificate/typed_test.h"

namespace velmora::test {
namespace {

static_assert(sizeof(Error) == 8);

Result<int> half(int number) {
  if (number % 2 != 0) return Error::at(ErrorCode::malformedText, static_cast<size_t>(number));
  return number / 2;
}

TEST(Result, GoesOnWithTheValueAndKeepsTheError) {
  const auto quarter = [](int number) { return half(number).and_then(half); };
  EXPECT_EQ(*quarter(12), 3);
  EXPECT_EQ(quarter(6).error(), Error::at(ErrorCode::malformedText, 3));
  EXPECT_EQ(quarter(6).transform([](int) { return 7; }).value_or(8), 8);
  EXPECT_EQ(*quarter(6).or_else(
                [](const Error& error) -> Result<int> { return static_cast<int>(error.offset); }),
            3);
  EXPECT_TRUE(Error().isAbsent());
  EXPECT_FALSE(quarter(6).error().isAbsent());
}

TEST(Result, HoldsWhatOnlyMoves) {
  Result<std::unique_ptr<int>> result = std::make_unique<int>(3);
  auto doubled = std::move(result).transform([](std::unique_ptr<int> n) { return *n * 2; });
  EXPECT_EQ(doubled.value_or(0), 6);
  auto none = Result<std::unique_ptr<int>>(Error{}).and_then(
      [](std::unique_ptr<int>) -> Result<int> { return 1; });
  EXPECT_FALSE(none.has_value());
}

TEST(Result, IsOneClassInEveryLanguageMode) {
  const Result<Certificate> certificate = parseInOtherMode(der::Certificate().der());
  EXPECT_EQ(signatureAlgorithmInOtherMode(certificate)->text(), "1.2.840.113549.1.1.12");
  EXPECT_EQ(signatureAlgorithmInOtherMode(Error{ErrorCode::notDer}).error().code,
            ErrorCode::notDer);
}

TEST(Error, SaysEachReasonInItsOwnWords) {
  std::set<std::string_view> messages;
  size_t reasons = 0;
  for (uint8_t code = 0; code <= static_cast<uint8_t>(ErrorCode::cannotOpenFile); ++code) {
    messages.insert(Error{static_cast<ErrorCode>(code), Found::pkcs7}.message());
    ++reasons;
  }
  for (uint8_t found = 2; found <= static_cast<uint8_t>(Found::otherAsn1); ++found) {
    messages.insert(Error{ErrorCode::notACertificate, static_cast<Found>(found)}.message());
    ++reasons;
  }
  EXPECT_EQ(messages.size(), reasons);
  EXPECT_FALSE(messages.contains(""));
}

}  // namespace
}  // namespace velmora::test
