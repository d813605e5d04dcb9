#include "tests/certificate/typed_test.h"
#include "tests/common/table_file.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;
using der::Bytes;

Bytes rdn(const std::string& type, const Bytes& value) {
  return set(attribute(type, value));
}
Bytes cn(const Bytes& value) {
  return attribute("2.5.4.3", value);
}
Bytes cnAlone(std::string_view text) {
  return sequence(set(cn(utf8(text))));
}
Bytes dc(std::string_view value) {
  return rdn("0.9.2342.19200300.100.1.25", ia5(value));
}

TEST(Name, TextIsReadByItsTypeOrNotAtAll) {
  const std::tuple<Bytes, TextKind, std::string> rows[] = {
      {utf8("Zürich"), TextKind::utf8, "Zürich"},
      {utf8("Z\xC3"), TextKind::none, ""},
      {utf8("\xC0\x80"), TextKind::none, ""},      // overlong
      {utf8("\xED\xA0\x80"), TextKind::none, ""},  // a surrogate
      {utf8("a\0b"s), TextKind::utf8, "a\0b"s},
      {printable("a@b_&*"), TextKind::printable, "a@b_&*"},  // beyond its set, but ASCII
      {printable("\x80"), TextKind::none, ""},
      {ia5("\x7F"), TextKind::ia5, "\x7F"},
      {ia5("\x80"), TextKind::none, ""},
      {element(0x12, "12 3"), TextKind::numeric, "12 3"},
      {element(0x1A, "a b"), TextKind::visible, "a b"},
      {t61("Z\xFCrich"), TextKind::t61, "Zürich"},
      {bmp(u"Zü\U0001F600"), TextKind::bmp, "Zü😀"},
      {element(0x1E, "\xD8\x3D"), TextKind::none, ""},  // half a pair
      {element(0x1E, "\0a\0"s), TextKind::none, ""},
      {element(0x1C, "\0\0\0a\0\1\xF6\0"s), TextKind::universal, "a😀"},
      {element(0x1C, "\0\x11\0\0"s), TextKind::none, ""},
      {element(0x1C, "\0\0\0"s), TextKind::none, ""},
      {octets("a"), TextKind::none, ""},
  };
  for (const auto& [value, kind, text] : rows) {
    SCOPED_TRACE(testing::PrintToString(value));
    const Certificate certificate =
        withSubject(sequence(rdn("2.5.4.10", utf8("first")), set(cn(value), cn(value))));
    const Name name = certificate.subject();
    const auto attributes = name.attributes();
    ASSERT_EQ(attributes->size(), 3U);
    const Attribute& last = attributes->back();
    EXPECT_EQ(last.rdn, 1U);
    EXPECT_EQ(last.kind, kind);
    EXPECT_EQ(last.text, text);
    EXPECT_EQ(charactersOf(last.der), value);
    EXPECT_FALSE(name.visitAttributes([&expected = text](const PlacedAttribute& it) {
      EXPECT_TRUE(it.rdn != 1 || !it.isUtf8() || charactersOf(it.content) == expected);
    }));
    const Result<std::string> found = name.find(oid::commonName);
    EXPECT_EQ(found.has_value(), kind != TextKind::none);
    if (found) {
      EXPECT_EQ(*found, text);
    } else {
      const size_t inName = charactersOf(name.der()).find(value);
      const auto at =
          static_cast<uint32_t>(inName) + offsetOf(certificate, charactersOf(name.der()));
      EXPECT_EQ(found.error(), (Error{ErrorCode::malformedText, Found::certificate, at}));
    }
    EXPECT_EQ(name.find(oid::country).error(), Error{ErrorCode::absent});
  }
}

