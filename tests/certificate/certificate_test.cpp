#include "velmora/certificate/certificate.h"

#include <thread>
#include <unordered_set>

#include "tests/certificate/all_answers.h"
#include "tests/certificate/shown_answers.h"
#include "velmora/certificate/date_text.h"
#include "velmora/certificate/issuer_key.h"

namespace velmora::test {
namespace {

TEST(Certificate, CountsVersionsFromOne) {
  using enum ErrorCode;
  const auto numbered = [](const der::Bytes& member) { return context(0, member); };
  const struct {
    der::Bytes field;
    int version;
    std::optional<ErrorCode> code = {};
    size_t offset = 0;  // from the [0] on
  } rows[] = {
      {"", 1},
      {numbered(integer("\2")), 3},
      {numbered(integer(std::string(1, '\0'))), 1},
      {numbered(integer("\xFE")), -1},
      {numbered(integer("\x7F\xFF\xFF\xFE")), 0x7FFFFFFF},
      {numbered(integer("\x7F\xFF\xFF\xFF")), 0, tooLarge, 2},
      {numbered(integer("\1\2\3\4\5")), 0, tooLarge, 2},
      {numbered(integer("")), 0, malformedField, 2},
      {numbered(integer({"\0\2", 2})), 0, malformedField, 2},
      {numbered(integer("\xFF\xFE")), 0, malformedField, 2},
      {numbered(octets("\2")), 0, malformedField, 2},
      {numbered(""), 0, malformedField, 2},
      {numbered(integer("\2") + null()), 0, malformedField, 5},
      {element(0x80, "\2"), 0, malformedField, 0},
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

TEST(Certificate, ReadsDates) {
  const std::string longFraction = "20200101000000." + std::string(200'000, '9') + "Z";
  const std::pair<der::Bytes, std::optional<int64_t>> rows[] = {
      {utcTime("700101000000Z"), 0},
      {utcTime("500101000000Z"), -631152000},
      {utcTime("20010100000Z"), std::nullopt},
      {generalizedTime("00000101000000Z"), -62167219200},
      {generalizedTime("20210229000000Z"), std::nullopt},
      {generalizedTime("20191231235959.9Z"), 1577836799},
      {generalizedTime(longFraction), 1577836800},
      {generalizedTime("200101000000Z"), std::nullopt},
  };
  for (const auto& [date, seconds] : rows) {
    SCOPED_TRACE(date.substr(2, 20));
    for (const bool isLast : {false, true}) {
      const der::Bytes other = utcTime("200101000000Z");
      const der::Bytes period = isLast ? sequence(other, date) : sequence(date, other);
      const std::string der = withField(&der::Certificate::validity, period);
      const Certificate certificate = parsed(der);
      const Result<Validity> validity = certificate.validity();
      EXPECT_TRUE((isLast ? certificate.notBefore() : certificate.notAfter()).has_value());
      ASSERT_EQ(validity.has_value(), seconds.has_value());
      if (!validity) {
        const size_t at = der.find(period) + 2 + (isLast ? other.size() : 0);
        EXPECT_EQ(validity.error(), Error::at(ErrorCode::malformedDate, at));
        continue;
      }
      const auto moment = isLast ? validity->notAfter : validity->notBefore;
      EXPECT_EQ(moment.time_since_epoch().count(), *seconds);
      EXPECT_EQ(parseIso8601(toIso8601(moment)).value_or({}), moment);
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
  using enum ErrorCode;
  const der::Bytes value = octets("value");
  const der::Bytes good = extension("1.2.3", value);
  const der::Bytes critical = extension("1.2.4", boolean(true), value);
  const auto damaged = [&](const auto&... parts) {
    return listOf(extension("1.2.3", parts...), critical);
  };
  struct {
    der::Bytes extensions;
    std::optional<ErrorCode> asked, other;  // 1.2.3; 1.2.9, which is never there
    size_t readable;
  } rows[] = {
      {"", absent, absent, 0},
      {listOf(good), {}, absent, 1},
      {listOf(critical), absent, absent, 1},
      {listOf(critical, good), {}, absent, 2},
      {listOf(good, critical, good), repeatedExtension, absent, 3},
      {listOf(good, extension("1.2.3")), repeatedExtension, malformedExtension, 1},
      {listOf(good, integer("\1")), {}, malformedExtension, 1},
      {context(3, sequence(good), null()), {}, malformedExtension, 1},
      {damaged(), malformedExtension, malformedExtension, 1},
      {damaged(value, value), malformedExtension, malformedExtension, 1},
      {damaged(value, boolean(true)), malformedExtension, malformedExtension, 1},
      {damaged(element(1, ""), value), malformedExtension, malformedExtension, 1},
      {damaged(element(1, "\1"), value), {}, absent, 2},
      {listOf(), malformedExtension, malformedExtension, 0},
      {context(3), malformedExtension, malformedExtension, 0},
      {context(3, set(good)), malformedExtension, malformedExtension, 0},
      {element(0x83, "x"), malformedExtension, malformedExtension, 0},
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
  const der::Bytes longId = element(6, std::string(63, '\x81') + '\1');
  const der::Bytes middle = extension("1.2.3", boolean(false), octets("second"));
  const std::string der = withExtensions(extension("1.2.4", boolean(true), octets("first")), middle,
                                         sequence(longId, octets("third")));
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
  fields.signature = bits("signed", 1);
  const Certificate odd = parsed(fields.der());
  EXPECT_TRUE(odd.parts().signature.empty());
  fields.signature = bits("signed");
  fields.serial = integer({"\0\xAB\x01", 3});
  const Certificate certificate = parsed(fields.der());
  const Parts parts = certificate.parts();
  EXPECT_EQ(charactersOf(parts.der), fields.der());
  EXPECT_EQ(integer(charactersOf(parts.serial)), fields.serial);
  EXPECT_EQ(certificate.serialHex(), "00AB01");
  EXPECT_EQ(charactersOf(parts.issuer), fields.issuer);
  EXPECT_EQ(charactersOf(parts.validity), fields.validity);
  EXPECT_EQ(charactersOf(parts.subject), fields.subject);
  EXPECT_EQ(charactersOf(parts.spki), fields.publicKey);
  EXPECT_EQ(charactersOf(parts.innerAlgorithm), fields.signatureAlgorithm);
  EXPECT_EQ(charactersOf(parts.outerAlgorithm), fields.outerAlgorithm);
  EXPECT_EQ(charactersOf(parts.signature), "signed");
  EXPECT_EQ(sequence(charactersOf(parts.tbs), fields.outerAlgorithm, fields.signature),
            fields.der());
  EXPECT_EQ(certificate.signatureAlgorithm(), Oid("1.2.840.113549.1.1.12"));
}

std::string allOf(const Certificate& certificate) {
  Shown shown;
  forEachAnswer(certificate, [&](const Oid&, const auto& get) { shown << get(); });
  shown.all(certificate.serialHex(), certificate.version(), certificate.notAfter(),
            certificate.subject().rfc4514(), certificate.issuer().folded(),
            certificate.fingerprint(Hash::sha256), certificate.unknownCriticalExtensions(),
            certificate.isSelfIssued(), certificate.notBefore(), certificate.spkiPin(Hash::sha1),
            certificate.criticalExtensions(), certificate.dnsNames(),
            certificate.subject().attributes(), certificate.describedKey().bits,
            certificate.subject().matches(certificate.issuer()),
            certificate.signedBy(certificate) == SignatureVerdict::good);
  for (const Extension& each : certificate.listedExtensions()) shown << certificate.content(each);
  for (const Departure& each : certificate.departures()) shown.all(each.id().data(), each.offset);
  return shown.text;
}

TEST(Certificate, AnswersThreadsThatShareIt) {
  for (const std::string& der : madeCertificates()) {
    const Result<Certificate> parsed = Certificate::parse(der);
    if (!parsed) continue;
    const Certificate shared = *parsed;
    const std::string expected = allOf(*Certificate::parse(der));
    IssuerKey key(shared);
    key.prepare();
    const SignatureVerdict verdict = key.check(shared).verdict;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&, i] {
        const Certificate copy = shared;
        EXPECT_EQ(allOf(i % 2 == 0 ? shared : copy), expected);
        EXPECT_EQ(key.check(copy).verdict, verdict);
      });
    }
    for (std::thread& each : threads) each.join();
  }
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
