#include "velmora/support/text/byte_codecs.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {
namespace {

// Whether all was decoded, and the bytes.
std::pair<bool, std::string> decode(std::string_view text, const char* encoding) {
  DataBuffer out;
  out.append("|", 1);  // decoding appends
  const bool complete = out.appendEncoded(text, encoding);
  return {complete, std::string(out.view().substr(1))};
}

std::string encode(std::string_view bytes, const char* encoding) {
  DataBuffer in;
  in.append(bytes.data(), bytes.size());
  StringBuffer out("|");
  EXPECT_TRUE(in.encodeDB(encoding, out));
  return std::string(out.view().substr(1));
}

TEST(ByteCodecs, EncodeKnownBytes) {
  const std::tuple<std::string_view, std::string_view, std::string_view> cases[] = {
      // RFC 4648 §10
      {"", "base64", ""},
      {"foob", "BASE64", "Zm9vYg=="},
      {"fooba", "base64", "Zm9vYmE="},
      {"foobar", "base64", "Zm9vYmFy"},
      {"\xFB\xFF\xBF", "base64", "+/+/"},
      {"\xFB\xFF\xBF", "base64url", "-_-_"},
      {"foob", "base64Url", "Zm9vYg"},
      {"fooba", "base64url", "Zm9vYmE"},
      {"\x01\x9A\xBC\xDE\xF0", "hex", "019ABCDEF0"},
      {"\x01\x9A\xBC\xDE\xF0", "HexLower", "019abcdef0"},
  };
  for (const auto& [bytes, encoding, text] : cases) EXPECT_EQ(encode(bytes, encoding.data()), text);
}

TEST(ByteCodecs, DecodeUpToTheFault) {
  const struct {
    const char* encoding;
    std::string_view text, bytes;
    bool complete;
  } cases[] = {
      {"hex", " 4a\t4B\r\n4 c ", "JKL", true},
      {"hexlower", "4A4b", "JK", true},
      {"hex", "4a4", "J", false},
      {"hex", "4a0x4b", "J", false},
      {"hex", "4a4b g", "JK", false},
      {"hex", {"4a\0004b", 5}, "J", false},
      {"base64", "Zm9vYg", "foob", true},
      {"base64", "Zm9v\r\nYg = =\n", "foob", true},
      {"base64", "Zm9vYh==", "foob", true},  // bits that stand for nothing are not looked at
      {"base64", "Zm9vYg===", "foob", false},
      {"base64", "Zm9vYg==Zm9v", "foob", false},
      {"base64", "Zm9vYmE=,", "fooba", false},
      {"base64", "=", "", false},
      {"base64", "Zm9vY", "foo", false},
      {"base64", "Zm9vYm*v", "foob", false},
      {"base64", "Zm\xC3\xBC", "f", false},
      {"base64", "-_-_", "", false},
      {"base64url", "+/+/", "", false},
      {"base64url", "Zm9vYg==", "foob", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(decode(c.text, c.encoding), std::pair(c.complete, std::string(c.bytes)))
        << c.encoding << ": " << c.text;
  }
}

TEST(ByteCodecs, RefuseUnknownNames) {
  DataBuffer bytes;
  StringBuffer out;
  for (const char* name : {"", "hex ", "base32", "base64u"}) {
    EXPECT_FALSE(bytes.encodeDB(name, out));
    EXPECT_FALSE(bytes.appendEncoded("61", name));
  }
  EXPECT_FALSE(bytes.encodeDB(nullptr, out));
}

TEST(ByteCodecs, EveryLengthAndByteComesBack) {
  std::mt19937 random(1);
  std::string bytes;
  for (int length = 0; length < 300; ++length) {
    for (const char* encoding : {"hex", "hexlower", "base64", "base64url"}) {
      std::string text = encode(bytes, encoding);
      for (int spaces = 0; spaces < 3; ++spaces) {
        ASSERT_EQ(decode(text, encoding), std::pair(true, bytes)) << encoding << ": " << text;
        text.insert(random() % (text.size() + 1), 1, " \t\n\v\f\r"[random() % 6]);
      }
    }
    bytes.push_back(static_cast<char>(random()));
  }
}

}  // namespace
}  // namespace velmora