TEST(Name, WhatIsNoNameIsMalformedToEveryQuestion) {
  const Bytes good = rdn("2.5.4.3", utf8("a"));
  const struct {
    Bytes rdn;
    uint32_t at;  // in it
  } rows[] = {
      {cn(utf8("a")), 0},                                         // no SET
      {set(), 0},                                                 // an empty one
      {set(set(der::oid("2.5.4.3"), utf8("a"))), 2},              // no SEQUENCE
      {set(sequence(utf8("a"), utf8("a"))), 4},                   // no type
      {set(sequence(element(6, "\x55\x80\x04"), utf8("a"))), 4},  // padded
      {set(sequence(der::oid("2.5.4.3"))), 9},                    // no value
      {set(cn(utf8("a")), sequence(der::oid("2.5.4.3"), null(), null())), 21},
  };
  const Name wellFormed = withSubject(sequence(good, good)).subject();
  EXPECT_TRUE(wellFormed.attributes());
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.rdn));
    const Bytes octets = sequence(good, row.rdn);
    const Certificate certificate = withSubject(octets);
    const Name name = certificate.subject();
    const uint32_t at = offsetOf(certificate, octets) + 2 + static_cast<uint32_t>(good.size());
    const Error error{ErrorCode::malformedName, Found::certificate, at + row.at};
    EXPECT_EQ(name.attributes().error(), error);
    EXPECT_EQ(name.find(oid::commonName).error(), error);
    EXPECT_EQ(name.rfc4514().error(), error);
    EXPECT_FALSE(name.matches(name) || name.matches(wellFormed) || wellFormed.matches(name));
    EXPECT_FALSE(name.folded());
    EXPECT_TRUE(name == name);
  }
}

TEST(Name, TextIsParsedAndWrittenAsRfc4514Says) {
  const Bytes net = dc("net") + dc("example");
  const struct {
    std::string text;
    Bytes name;
    std::string written;  // empty: the same
  } rows[] = {
      {"", sequence(), ""},
      // The examples of RFC 4514 §4.
      {"UID=jsmith,DC=example,DC=net",
       sequence(net, rdn("0.9.2342.19200300.100.1.1", utf8("jsmith"))), ""},
      {"OU=Sales+CN=J.  Smith,DC=example,DC=net",
       sequence(net, set(attribute("2.5.4.11", utf8("Sales")), cn(utf8("J.  Smith")))), ""},
      {R"(CN=James \"Jim\" Smith\, III,DC=example,DC=net)",
       sequence(net, set(cn(utf8("James \"Jim\" Smith, III")))), ""},
      {R"(CN=Before\0dAfter,DC=example,DC=net)", sequence(net, set(cn(utf8("Before\rAfter")))),
       R"(CN=Before\0DAfter,DC=example,DC=net)"},
      {"1.3.6.1.4.1.1466.0=#04024869", sequence(rdn("1.3.6.1.4.1.1466.0", octets("Hi"))), ""},
      {R"(CN=Lu\C4\8Di\C4\87)", cnAlone("Lučić"), "CN=Lučić"},
      // Every escape of §2.4, and what needs none.
      {R"(CN=\ \  \ )", cnAlone("    "), R"(CN=\   \ )"},
      {R"(CN=\#a#\+\,\;\<\>\\\"=\= b)", cnAlone("#a#+,;<>\\\"== b"),
       R"(CN=\#a#\+\,\;\<\>\\\"== b)"},
      {R"(CN=a\00)", cnAlone("a\0"s), ""},
      {R"(CN=\1B\0A b\7F)", cnAlone("\x1B\n b\x7F"), ""},
      {"O=b+CN=a", sequence(set(cn(utf8("a")), attribute("2.5.4.10", utf8("b")))),
       "CN=a+O=b"},  // sorted, as DER wants a SET OF
      {"CN=", cnAlone(""), ""},
      // String types, keywords in any letter case, and types by number.
      {"c=US,SERIALNUMBER=1,DNqualifier=x,eMailAddress=a@b",
       sequence(rdn("1.2.840.113549.1.9.1", ia5("a@b")), rdn("2.5.4.46", printable("x")),
                rdn("2.5.4.5", printable("1")), rdn("2.5.4.6", printable("US"))),
       "C=US,serialNumber=1,dnQualifier=x,emailAddress=a@b"},
      {"C=ü,DC=ü,C=_",
       sequence(rdn("2.5.4.6", utf8("_")), rdn("0.9.2342.19200300.100.1.25", utf8("ü")),
                rdn("2.5.4.6", utf8("ü"))),
       ""},
      {"2.5.4.10=a,CN=#020101,2.999.1=b",
       sequence(rdn("2.999.1", utf8("b")), set(cn(integer("\1"))), rdn("2.5.4.10", utf8("a"))),
       "O=a,CN=#020101,2.999.1=#0C0162"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const Result<Name> name = Name::parse(row.text);
    ASSERT_TRUE(name) << name.error().offset;
    EXPECT_EQ(charactersOf(name->der()), row.name);
    EXPECT_EQ(*name->rfc4514(), row.written.empty() ? row.text : row.written);
  }
}

TEST(Name, TextThatIsNoneIsRefusedWithItsPlace) {
  for (const Row& row : tableOf("names", "no text, the place of the fault, and its twin")) {
    SCOPED_TRACE(row[0]);
    const Error error = Error::at(ErrorCode::malformedText, std::stoul(row[1]));
    const Result<Name> refused = Name::parse(row[0]);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), error) << refused.error().offset;
    EXPECT_TRUE(Name::parse(row[2])) << row[2];
  }
  const std::string longest = "CN=" + std::string(64 * 1024 - 3, 'a');
  EXPECT_TRUE(Name::parse(longest));
  EXPECT_EQ(Name::parse(longest + "a").error(), Error{ErrorCode::tooLarge});
}

