#include "velmora/support/text/byte_store.h"

#include <functional>

#include "tests/common/allocation_fault.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/text/x_string.h"

namespace velmora {
namespace {

using test::AllocationFault;
using test::forEachAllocationFault;

std::string_view view(const ByteStore& store) {
  return {reinterpret_cast<const char*>(store.data()), store.size()};
}

ByteStore storeOf(std::string_view text) {
  ByteStore store;
  EXPECT_TRUE(store.append(text.data(), text.size()));
  return store;
}

TEST(ByteStore, IsAlwaysFollowedByAZero) {
  ByteStore store;
  EXPECT_EQ(*std::as_const(store).data(), 0);
  for (unsigned char i = 1; i < 200; ++i) {
    ASSERT_TRUE(store.appendByte(i));
    ASSERT_EQ(store.data()[i], 0);
  }
  store.truncate(100);
  EXPECT_EQ(store.data()[100], 0);
  store.erase(90, SIZE_MAX);
  store.shrinkToFit();
  EXPECT_EQ(store.capacity(), 90U);
  EXPECT_EQ(store.data()[90], 0);
  store.clear();
  store.shrinkToFit();
  EXPECT_EQ(store.capacity(), 0U);
  EXPECT_EQ(*std::as_const(store).data(), 0);
}

TEST(ByteStore, TakesBytesOfItsOwn) {
  ByteStore store = storeOf("abcdef");
  store.shrinkToFit();  // every change below has to move to larger memory
  ASSERT_TRUE(store.append(store.data() + 1, 4));
  EXPECT_EQ(view(store), "abcdefbcde");
  store.shrinkToFit();
  ASSERT_TRUE(store.prepend(store.data() + 4, 3));
  EXPECT_EQ(view(store), "efbabcdefbcde");
  ASSERT_TRUE(store.assign(store.data() + 3, 4));
  EXPECT_EQ(view(store), "abcd");
  store.erase(1, 2);
  EXPECT_EQ(view(store), "ad");
}

TEST(ByteStore, AMarkedStoreRefusesToGrowAndEqualsNothing) {
  ByteStore store = storeOf("abc");
  EXPECT_TRUE(store.equals(store));
  EXPECT_EQ(store.extend(SIZE_MAX), nullptr);
  EXPECT_TRUE(store.failed());
  EXPECT_FALSE(store.appendByte('d') || store.prepend("d", 1) || store.append("", 0));
  EXPECT_EQ(view(store), "abc");
  EXPECT_FALSE(store.equals(store));
  EXPECT_FALSE(store.equals(storeOf("abc")));
  EXPECT_FALSE(storeOf("abc").equals(store));

  ByteStore copy = storeOf("x");
  EXPECT_FALSE(copy.append(store));
  EXPECT_TRUE(copy.failed()) << "the mark goes with the bytes";
  const ByteStore moved = std::move(store);
  EXPECT_TRUE(moved.failed());
  copy.clear();
  EXPECT_TRUE(copy.append("abc", 3));
  EXPECT_TRUE(copy.equals(storeOf("abc")));
}

TEST(Buffers, AMarkedTextComparesEqualToNothing) {
  StringBuffer text;
  {
    const AllocationFault fault(1);
    text.append("shortened");
  }
  EXPECT_FALSE(text.equals(text) || text.equals("") || text.equalsIgnoreCase(""));
  XString x;
  x.getUtf8Sb_rw().append(text);
  EXPECT_FALSE(x.equalsX(XString()));
  EXPECT_FALSE(XString().equalsIgnoreCaseUsAscii(x));

  DataBuffer bytes;
  bytes.extend(SIZE_MAX);
  StringBuffer encoded;
  EXPECT_FALSE(bytes.encodeDB("hex", encoded));
  EXPECT_FALSE(encoded.equals("")) << "the text of bytes that are missing is marked too";
  ExtPtrArraySb parts;
  EXPECT_FALSE(text.split(parts, ',', true, false));
}

// Every operation that adds bytes says so when it could not, and marks what it left short.
TEST(Buffers, MarkWhatMemoryDidNotSufficeFor) {
  const std::string_view longText(
      "0123456789 \xE4\xF6 \"quoted\" 0123456789, 0123456789, abcdefghijklmnopqrstuvwxyz\n");
  const auto* bytes = reinterpret_cast<const unsigned char*>(longText.data());
  const unsigned count = 64;
  const std::function<bool(StringBuffer&)> operations[] = {
      [&](StringBuffer& s) { return s.append(longText); },
      [&](StringBuffer& s) { return s.append3("0123456789012345", "0123456789012345", "0"); },
      [&](StringBuffer& s) { return s.setString(longText); },
      [&](StringBuffer& s) { return s.append(longText) && s.jsonEscape(); },
      [&](StringBuffer& s) {
        return s.append("abc") && s.replaceFirstOccurance("b", longText.data(), true);
      },
      [&](StringBuffer& s) {
        s.append("1234567890123456789012345678901");  // fills the first memory to the last byte
        s.canonicalizeHexString();
        return !s.failed();
      },
      [&](StringBuffer& s) { return appendLatin1AsUtf8(bytes, count, s); },
      [&](StringBuffer& s) {
        XString x;
        const bool done = x.appendAnsi(longText) && x.appendUtf16N_xe(bytes, count / 2) &&
                          x.appendHexDataNoWS(bytes, count);
        return s.append(x.getUtf8Sb()) && done;
      },
      [&](StringBuffer& s) {
        DataBuffer data;
        const bool done = data.append(bytes, count) && data.prepend(bytes, 20) &&
                          data.encodeDB("base64", s) && data.appendEncoded(s.view(), "base64");
        return s.append(data) && done;
      },
  };
  for (const auto& operation : operations) {
    StringBuffer text;
    bool result = false;
    const size_t faults = forEachAllocationFault(
        [&] {
          text.clear();
          result = operation(text);
        },
        [&](bool faulted) {
          ASSERT_EQ(result, !faulted);
          ASSERT_EQ(text.failed(), faulted);
        });
    EXPECT_GT(faults, 0U);
  }
}

}  // namespace
}  // namespace velmora
