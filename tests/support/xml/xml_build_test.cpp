
#include <functional>

#include "tests/common/allocation_fault.h"
#include "tests/support/xml/xml_test_support.h"

namespace velmora {
namespace {

using test::load;
using test::textOf;
using namespace std::string_literals;

ClsXml* handleNamed(const char* tag) {
  ClsXml* xml = ClsXml::createNewCls();
  EXPECT_TRUE(xml->put_TagUtf8(tag));
  return xml;
}

TEST(XmlBuild, BuildsWhatWasAskedFor) {
  LogNull log;
  _clsOwner xml(ClsXml::createNewCls());
  EXPECT_TRUE(xml->tagEquals("unnamed"));
  ASSERT_TRUE(xml->put_TagUtf8("SubjectAltName"));
  _clsOwner name(xml->newChild("name", nullptr, nullptr));
  ASSERT_TRUE(name);
  EXPECT_EQ(name->refCount(), 1);
  EXPECT_TRUE(name->addAttribute("type", "oid"));
  EXPECT_TRUE(name->addAttribute("oid", "1.2.3"));
  EXPECT_TRUE(name->addAttribute("type", "o\"id"));  // keeps its place
  EXPECT_TRUE(name->put_ContentUtf8("a<b&c"));
  EXPECT_STREQ(name->getContentPtr_careful(), "a<b&c");
  EXPECT_TRUE(name->appendNewChild2("2.5.4.3", "Z\xC3\xBCrich"));
  EXPECT_TRUE(name->appendNewChild2("2.5.4.3", "a\0b"s));
  EXPECT_EQ(textOf(*xml),
            "<SubjectAltName><name type=\"o&quot;id\" oid=\"1.2.3\">a&lt;b&amp;c"
            "<2.5.4.3>Z\xC3\xBCrich</2.5.4.3><2.5.4.3>a&#0;b</2.5.4.3></name></SubjectAltName>");
  XString all("before");
  EXPECT_TRUE(name->GetXml(all));  // the whole document, from any handle
  EXPECT_EQ(all.view(), textOf(*xml));

  EXPECT_TRUE(name->hasAttrWithValue("oid", "1.2.3"));
  EXPECT_FALSE(name->hasAttrWithValue("oid", "1.2"));
  ASSERT_TRUE(name->LastChild2());
  EXPECT_FALSE(name->contentEquals("a"));
  StringBuffer content("x");
  EXPECT_TRUE(name->getContentSb(content));
  EXPECT_EQ(content.view(), "xa\0b"s);
  EXPECT_TRUE(name->get_Content(content));
  EXPECT_EQ(content.view(), "a\0b"s);
}

TEST(XmlBuild, RefusesNamesThatCannotBeReadBack) {
  _clsOwner xml(handleNamed("root"));
  for (const std::string& bad : {""s, " "s, "a b"s, "a>"s, "a/"s, "-a"s, ".a"s, "a&"s, "a\n"s,
                                 "\xFF"s, "a\xC3"s, "a=b"s, "a\""s, std::string(65536, 'a')}) {
    EXPECT_FALSE(xml->put_TagUtf8(bad.c_str())) << bad;
    EXPECT_FALSE(xml->addAttribute(bad.c_str(), "x")) << bad;
    EXPECT_FALSE(xml->appendNewChild2(bad.c_str(), "x")) << bad;
    EXPECT_EQ(xml->newChild(bad.c_str(), "x", nullptr), nullptr) << bad;
  }
  EXPECT_FALSE(xml->put_TagUtf8(nullptr));
  EXPECT_EQ(textOf(*xml), "<root></root>");
  for (int i = 0; i < 256; ++i) {
    EXPECT_TRUE(xml->addAttribute(("a" + std::to_string(i)).c_str(), "x"));
  }
  EXPECT_FALSE(xml->addAttribute("tooMany", "x"));
  EXPECT_TRUE(xml->addAttribute("a7", "y"));
  EXPECT_EQ(xml->document().attributeCount(), 256U);
}

TEST(XmlBuild, ContentIsMadeUtf8AndMayComeFromTheDocument) {
  _clsOwner xml(handleNamed("r"));
  EXPECT_TRUE(xml->put_ContentUtf8("a\xFF\xC3(\xED\xA0\x80"));
  EXPECT_TRUE(xml->addAttribute("b", "\x80"));
  const std::string r = "\xEF\xBF\xBD";
  EXPECT_EQ(textOf(*xml), "<r b=\"" + r + "\">a" + r + r + "(" + r + r + r + "</r>");
  EXPECT_TRUE(xml->put_ContentUtf8(std::string(50, 'x')));
  for (int i = 0; i < 12; ++i) {  // each makes the text move
    EXPECT_TRUE(xml->put_ContentUtf8(std::string(xml->contentView()) + "y"));
    EXPECT_TRUE(xml->appendNewChild2("c", xml->contentView()));
  }
  EXPECT_TRUE(xml->LastChild2());
  EXPECT_EQ(xml->contentView(), std::string(50, 'x') + std::string(12, 'y'));
  EXPECT_TRUE(xml->addAttribute("self", xml->getContentPtr_careful()));
  EXPECT_TRUE(xml->put_TagUtf8(xml->getContentPtr_careful()));
  EXPECT_EQ(xml->tagView(), xml->contentView());
}

TEST(XmlBuild, AttributeNumbers) {
  const std::pair<const char*, int> cases[] = {
      {"-3", -3}, {"", 0}, {"3x", 0}, {" 3", 0}, {"2147483647", 2147483647}, {"2147483648", 0}};
  _clsOwner xml(handleNamed("r"));
  EXPECT_EQ(xml->getAttrValueInt("tag"), 0);
  for (const auto& [value, number] : cases) {
    EXPECT_TRUE(xml->addAttribute("tag", value));
    EXPECT_EQ(xml->getAttrValueInt("tag"), number) << value;
  }
}

TEST(XmlBuild, MovesStayWithinTheTree) {
  const _clsOwner xml(load("<r><a><b/></a><c/><d/></r>"));
  EXPECT_FALSE(xml->getParent2() || xml->NextSibling2() || xml->PreviousSibling2());
  EXPECT_FALSE(xml->getChild2(3) || xml->getChild2(-1) || xml->findChild2("b"));
  EXPECT_EQ(xml->GetChild(3), nullptr);
  EXPECT_TRUE(xml->hasChildWithTag("c") && !xml->hasChildWithTag("b"));
  ASSERT_TRUE(xml->GetChild2(2));
  EXPECT_TRUE(xml->tagEquals("d") && !xml->NextSibling2() && xml->PreviousSibling2());
  EXPECT_TRUE(xml->tagEquals("c") && xml->PreviousSibling2() && !xml->PreviousSibling2());
  EXPECT_TRUE(xml->FirstChild2() && xml->tagEquals("b") && !xml->FirstChild2());
  EXPECT_FALSE(xml->LastChild2() || xml->NextSibling2());
  EXPECT_TRUE(xml->GetParent2() && xml->tagEquals("a") && xml->NextSibling2());
  EXPECT_TRUE(xml->GetRoot2() && xml->findChild2("d") && xml->tagEquals("d"));
}

TEST(XmlBuild, HandlesShareADocumentUntilOneLoadsAnother) {
  LogNull log;
  ClsXml* xml = load("<r><a>1</a><b>2</b></r>");
  ClsXml* child = xml->GetChild(1);
  ASSERT_NE(child, nullptr);
  EXPECT_TRUE(xml->appendNewChild2("c", "3"));
  EXPECT_TRUE(child->NextSibling2() && child->contentEquals("3"));
  EXPECT_TRUE(xml->loadXml("<other/>"s, false, log));
  EXPECT_EQ(textOf(*xml), "<other></other>");
  EXPECT_EQ(textOf(*child), "<c>3</c>");
  child->incRefCount();  // a holder that releases twice counts once more first
  child->decRefCount();
  EXPECT_TRUE(child->getParent2());
  child->deleteSelf();
  xml->deleteSelf();
}

TEST(XmlBuild, AddsCopiesOfTrees) {
  LogNull log;
  _clsOwner xml(load("<r><a>1</a></r>"));
  _clsOwner tree(load("<t x=\"1\" mine=\"2\">c<u><v>d</v></u><w></w></t>"));
  const std::string text = textOf(*tree);
  ASSERT_TRUE(tree->FirstChild2());  // the copy is of the document, wherever the handle stands
  EXPECT_TRUE(xml->addChildTree(-1, *tree, log));
  EXPECT_TRUE(xml->addChildTree(0, *tree, log));
  EXPECT_TRUE(xml->addChildTree(99, *tree, log));
  EXPECT_EQ(textOf(*xml), "<r>" + text + "<a>1</a>" + text + text + "</r>");
  EXPECT_EQ(xml->get_NumChildren(), 4);
  ASSERT_TRUE(xml->getChild2(1) && xml->PreviousSibling2() && xml->NextSibling2());
  EXPECT_TRUE(xml->addChildTree(0, *tree, log));
  EXPECT_EQ(textOf(*xml), "<a>1" + text + "</a>");
  ASSERT_TRUE(tree->addChildTree(0, *tree, log));  // into itself, below its own first child
  EXPECT_EQ(textOf(*tree), "<u>" + text + "<v>d</v></u>");
  EXPECT_NE(textOf(*xml), textOf(*tree));
}

// The last child of a number or tag is remembered, so that a loop over many is quick, but not
// beyond a change.
TEST(XmlBuild, ManyChildren) {
  constexpr int kCount = 1000;
  std::string text = "<r>";
  for (int i = 0; i < kCount; ++i) {
    text += "<x>" + std::to_string(i) + "</x>";
    text += i % 2 == 0 ? "<set><int>1</int></set>" : "<y/>";
  }
  LogNull log;
  const _clsOwner xml(load(text + "</r>")), tree(load("<x>new</x>"));
  StringBuffer content;
  for (int i = 0; i < kCount; ++i) {
    ASSERT_TRUE(xml->getChild2(2 * i));
    ASSERT_EQ(xml->contentView(), std::to_string(i));
    ASSERT_TRUE(xml->getParent2());
    xml->put_J(i);
    ASSERT_TRUE(xml->getChildContentUtf8("x[j]", content, false));
    ASSERT_EQ(content.view(), std::to_string(i));
    ASSERT_EQ(xml->getChildContentUtf8("set[j]|int[0]", content, false), i < kCount / 2);
  }
  EXPECT_EQ(xml->numChildrenHavingTag("x", log), kCount);
  ASSERT_TRUE(xml->getChild2(100) && xml->put_TagUtf8("set") && xml->getParent2());
  EXPECT_EQ(xml->numChildrenHavingTag("x", log), kCount - 1);
  ASSERT_TRUE(xml->addChildTree(0, *tree, log));
  for (const auto& [path, expected] : {std::pair("x[100]", "100"), {"x[10]", "9"}}) {
    EXPECT_TRUE(xml->getChildContentUtf8(path, content, false));
    EXPECT_EQ(content.view(), expected);
  }
}

TEST(XmlBuild, BinaryContentOfAnotherFormIsRefusedWithTheReason) {
  const _clsOwner xml(ClsXml::createNewCls());
  LogNull quiet;
  DataBuffer digits;
  digits.append("0123456789", 10);
  ASSERT_TRUE(xml->setBinaryContent(digits, true, false, nullptr, quiet));
  const std::string zipped(xml->contentView());
  // With what reason it is refused; "": it reads back.
  const std::tuple<std::string, bool, size_t, const char*> kCases[] = {
      {zipped, true, 10, ""},
      {zipped, true, 9, "the output is larger than allowed"},
      {"MDEyMzQ1Njc4OQ==", false, 10, ""},
      {"MDEyMzQ1Njc4OQ==", false, 9, "the output is larger than allowed"},
      {"no base64!", false, 10, "Failed to decode binary content."},
      {"AAAA", true, 10, "Failed to read binary content."},
  };
  for (const auto& [content, zip, maxSize, reason] : kCases) {
    LogText log;
    ASSERT_TRUE(xml->put_ContentUtf8(content));
    DataBuffer out;
    out.appendChar('x');
    EXPECT_EQ(xml->getBinaryContent(zip, maxSize, out, log), *reason == 0);
    EXPECT_EQ(out.view(), *reason == 0 ? "x0123456789" : "x");
    EXPECT_TRUE(log.text().containsSubstring(reason)) << log.text().view();
  }
}

// An operation that ran out of memory gives false and leaves the document as it was.
TEST(XmlAllocation, FailsCleanly) {
  LogNull log;
  const std::string large(1000, 'x');  // more than any array has to spare
  const std::string repaired = large + "\xFF";
  _clsOwner source(load("<t a=\"1\" b=\"2\">" + large + "<u>d</u><v/></t>"));
  const std::function<bool(ClsXml&)> operations[] = {
      [&](ClsXml& xml) { return xml.put_ContentUtf8(repaired); },
      [&](ClsXml& xml) { return xml.put_TagUtf8(large.c_str()); },
      [&](ClsXml& xml) { return xml.addAttribute(large.c_str(), "y"); },
      [&](ClsXml& xml) { return xml.addAttribute("x", large); },
      [&](ClsXml& xml) { return xml.appendNewChild2("child", large); },
      [](ClsXml& xml) { return _clsOwner(xml.newChild("child", "y", nullptr)).get() != nullptr; },
      [&](ClsXml& xml) { return xml.addChildTree(0, *source, log); },
  };
  const std::string before = "<r x=\"1\">2<s></s></r>";
  for (const auto& operation : operations) {
    _clsOwner xml(load(before));
    std::string after;
    bool done = false;
    const size_t faults = test::forEachAllocationFault([&] { done = operation(*xml); },
                                                       [&](bool faulted) {
                                                         EXPECT_EQ(done, !faulted);
                                                         after = textOf(*xml);
                                                         EXPECT_EQ(after == before, faulted);
                                                       });
    EXPECT_GT(faults, 0U);
  }
}

}  // namespace
}  // namespace velmora
