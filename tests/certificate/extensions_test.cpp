#include <algorithm>

#include "tests/certificate/all_answers.h"
#include "tests/certificate/shown_answers.h"
#include "velmora/certificate/internal/extension_reader.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;
using der::Bytes;
using namespace oid;

// An answer, or "!" and the offset from `base` of what makes it malformed.
template <class T>
std::string answer(const Result<T>& result, uint32_t base) {
  if (result) return (Shown() << *result).text;
  if (result.error().isAbsent()) return "absent";
  if (result.error().code != ErrorCode::malformedExtension) return "another error";
  return '!' + std::to_string(result.error().offset - base);
}

std::string ask(const Certificate& certificate, const Oid& id, uint32_t base) {
  std::string said;
  forEachAnswer(certificate, [&](const Oid& each, const auto& get) {
    if (each == id) said = answer(get(), base);
  });
  return said;
}

// Pieces of the rows below.
const Bytes kOid = der::oid("1.2.3");
const Bytes kPadded = element(6, "\x2A\x80\x03");
const Bytes kDns = primitive(2, "a");
const Bytes kBad = primitive(2, "\x80");
const Bytes kPoint = context(0, context(0, kDns));
const std::string kMost = std::to_string(UINT64_MAX);
const Bytes kBig = integer("\1"s + std::string(8, '\0'));
Bytes policy(const Bytes& qualifiers) {
  return sequence(sequence(kOid, qualifiers));
}
Bytes qualified(const std::string& id, const Bytes& qualifier) {
  return policy(sequence(sequence(der::oid(id), qualifier)));
}
Bytes cps(const Bytes& text) {
  return qualified("1.3.6.1.5.5.7.2.1", text);
}
template <class... Members>
Bytes notice(const Members&... members) {
  return qualified("1.3.6.1.5.5.7.2.2", sequence(members...));
}
Bytes point(const Bytes& members) {
  return sequence(sequence(members));
}
Bytes subtrees(unsigned n, const Bytes& members) {
  return sequence(context(n, sequence(members)));
}
// A vector of TLS with two octets of length.
Bytes counted(const Bytes& content) {
  return Bytes{static_cast<char>(content.size() >> 8), static_cast<char>(content.size())} + content;
}
const Bytes kLogId = std::string(32, '\x11');
const Bytes kStamp = "\0"s + kLogId + "\0\0\1\0\0\0\0\2"s + counted("e") + "\4\3" + counted("sig");
Bytes stamps(const Bytes& list) {
  return octets(counted(list));
}

