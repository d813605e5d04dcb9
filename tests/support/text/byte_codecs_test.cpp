#include "velmora/support/text/byte_codecs.h"

#include <random>

#include "tests/common/table_file.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {
namespace {

using test::Row;

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
  for (const Row& row : test::tableOf("byte_codecs", "octets, encoding, text")) {
    EXPECT_EQ(encode(row[0], row[1].c_str()), row[2]);
  }
}

TEST(ByteCodecs, DecodeUpToTheFault) {
  for (const Row& row :
       test::tableOf("byte_codecs", "encoding, text, octets, whether that is all")) {
    EXPECT_EQ(decode(row[1], row[0].c_str()), std::pair(row[3] == "true", row[2])) << row[1];
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
