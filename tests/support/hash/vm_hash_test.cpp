#include "velmora/support/hash/vm_hash.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora {
namespace {

struct Algorithm {
  int id;
  const char* digits;
  const char* oid;
  const char* startOfAbc;  // of the digest of "abc"
  size_t size;
};

const Algorithm kAlgorithms[] = {
    {1, "1", "1.3.14.3.2.26", "A9993E36", 20},
    {2, "384", "2.16.840.1.101.3.4.2.2", "CB00753F", 48},
    {3, "512", "2.16.840.1.101.3.4.2.3", "DDAF35A1", 64},
    {7, "256", "2.16.840.1.101.3.4.2.1", "BA7816BF", 32},
};

TEST(VmHash, IdentifiersNamesAndOids) {
  for (const Algorithm& algorithm : kAlgorithms) {
    for (const char* prefix : {"sha", "SHA", "Sha-", "sHA-"}) {
      const std::string name = std::string(prefix) + algorithm.digits;
      EXPECT_EQ(_vmHash::hashId(name.c_str()), algorithm.id) << name;
      EXPECT_EQ(_vmHash::hashId(StringBuffer(name)), algorithm.id) << name;
    }
    EXPECT_EQ(_vmHash::oidToHashAlg(StringBuffer(algorithm.oid)), algorithm.id);
    EXPECT_EQ(_vmHash::digestSize(algorithm.id), algorithm.size);
  }
}

TEST(VmHash, WhatIsNotAHashIsUnknown) {
  using namespace std::string_view_literals;
  for (const std::string_view name :
       {""sv, "sha"sv, "sha-"sv, "sha--1"sv, "1"sv, "sha2"sv, "sha224"sv, "sha-1 "sv, " sha1"sv,
        "sha256\0"sv, "sha2567"sv, "sha512/256"sv, "sh-a1"sv, "md5"sv}) {
    EXPECT_EQ(_vmHash::hashId(name), 0) << name;
  }
  EXPECT_EQ(_vmHash::hashId(static_cast<const char*>(nullptr)), 0);
  for (const std::string_view oid : {""sv, "1.3.14.3.2"sv, "1.3.14.3.2.26.1"sv, "1.3.14.3.2.26\0"sv,
                                     "2.16.840.1.101.3.4.2.4"sv, "1.2.840.113549.2.5"sv}) {
    EXPECT_EQ(_vmHash::oidToHashAlg(StringBuffer(oid)), 0) << oid;
  }
}

TEST(VmHash, DoHashAppendsTheDigest) {
  for (const Algorithm& algorithm : kAlgorithms) {
    DataBuffer out;
    out.append("abc", 3);
    _vmHash::doHash(out.data(), 3, algorithm.id, out);
    ASSERT_EQ(out.size(), 3 + algorithm.size);
    StringBuffer hex;
    out.encodeDB("hex", hex);
    EXPECT_EQ(hex.view().substr(0, 14), std::string("616263") + algorithm.startOfAbc);
  }
  for (const int id : {-1, 0, 4, 8}) {
    DataBuffer out;
    _vmHash::doHash("abc", 3, id, out);
    EXPECT_TRUE(out.empty()) << id;
    unsigned char untouched[_vmHash::kMaxDigestSize] = {0x77};
    EXPECT_EQ(_vmHash::hashTo("abc", 3, id, untouched), 0U);
    EXPECT_EQ(untouched[0], 0x77);
    EXPECT_EQ(_vmHash::digestSize(id), 0U);
  }
}

}  // namespace
}  // namespace velmora