// Values and what is answered to them: each refusal has a twin that differs in that alone.
const struct {
  Oid id;
  Bytes value;
  std::string answer;
} kRows[] = {
    {basicConstraints, sequence(), "no -"},
    {basicConstraints, sequence(boolean(false)), "no -"},  // a default, encoded
    {basicConstraints, sequence(boolean(true), integer("\3")), "ca 3"},
    {basicConstraints, sequence(element(1, "\1"), integer("\3")), "!2"},
    {basicConstraints, sequence(element(1, "\xFF\xFF")), "!2"},
    {basicConstraints, sequence(boolean(true), integer("\0\3"s)), "!5"},
    {basicConstraints, sequence(boolean(true), integer("\0\x83"s)), "ca 131"},
    {basicConstraints, sequence(boolean(true), integer("\x83")), "!5"},
    {basicConstraints, sequence(boolean(true), integer("")), "!5"},
    {basicConstraints, sequence(boolean(true), kBig), "ca " + kMost},
    {basicConstraints, sequence(integer("\3"), boolean(true)), "!5"},
    {basicConstraints, sequence(integer("\3"), integer("\3")), "!5"},
    {basicConstraints, sequence() + null(), "!2"},
    {basicConstraints, set(), "!0"},
    {basicConstraints, "\x30\x81\x00"s, "!0"},
    {basicConstraints, "\x30\x03\x01\x02\xFF"s, "!2"},
    {basicConstraints, "", "!0"},

    {keyUsage, bits("\x06", 1), "96"},
    {keyUsage, bits("\x06", 2), "!0"},
    {keyUsage, bits("\x06", 0), "96"},  // zero bits at the end
    {keyUsage, bits("\x80\xC0\x01"), "257"},
    {keyUsage, bits(std::string(1, '\0'), 8), "!0"},
    {keyUsage, bits(std::string(1, '\0'), 7), "0"},
    {keyUsage, bits(""), "0"},
    {keyUsage, bits("", 1), "!0"},
    {keyUsage, element(3, ""), "!0"},

    {extKeyUsage, sequence(kOid, kOid), "1.2.3 1.2.3 "},
    {extKeyUsage, sequence(kOid, kPadded), "!6"},
    {extKeyUsage, sequence(), "!0"},

    {subjectKeyIdentifier, octets("\1\2"), "0102"},
    {subjectKeyIdentifier, element(0x24, octets("\1\2")), "!0"},

    {authorityKeyIdentifier, sequence(), "- -"},
    {authorityKeyIdentifier,
     sequence(primitive(0, "\1"), context(1, kDns, kBad), primitive(2, "\x83")),
     "01 dns a, malformed 2, 83"},
    {authorityKeyIdentifier, sequence(primitive(2, "\xFF\x83")), "!2"},
    {authorityKeyIdentifier, sequence(context(1)), "!2"},
    {authorityKeyIdentifier, sequence(primitive(2, "\1"), primitive(0, "\1")), "!5"},
    {authorityKeyIdentifier, sequence(octets("\1")), "!2"},

    {subjectAltName, sequence(kDns, kBad), "dns a, malformed 2, "},
    {subjectAltName, sequence(kDns, "\x82\x02" + "a"s), "!5"},
    {subjectAltName, sequence(), "!0"},
    {issuerAltName, sequence(kDns), "dns a, "},
    {issuerAltName, octets(kDns), "!0"},

    {authorityInfoAccess, sequence(sequence(kOid, kDns)), "1.2.3 dns a, "},
    {authorityInfoAccess, sequence(sequence(kOid, kBad)), "1.2.3 malformed 2, "},
    {authorityInfoAccess, sequence(sequence(kOid)), "!8"},
    {authorityInfoAccess, sequence(sequence(kOid, kDns, kDns)), "!11"},
    {subjectInfoAccess, sequence(sequence(kOid, kDns)), "1.2.3 dns a, "},
    {subjectInfoAccess, sequence(), "!0"},

    {crlDistributionPoints,
     sequence(sequence(kPoint), sequence(primitive(1, "\5\x60"), context(2, kBad))),
     "dns a, -  6 malformed 2,  "},
    {crlDistributionPoints, point(kPoint + primitive(1, "\5\x61")), "!11"},
    {crlDistributionPoints, point(primitive(1, "\5\x60")), "!2"},  // reasons alone
    {crlDistributionPoints, point(context(0, kDns)), "!6"},
    {crlDistributionPoints, point(context(0, context(1, attribute("2.5.4.3", utf8("r"))))),
     "r -  "},
    {crlDistributionPoints, point(context(0, context(1, sequence(kOid, kOid, kOid)))), "!18"},
    {crlDistributionPoints, point(context(0, context(1))), "!6"},
    {crlDistributionPoints, point(context(0)), "!6"},
    {crlDistributionPoints, sequence(), "!0"},
    {freshestCrl, point(kPoint), "dns a, -  "},
    {freshestCrl, point(""), "!2"},

    {certificatePolicies, policy(""), "1.2.3:  "},
    {certificatePolicies, sequence(sequence(kPadded)), "!4"},
    {certificatePolicies, policy(sequence()), "!8"},
    {certificatePolicies, sequence(), "!0"},
    {certificatePolicies, qualified("1.2", octets("x")), "1.2.3: 1.2 040178  "},
    {certificatePolicies, qualified("1.2", "\x04\x81\x01x"), "!15"},
    {certificatePolicies, qualified("1.2", ""), "!15"},
    {certificatePolicies, cps(ia5("u")), "1.2.3: cps u  "},
    {certificatePolicies, cps(utf8("u")), "!22"},
    {certificatePolicies, cps(ia5("\x80")), "!22"},
    {certificatePolicies, notice(), "1.2.3: notice - -  "},
    {certificatePolicies, notice(bmp(u"ü")), "1.2.3: notice - ü  "},
    {certificatePolicies, notice(utf8(std::string(300, 'x'))),
     "1.2.3: notice - " + std::string(300, 'x') + "  "},
    {certificatePolicies, notice(printable("u")), "!24"},
    {certificatePolicies, notice(utf8("\x80")), "!24"},
    {certificatePolicies,
     notice(sequence(ia5("o"), sequence(integer("\xFF"), integer(kBig.substr(2, 8)), kBig)),
            element(0x1A, "t")),
     "1.2.3: notice o -1 72057594037927936 " + std::to_string(INT64_MAX) + " t  "},
    {certificatePolicies, notice(sequence(ia5("o"))), "!29"},

    {policyMappings, sequence(sequence(kOid, der::oid("1.2"))), "1.2.3=1.2 "},
    {policyMappings, sequence(sequence(kOid)), "!8"},
    {policyMappings, sequence(), "!0"},

    {policyConstraints, sequence(primitive(0, "\0"s), primitive(1, "\2")), "0 2"},
    {policyConstraints, sequence(primitive(1, "\2")), "- 2"},
    {policyConstraints, sequence(primitive(1, "\2"), primitive(0, "\0"s)), "!5"},
    {policyConstraints, sequence(primitive(0, "\xFF")), "!2"},
    {policyConstraints, sequence(), "!0"},

    {inhibitAnyPolicy, integer("\5"), "5"},
    {inhibitAnyPolicy, integer("\xFB"), "!0"},
    {inhibitAnyPolicy, kBig, kMost},

    {nameConstraints, subtrees(0, kDns), "dns a, but "},
    {nameConstraints, subtrees(1, kBad), "but malformed 2, "},
    {nameConstraints, subtrees(1, primitive(7, "\x7F\0\0\0\xFF\0\0\0"s)),
     "but range 127.0.0.0/8, "},
    {nameConstraints, subtrees(1, primitive(7, "\x7F\0\0\0"s)), "but malformed 7, "},
    {nameConstraints, subtrees(0, kDns + primitive(0, "\0"s)), "dns a, but "},
    {nameConstraints, subtrees(0, kDns + primitive(0, "\1")), "!9"},
    {nameConstraints, subtrees(0, kDns + primitive(1, "\1")), "!9"},
    {nameConstraints, sequence(context(0)), "!2"},
    {nameConstraints, sequence(), "!0"},

    {signedTimestamps, stamps(counted("\1?") + counted(kStamp)),
     "11 1099511627778 65 4 3 736967 "},  // the first is of another version
    {signedTimestamps, stamps(counted(kStamp + "x")), "!57"},
    {signedTimestamps, stamps(counted(kStamp.substr(0, kStamp.size() - 1))), "!54"},
    {signedTimestamps, stamps(counted("\0"s + kLogId + "\x80" + kStamp.substr(34))), "!39"},
    {signedTimestamps, stamps(counted("")), "!4"},
    {signedTimestamps, stamps(""), "!2"},
    {signedTimestamps, octets(counted(counted("\1?")) + "x"), "!8"},
    {signedTimestamps, octets(counted(counted("\1?"))), ""},
    {signedTimestamps, counted(counted("\1?")), "!0"},

    {tlsFeature, sequence(integer("\5"), integer("\0\xFF\xFF"s)), "5 65535 "},
    {tlsFeature, sequence(integer("\5"), integer("\1\0\0"s)), "!5"},
    {tlsFeature, sequence(integer("\xFF")), "!2"},
    {tlsFeature, sequence(), ""},

    {ocspNoCheck, null(), "there"},
    {ocspNoCheck, element(5, "x"), "!0"},
    {noRevAvail, null(), "there"},
    {noRevAvail, null() + null(), "!2"},
};