TEST(Name, MatchesByCharactersRdnByRdn) {
  const Bytes o = rdn("2.5.4.10", utf8("x"));
  const auto many = [](auto... values) { return set(cn(values)...); };
  const struct {
    Bytes a, b;
    bool same;
  } rows[] = {
      {"", "", true},
      {o, "", false},
      {o, o + o, false},
      {o + many(utf8("y")), many(utf8("y")) + o, false},
      {many(utf8("Ab C")), many(printable("aB c")), true},
      {many(utf8("Ab C")), many(printable("aBc")), false},
      {many(utf8("  a   b ")), many(printable("a b")), true},
      {many(utf8("a b")), many(bmp(u"a b")), false},
      {many(printable("a")), many(ia5("a")), false},
      {many(ia5("a")), many(ia5("A")), false},
      {dc("a"), dc("A "), true},
      {dc("a"), rdn("0.9.2342.19200300.100.1.25", utf8("A")), true},
      {rdn("1.2.840.113549.1.9.1", ia5("a@B")), rdn("1.2.840.113549.1.9.1", ia5("A@b")), true},
      {many(utf8("  ")), many(utf8("")), true},
      {many(utf8("\ta\r\n b")), many(utf8("a b")), true},
      {many(utf8("ab")), many(utf8("a")), false},
      {many(utf8("\xC3\xA4")), many(t61("\xE4")), false},
      {many(utf8("\xC3\x84")), many(utf8("\xC3\xA4")), false},  // no folding beyond A to Z
      {many(utf8("a")), rdn("2.5.4.10", utf8("a")), false},
      {many(utf8("a")), many(octets("a")), false},
      {many(octets("a")), many(octets("A")), false},
      {many(utf8("\xFF")), many(utf8("\xFF")), true},
      {many(utf8("\xFF")), many(t61("\xFF")), false},
      {many(utf8("a"), utf8("b"), octets("c")), many(octets("c"), printable(" B"), utf8("A")),
       true},
      {many(utf8("a"), utf8("a"), utf8("b")), many(utf8("a"), utf8("b"), utf8("b")), false},
      {many(utf8("a"), utf8("b")), many(utf8("a")), false},
      {many(utf8("a"), octets("a")), many(utf8("a"), utf8("a")), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.a) + " and " + testing::PrintToString(row.b));
    const Name a = withSubject(sequence(row.a)).subject();
    const Name b = withSubject(sequence(row.b)).subject();
    EXPECT_EQ(a.matches(b), row.same);
    EXPECT_EQ(b.matches(a), row.same);
    EXPECT_TRUE(a.matches(a));
    EXPECT_EQ(a.folded() == b.folded(), row.same);
    const std::string below = *withSubject(sequence(row.b, o)).subject().folded();
    EXPECT_EQ(below.starts_with(*a.folded()), row.same || (row.b + o).starts_with(row.a));
    EXPECT_EQ(a == b, row.a == row.b);
  }
}

}  // namespace
}  // namespace velmora::test
