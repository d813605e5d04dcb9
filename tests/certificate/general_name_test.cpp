#include "tests/certificate/typed_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;
using der::Bytes;

const Bytes kName = der::name({{"2.5.4.6", "US"}, {"2.5.4.3", "a"}});

TEST(GeneralName, EveryKindIsThereOrMalformed) {
  const Bytes other = der::join(der::oid("1.2.3"), context(0, utf8("ü")));
  const auto named = [](const Bytes& value) { return context(0, der::oid("1.2.3"), value); };
  const std::pair<Bytes, std::string> rows[] = {
      {context(0, other), "other 1.2.3 ü"},
      {named(context(0, sequence(null()))), "other 1.2.3 no text"},
      {named(context(0, utf8("\xFF"))), "other 1.2.3 no text"},
      {named(context(0, null(), null())), "malformed 0"},
      {named(context(0)), "malformed 0"},
      {named(utf8("a")), "malformed 0"},
      {context(0, other, null()), "malformed 0"},
      {context(0, der::oid("1.2.3"), context(0, sequence("\x04\x81\x01x"))),
       "malformed 0"},  // not the shortest length
      {primitive(0, other), "malformed 0"},
      {primitive(1, "a@b"), "email a@b"},
      {primitive(1, "a@\xFC"), "malformed 1"},
      {primitive(2, "a\0b c"s), "dns a\0b c"s},
      {primitive(2, "\x80"), "malformed 2"},
      {context(2, ia5("a")), "malformed 2"},
      {context(3, sequence()), "raw 3"},
      {primitive(3, "a"), "malformed 3"},
      {context(4, kName), "name CN=a,C=US"},
      {context(4, sequence()), "name "},
      {context(4, kName, kName), "malformed 4"},
      {context(4, sequence(set())), "malformed 4"},
      {element(0xA4, kName.substr(2)), "malformed 4"},  // a CHOICE is not tagged implicitly
      {context(5, context(1, utf8("a"))), "raw 5"},
      {context(5, "\x04\x81\x01x"), "malformed 5"},
      {primitive(6, "https://a/"), "uri https://a/"},
      {primitive(6, "https://\xFC/"), "malformed 6"},
      {primitive(7, "\x7F\0\0\1"s), "ip 127.0.0.1"},
      {primitive(7, "\x7F\0\0"s), "malformed 7"},
      {primitive(7, std::string(8, '\0')), "malformed 7"},
      {primitive(7, std::string(15, '\0') + '\1'), "ip ::1"},
      {primitive(8, "\x2A\x03"), "id 1.2.3"},
      {primitive(8, "\x2A\x80\x03"), "malformed 8"},
      {primitive(9, "a"), "malformed 255"},
      {ia5("a"), "malformed 255"},
  };
  const Bytes dns = primitive(2, "twin");
  for (const auto& [name, shown] : rows) {
    SCOPED_TRACE(shown + ": " + testing::PrintToString(name));
    const Certificate certificate = withExtension(der::oid("2.5.29.17"), sequence(dns, name, dns));
    const auto names = certificate.subjectAltNames();
    ASSERT_TRUE(names);
    ASSERT_EQ(names->size(), 3U);
    EXPECT_EQ(textOf((*names)[1]), shown);
    EXPECT_EQ(textOf(names->back()), "dns twin");
    if (const auto* const raw = std::get_if<RawName>(&(*names)[1])) {
      EXPECT_EQ(charactersOf(raw->der), name);
      EXPECT_EQ(raw->offset, offsetOf(certificate, name + dns));
    }
    EXPECT_EQ(certificate.dnsNames().size(), shown.starts_with("dns") ? 3U : 2U);
  }
}

TEST(GeneralName, KeepsItsCertificateAlive) {
  const auto names =
      withExtension(der::oid("2.5.29.17"), sequence(context(4, kName))).subjectAltNames();
  EXPECT_EQ(charactersOf(std::get<Name>(names->front()).der()), kName);
}

IpAddress addressOf(const std::string& octets) {
  IpAddress address;
  for (size_t i = 0; i < octets.size(); ++i) address.octets[i] = static_cast<std::byte>(octets[i]);
  address.size = static_cast<uint8_t>(octets.size());
  return address;
}

TEST(GeneralName, AddressesAreWrittenAsRfc5952Says) {
  const auto groups = [](std::initializer_list<unsigned> values) {
    std::string octets;
    for (const unsigned value : values) {
      octets += {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
    }
    return octets;
  };
  const std::pair<std::string, const char*> rows[] = {
      {"\xC0\0\2\x11"s, "192.0.2.17"},
      {groups({0x2001, 0xdb8, 0, 0, 1, 0, 0, 1}), "2001:db8::1:0:0:1"},  // the first of two
      {groups({0x2001, 0, 0, 1, 0, 0, 0, 1}), "2001:0:0:1::1"},          // the longest
      {groups({0x2001, 0xdb8, 0, 1, 1, 1, 1, 0xABCD}), "2001:db8:0:1:1:1:1:abcd"},
      {groups({0, 0, 0, 0, 0, 0, 0, 0}), "::"},
      {groups({1, 0, 0, 0, 0, 0, 0, 0}), "1::"},
      {groups({0, 0, 0, 0, 0, 0xFFFF, 0xC000, 0x0211}), "::ffff:192.0.2.17"},
      {groups({0, 0, 0, 0, 0, 0xFFFE, 0xC000, 0x0211}), "::fffe:c000:211"},
  };
  for (const auto& [octets, text] : rows) EXPECT_EQ(addressOf(octets).text(), text);
  const std::tuple<std::string, std::string, const char*> ranges[] = {
      {"\xC0\0\2\1"s, "\xFF\xFF\xFF\0"s, "192.0.2.1/24"},
      {"\xC0\0\2\0"s, "\xFF\xFE\0\0"s, "192.0.2.0/15"},
      {"\xC0\0\2\0"s, "\xFF\0\xFF\0"s, "192.0.2.0/255.0.255.0"},
      {"\xC0\0\2\0"s, "\xFE\x80\0\0"s, "192.0.2.0/254.128.0.0"},
      {"\0\0\0\0"s, "\0\0\0\0"s, "0.0.0.0/0"},
      {groups({0xfe80, 0, 0, 0, 0, 0, 0, 0}), groups({0xffc0, 0, 0, 0, 0, 0, 0, 0}), "fe80::/10"},
      {groups({0, 0, 0, 0, 0, 0, 0, 0}), groups({0, 0, 0, 0, 0, 0, 0, 1}), "::/::1"},
  };
  for (const auto& [address, mask, text] : ranges) {
    EXPECT_EQ((IpRange{addressOf(address), addressOf(mask)}).text(), text);
  }
}

}  // namespace
}  // namespace velmora::test
