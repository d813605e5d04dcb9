

#include "tests/common/table_file.h"
#include "tests/support/xml/xml_test_support.h"

namespace velmora {
namespace {

using test::load;
using test::Row;

// In the shape of a certificate, with names that only a text comparison can tell apart.
constexpr std::string_view kDocument =
    "<sequence>"
    "<sequence>"
    "<contextSpecific tag=\"0\" constructed=\"1\"><int>02</int></contextSpecific>"
    "<int>0A</int>"
    "<sequence><oid>1.2.3</oid></sequence>"
    "<sequence>"
    "<set><sequence><oid>2.5.4.6</oid><printable>US</printable></sequence></set>"
    "<set><sequence><oid>2.5.4.3</oid><utf8>a, b</utf8></sequence></set>"
    "</sequence>"
    "<mine>x</mine><mine2>y</mine2><mine>z</mine>"
    "<contextSpecific tag=\"3\" constructed=\"1\"><sequence><oid>2.5.29.14</oid>"
    "</sequence></contextSpecific>"
    "</sequence>"
    "<sequence><oid>1.2.4</oid></sequence>"
    "<bits>FF</bits>"
    "</sequence>";

TEST(XmlPath, ReadsContentWithoutMoving) {
  const _clsOwner xml(load(kDocument));
  xml->put_J(1);
  LogNull log;
  for (const Row& row : test::tableOf("xml_paths", "a path, and the content that it reads")) {
    const std::string &path = row[0], &content = row[1];
    XString result("before");
    EXPECT_TRUE(xml->velmoraPath(path, result, log)) << path;
    EXPECT_EQ(result.view(), content) << path;
    EXPECT_FALSE(xml->getParent2()) << path;
  }
}

TEST(XmlPath, WhatFindsNothingChangesNothing) {
  const std::vector<Row> paths = test::tableOf("xml_paths", "paths that find nothing");
  const _clsOwner xml(load(kDocument));
  xml->put_J(5);
  LogNull log;
  const auto expectNothing = [&](std::string_view path) {
    XString result("before");
    EXPECT_FALSE(xml->velmoraPath(path, result, log)) << path;
    EXPECT_EQ(result.view(), "before") << path;
    EXPECT_FALSE(xml->getParent2()) << path;
  };
  for (const Row& row : paths) {
    std::string path = row[0];
    expectNothing(path);
    if (path.ends_with('*')) expectNothing(path.replace(path.size() - 1, 1, "$"));
  }
  expectNothing(std::string_view("bits\0|*", 7));
  XString path("bits|*");
  EXPECT_TRUE(xml->VelmoraPath(path, path));
  EXPECT_EQ(path.view(), "FF");
}

TEST(XmlPath, MovesAndGoesOnFromThere) {
  const _clsOwner xml(load(kDocument));
  LogNull log;
  XString result("before");
  ASSERT_TRUE(xml->velmoraPath("sequence|sequence[1]|$", result, log));
  EXPECT_EQ(result.view(), "before");
  EXPECT_TRUE(xml->velmoraPath("/C/oid,2.5.4.3|..|utf8|*", result, log));
  EXPECT_EQ(result.view(), "a, b");
  EXPECT_FALSE(xml->velmoraPath("/C/oid,2.5.29.14|$", result, log));  // stands outside
  EXPECT_TRUE(xml->velmoraPath("$", result, log));
  EXPECT_EQ(xml->get_NumChildren(), 2);
  EXPECT_TRUE(xml->velmoraPath("..|int|$", result, log));
  EXPECT_TRUE(xml->contentEquals("0A"));
}

TEST(XmlPath, PlainSteps) {
  const _clsOwner xml(load(kDocument));
  LogNull log;
  _clsOwner names(xml->getChildWithTagUtf8("sequence|sequence[1]"));
  ASSERT_TRUE(names);
  EXPECT_EQ(xml->numChildrenHavingTag("sequence|sequence[1]|set", log), 2);
  EXPECT_EQ(xml->numChildrenHavingTag("sequence|mine", log), 2);
  for (const char* path : {"", "set", "absent|set", "sequence|set[0]", "sequence|*", "|sequence"}) {
    EXPECT_EQ(xml->numChildrenHavingTag(path, log), 0) << path;
    EXPECT_EQ(_clsOwner(xml->getChildWithTagUtf8(path)).get(), nullptr) << path;
  }

  StringBuffer out("before");
  names->put_J(1);
  EXPECT_TRUE(names->getChildContentUtf8("set[j]|sequence|oid", out, false));
  EXPECT_EQ(out.view(), "2.5.4.3");
  EXPECT_FALSE(names->getChildContentUtf8("set[j]|sequence|ia5", out, false));
  EXPECT_TRUE(out.isEmpty());
  names->put_J(-1);
  EXPECT_FALSE(names->getChildContentUtf8("set[j]", out, false));
}

}  // namespace
}  // namespace velmora
