#include "velmora/certificate/certificate.h"

#include <optional>
#include <unordered_set>

#include "tests/certificate/typed_test.h"

namespace velmora::test {
namespace {

TEST(Certificate, CountsVersionsFromOne) {
  const auto numbered = [](const der::Bytes& member) { return der::context(0, member); };
  const struct {
    der::Bytes field;
    int version;
    std::optional<ErrorCode> code = {};
    size_t offset = 0;  // from the [0] on
  } rows[] = {
      {"", 1},
      {numbered(der::integer("\2")), 3},
      {numbered(der::integer(std::string(1, '\0'))), 1},
      {numbered(der::integer("\xFE")), -1},
      {numbered(der::integer("\x7F\xFF\xFF\xFE")), 0x7FFFFFFF},
      {numbered(der::integer("\x7F\xFF\xFF\xFF")), 0, ErrorCode::tooLarge, 2},
      {numbered(der::integer("\1\2\3\4\5")), 0, ErrorCode::tooLarge, 2},
      {numbered(der::integer("")), 0, ErrorCode::malformedField, 2},
      {numbered(der::integer({"\0\2", 2})), 0, ErrorCode::malformedField, 2},
      {numbered(der::integer("\xFF\xFE")), 0, ErrorCode::malformedField, 2},
      {numbered(der::octets("\2")), 0, ErrorCode::malformedField, 2},
      {numbered(""), 0, ErrorCode::malformedField, 2},
      {numbered(der::integer("\2") + der::null()), 0, ErrorCode::malformedField, 5},
      {der::element(0x80, "\2"), 0, ErrorCode::malformedField, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const std::string der = withField(&der::Certificate::version, row.field);
    const Result<int> version = parsed(der).version();
    ASSERT_EQ(version.has_value(), !row.code);
    if (row.code) {
      EXPECT_EQ(version.error(), Error::at(*row.code, der.find(row.field) + row.offset));
    } else {
      EXPECT_EQ(*version, row.version);
    }
  }
}

TEST(Certificate, WritesSerialNumbersWithTheirSignOctet) {
  const auto hexOf = [](std::string_view octets) {
    return parsed(withField(&der::Certificate::serial, der::integer(octets))).serialHex();
  };
  EXPECT_EQ(hexOf({"\0\xAB\x01", 3}), "00AB01");
  EXPECT_EQ(hexOf(""), "");
  EXPECT_EQ(hexOf("\x0F"), "0F");
}

TEST(Certificate, ReadsDates) {
  const auto utc = [](const std::string& text) { return der::utcTime(text); };
  const auto general = [](const std::string& text) { return der::generalizedTime(text); };
  const std::string longFraction = "20200101000000." + std::string(200'000, '9') + "Z";
  const struct {
    der::Bytes date;
    std::optional<int64_t> seconds;
  } rows[] = {
      {utc("700101000000Z"), 0},
      {utc("500101000000Z"), -631152000},
      {utc("491231235959Z"), 2524607999},
      {utc("2001010000Z"), 1577836800},
      {utc("200101013000+0130"), 1577836800},
      {utc("20010100000Z"), std::nullopt},
      {utc("200132000000Z"), std::nullopt},
      {utc(""), std::nullopt},
      {general("00000101000000Z"), -62167219200},
      {general("00010101000000Z"), -62135596800},
      {general("99991231235959Z"), 253402300799},
      {general("20200229000000Z"), 1582934400},
      {general("20210229000000Z"), std::nullopt},
      {general("20191231235959.9Z"), 1577836799},
      {general(longFraction), 1577836800},
      {general("200101000000Z"), std::nullopt},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.date.substr(2, 20));
    for (const bool isLast : {false, true}) {
      const der::Bytes other = utc("200101000000Z");
      const der::Bytes period =
          isLast ? der::sequence(other, row.date) : der::sequence(row.date, other);
      const std::string der = withField(&der::Certificate::validity, period);
      const Result<Validity> validity = parsed(der).validity();
      ASSERT_EQ(validity.has_value(), row.seconds.has_value());
      if (!validity) {
        const size_t at = der.find(period) + 2 + (isLast ? other.size() : 0);
        EXPECT_EQ(validity.error(), Error::at(ErrorCode::malformedDate, at));
        continue;
      }
      const auto moment = isLast ? validity->notAfter : validity->notBefore;
      EXPECT_EQ(moment.time_since_epoch().count(), *row.seconds);
    }
  }
}

TEST(Certificate, ContainsBothEndsOfItsValidity) {
  const Validity validity = *parsed(der::Certificate().der()).validity();
  const std::chrono::seconds second(1);
  EXPECT_TRUE(validity.contains(validity.notBefore) && validity.contains(validity.notAfter));
  EXPECT_FALSE(validity.contains(validity.notBefore - second));
  EXPECT_FALSE(validity.contains(validity.notAfter + second));
}

TEST(Certificate, TellsExtensionsAbsentMalformedAndRepeated) {
  const der::Bytes value = der::octets("value");
  const der::Bytes good = extension("1.2.3", value);
  const der::Bytes critical = extension("1.2.4", der::boolean(true), value);
  const auto list = [](const auto&... members) {
    return der::context(3, der::sequence(members...));
  };
  const auto damaged = [&](const auto&... parts) {
    return list(extension("1.2.3", parts...), critical);
  };
  struct {
    der::Bytes extensions;
    std::optional<ErrorCode> asked;  // 1.2.3; nothing where it is there
    std::optional<ErrorCode> other;  // 1.2.9, which is never there
    size_t readable;
  } rows[] = {
      {"", ErrorCode::absent, ErrorCode::absent, 0},
      {list(good), {}, ErrorCode::absent, 1},
      {list(critical), ErrorCode::absent, ErrorCode::absent, 1},
      {list(critical, good), {}, ErrorCode::absent, 2},
      {list(good, critical, good), ErrorCode::repeatedExtension, ErrorCode::absent, 3},
      {list(good, extension("1.2.3")), ErrorCode::repeatedExtension, ErrorCode::malformedExtension,
       1},
      {list(good, der::integer("\1")), {}, ErrorCode::malformedExtension, 1},
      {der::context(3, der::sequence(good), der::null()), {}, ErrorCode::malformedExtension, 1},
      {damaged(), ErrorCode::malformedExtension, ErrorCode::malformedExtension, 1},
      {damaged(value, value), ErrorCode::malformedExtension, ErrorCode::malformedExtension, 1},
      {damaged(value, der::boolean(true)), ErrorCode::malformedExtension,
       ErrorCode::malformedExtension, 1},
      {damaged(der::element(1, ""), value), ErrorCode::malformedExtension,
       ErrorCode::malformedExtension, 1},
      {damaged(der::element(1, "\1"), value), {}, ErrorCode::absent, 2},
      {list(), ErrorCode::malformedExtension, ErrorCode::malformedExtension, 0},
      {der::context(3), ErrorCode::malformedExtension, ErrorCode::malformedExtension, 0},
      {der::context(3, der::set(good)), ErrorCode::malformedExtension,
       ErrorCode::malformedExtension, 0},
      {der::element(0x83, "x"), ErrorCode::malformedExtension, ErrorCode::malformedExtension, 0},
  };
  const auto codeOf = [](const Result<Extension>& extension) {
    return extension ? std::nullopt : std::optional(extension.error().code);
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const std::string der = withField(&der::Certificate::extensions, row.extensions);
    const Certificate certificate = parsed(der);
    const Result<Extension> asked = certificate.extension("1.2.3");
    EXPECT_EQ(codeOf(asked), row.asked);
    EXPECT_EQ(codeOf(certificate.extension("1.2.9")), row.other);
    EXPECT_EQ(certificate.extensions().size(), row.readable);
    if (!asked && !asked.error().isAbsent()) {
      EXPECT_GE(asked.error().offset, der.find(row.extensions));
      EXPECT_LE(asked.error().offset, der.find(row.extensions) + row.extensions.size());
    }
  }
}

TEST(Certificate, GivesExtensionsInOrderWithTheirOctets) {
  const der::Bytes longId = der::element(6, std::string(63, '\x81') + '\1');
  const der::Bytes middle = extension("1.2.3", der::boolean(false), der::octets("second"));
  const std::string der =
      withExtensions(extension("1.2.4", der::boolean(true), der::octets("first")), middle,
                     der::sequence(longId, der::octets("third")));
  const Certificate certificate = parsed(der);
  const std::vector<Extension> extensions = certificate.extensions();
  ASSERT_EQ(extensions.size(), 3U);
  EXPECT_EQ(extensions[0].id, Oid("1.2.4"));
  EXPECT_TRUE(extensions[0].critical);
  EXPECT_FALSE(extensions[1].critical);
  EXPECT_TRUE(extensions[2].id.isEmpty());
  EXPECT_EQ(extensions[2].rawId.size(), 64U);
  const Extension second = *certificate.extension("1.2.3");
  EXPECT_EQ(charactersOf(second.value), "second");
  EXPECT_EQ(second.offset, der.find(middle));
  EXPECT_EQ(certificate.extension(Oid()).error().code, ErrorCode::absent);
}

TEST(Certificate, HasThePartsOfItsDer) {
  der::Certificate fields;
  fields.signature = der::bits("signed", 1);
  const Certificate odd = parsed(fields.der());
  EXPECT_TRUE(odd.parts().signature.empty());
  fields.signature = der::bits("signed");
  const Certificate certificate = parsed(fields.der());
  const Parts parts = certificate.parts();
  EXPECT_EQ(charactersOf(parts.der), fields.der());
  EXPECT_EQ(charactersOf(parts.serial), "\1");
  EXPECT_EQ(charactersOf(parts.issuer), fields.issuer);
  EXPECT_EQ(charactersOf(parts.validity), fields.validity);
  EXPECT_EQ(charactersOf(parts.subject), fields.subject);
  EXPECT_EQ(charactersOf(parts.spki), fields.publicKey);
  EXPECT_EQ(charactersOf(parts.innerAlgorithm), fields.signatureAlgorithm);
  EXPECT_EQ(charactersOf(parts.outerAlgorithm), fields.outerAlgorithm);
  EXPECT_EQ(charactersOf(parts.signature), "signed");
  EXPECT_EQ(der::sequence(charactersOf(parts.tbs), fields.outerAlgorithm, fields.signature),
            fields.der());
  EXPECT_EQ(certificate.signatureAlgorithm(), Oid("1.2.840.113549.1.1.12"));
}

TEST(Certificate, IsAValueWithAnOrder) {
  std::vector<Certificate> all;
  for (const std::string& der : madeCertificates()) all.push_back(parsed(der));
  const std::vector<Certificate> copies = all;
  const std::unordered_set<Certificate> set(all.begin(), all.end());
  for (size_t i = 0; i < all.size(); ++i) {
    EXPECT_TRUE(set.contains(*Certificate::parse(all[i].der())));
    for (size_t j = 0; j < all.size(); ++j) {
      const auto order = all[i] <=> copies[j];
      EXPECT_EQ(order == 0, all[i] == copies[j]);
      EXPECT_EQ(order<0, copies[j]> all[i]);
    }
  }
}

}  // namespace
}  // namespace velmora::test