TEST(Extensions, AreReadToTheLetterOrMalformed) {
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.id.text() + ' ' + testing::PrintToString(row.value));
    const Certificate certificate =
        withExtension(element(6, charactersOf(row.id.der())), row.value);
    const Extension extension = *certificate.extension(row.id);
    const auto value = extension.value;
    const auto base = static_cast<uint32_t>(value.data() - certificate.der().data());
    EXPECT_EQ(ask(certificate, row.id, base), row.answer);
    EXPECT_EQ(ask(parsed(der::Certificate().der()), row.id, 0), "absent");
    const bool isRefused = row.answer.starts_with('!');
    const Certificate copy = certificate;
    const Certificate equal = *Certificate::parse(certificate.der());
    EXPECT_EQ(copy.content(extension).has_value(), !isRefused);
    EXPECT_FALSE(equal.content(extension)) << "the extension of another certificate";
    for (size_t size = 0; !isRefused && size < row.value.size(); ++size) {
      const Certificate cut =
          withExtension(element(6, charactersOf(row.id.der())), row.value.substr(0, size));
      EXPECT_EQ(ask(cut, row.id, 0).substr(0, 1), "!") << size;
    }
  }
  EXPECT_TRUE((ExtendedKeyUsage{{oid::serverAuth}}).has(oid::serverAuth));
  EXPECT_FALSE((ExtendedKeyUsage{{oid::serverAuth, Oid()}}).has(Oid()));
  EXPECT_TRUE((TlsFeatures{{5}}).has(5));
  EXPECT_FALSE((TlsFeatures{{5}}).has(17));
}

// The members of all lists in a value count together: here one list, and points of a name each.
TEST(Extensions, HaveNoMoreMembersThanTheyMay) {
  constexpr size_t kMembers = ExtensionReader::kMaxMembers;
  const Bytes name = primitive(2, ""), one = sequence(context(0, context(0, name)));
  for (const size_t more : {0U, 1U}) {
    Bytes names, points;
    for (size_t i = 0; i < kMembers + more; ++i) names += name;
    for (size_t i = 0; i < kMembers / 2 + more; ++i) points += one;
    const Certificate certificate =
        parsed(withExtensions(extension("2.5.29.17", octets(sequence(names))),
                              extension("2.5.29.31", octets(sequence(points)))));
    const auto code = [&](const auto& answer) {
      return answer ? ErrorCode::absent : answer.error().code;
    };
    const ErrorCode expected = more == 0 ? ErrorCode::absent : ErrorCode::tooLarge;
    EXPECT_EQ(code(certificate.subjectAltNames()), expected);
    EXPECT_EQ(code(certificate.subjectAltNameCursor()), expected);
    EXPECT_EQ(code(certificate.crlDistributionPoints()), expected);
    const auto isMalformed = [](const Departure& each) {
      return each.code == DepartureCode::extensionMalformed;
    };
    const std::vector<Departure> departures = certificate.departures();
    EXPECT_EQ(std::count_if(departures.begin(), departures.end(), isMalformed), more == 0 ? 0 : 2);
  }
}

TEST(Extensions, CriticalOnesThatNobodyAnswersAreNamedOnce) {
  const auto extension = [](const Bytes& id, bool critical = true) {
    return sequence(id, boolean(critical), octets(""));
  };
  const Bytes long1 = element(6, std::string(64, '\1'));
  const Bytes long2 = element(6, std::string(64, '\2'));
  const Certificate certificate = parsed(withExtensions(
      extension(der::oid("1.2.4")), extension(der::oid("1.2.3")), extension(der::oid("1.2.4")),
      extension(der::oid("1.2.5"), false), extension(der::oid("2.5.29.19")), extension(long1),
      extension(long2), extension(der::oid("1.3.6.1.4.1.11129.2.4.3"))));
  std::string unknown;
  for (const Oid& id : certificate.unknownCriticalExtensions()) unknown += id.text() + ' ';
  EXPECT_EQ(unknown, " 1.2.3 1.2.4 1.3.6.1.4.1.11129.2.4.3 ");
}

}  // namespace
}  // namespace velmora::test
