#include <functional>
#include <sstream>
#include <string>

#include "fuzz/fuzz_target.h"
#include "velmora/support/xml/cls_xml.h"

// Property: what loads is written as a text that is a fixed point; and a path reaches in any tree,
// be it read or built, what a naive search does, and changes nothing where that finds nothing. An
// input is a text that starts with a tag or a mark, or a program that adds elements and follows
// paths.

namespace velmora {
namespace {

using fuzz::require;

std::string textOf(const ClsXml& tree) {
  LogNull log;
  StringBuffer text;
  require(tree.getXml(true, text, log), "a tree has a text");
  return std::string(text.view());
}

void loadBack(std::string_view xml) {
  LogNull log;
  const _clsOwner tree(ClsXml::createNewCls()), again(ClsXml::createNewCls());
  if (!tree->loadXml(xml, true, log)) {
    require(textOf(*tree) == "<unnamed></unnamed>", "what is refused changes nothing");
    return;
  }
  const std::string text = textOf(*tree);
  require(again->loadXml(text, true, log) && textOf(*again) == text, "a fixed point");
}

using Accepts = std::function<bool(XmlIndex)>;

XmlIndex childOf(const XmlDocument& in, XmlIndex at, std::string_view name, size_t n) {
  for (XmlIndex i = in.firstChild(at); i != kNoXmlIndex; i = in.node(i).next) {
    if (in.name(i) == name && n-- == 0) return i;
  }
  return kNoXmlIndex;
}

XmlIndex below(const XmlDocument& in, XmlIndex at, std::string_view name, const Accepts& accepts) {
  for (XmlIndex i = in.firstChild(at); i != kNoXmlIndex; i = in.node(i).next) {
    if (in.name(i) == name && accepts(i)) return i;
    if (const XmlIndex found = below(in, i, name, accepts); found != kNoXmlIndex) return found;
  }
  return kNoXmlIndex;
}

XmlIndex take(const XmlDocument& in, XmlIndex from, const std::string& step, int j) {
  const std::string before = step.substr(0, step.find(','));
  const std::string behind = before.size() < step.size() ? step.substr(before.size() + 1) : "none";
  if (step == "..") return in.node(from).parent;
  if (step.starts_with("/C/") && before != step) {
    return below(in, from, before.substr(3), [&](XmlIndex i) { return in.content(i) == behind; });
  }
  if (step.starts_with("/A/")) {
    return below(in, from, before.substr(3), [&](XmlIndex i) {
      const XmlIndex first = in.firstAttribute(i);  // no element has two
      return first != kNoXmlIndex &&
             behind == "tag," + std::string(in.text(in.attribute(first).value));
    });
  }
  const size_t bracket = step.find('[');
  if (!step.ends_with(']') || bracket == step.npos) return childOf(in, from, step, 0);
  std::string index = step.substr(bracket + 1, step.size() - bracket - 2);
  if (index == "j") index = std::to_string(j);
  const bool isNumber = !index.empty() && index.find_first_not_of("0123456789") == index.npos;
  if (!isNumber || index.size() > 9) return kNoXmlIndex;
  return childOf(in, from, step.substr(0, bracket), std::stoul(index));
}

struct Program {
  const uint8_t* at;
  const uint8_t* end;
  const _clsOwner tree{ClsXml::createNewCls()};
  LogNull log = {};

  void run() {
    while (at != end) {
      const unsigned what = octet() % 8;
      what < 3 ? add() : what == 3 ? reload() : follow();
    }
  }
  unsigned octet() { return at == end ? 0 : *at++; }
  template <size_t kCount>
  const char* one(const char* const (&of)[kCount]) {
    return of[octet() % kCount];
  }
  void add() {
    require(tree->put_ContentUtf8(""), "content goes");  // beside elements no text can have it
    const char* const name = one({"sequence", "set", "other"});
    const char* const content = one({"", "1", "a,b", " ", "<&\"\r\n"});
    const char* const value = one({"", "0", "3", "3,4"});
    for (unsigned times = octet() % 4 == 0 ? 20 : 1; times != 0; --times) {  // beyond what is near
      const _clsOwner child(tree->newChild(name, content, &log));
      require(*value == '\0' || child->addAttribute("tag", value), "an attribute");
    }
  }
  void reload() {
    tree->GetRoot2();
    require(tree->loadXml(textOf(*tree), true, log), "what is built loads");
  }
  void follow() {
    const int j = static_cast<int>(octet() % 50) - 1;
    std::string path;
    for (unsigned tokens = octet() % 8 + 1; tokens != 0; --tokens) {
      path += one({"sequence", "set", "other", "|",      "|",    "|..|",
                   "[j]",      "[0]", "[1]",   "[02]",   "[-1]", "[4294967297]",
                   "/C/",      "/A/", ",",     ",tag,3", ",1",   ",a,b",
                   "..",       "*",   "$",     "["});
    }
    XmlIndex to = tree->nodeIndex();
    std::istringstream steps(path + '|');
    for (std::string step; to != kNoXmlIndex && std::getline(steps, step, '|');) {
      to = take(tree->document(), to, step, j);
    }
    tree->put_J(j);
    check(path, to);
    count(j);
  }
  void count(int j) {
    const XmlDocument& in = tree->document();
    int all = 0, sets = 0;
    XmlIndex found = kNoXmlIndex;
    for (XmlIndex i = in.firstChild(tree->nodeIndex()); i != kNoXmlIndex; i = in.node(i).next) {
      if (all++ == j) found = i;
      sets += in.name(i) == "set" ? 1 : 0;
    }
    const _clsOwner child(tree->GetChild(j));
    require(tree->numChildrenHavingTag("set", log) == sets, "as many");
    require(child ? child->nodeIndex() == found : found == kNoXmlIndex, "the n-th");
  }
  void check(const std::string& path, XmlIndex to) {
    XString content, kept;
    const XmlIndex before = tree->nodeIndex();
    const bool isThere = to != kNoXmlIndex;
    const std::string expected(isThere ? tree->document().content(to) : "kept");
    content.setFromUtf8("kept");
    kept.setFromUtf8("kept");
    require(tree->velmoraPath(path + "|*", content, log) == isThere, "what a path reaches");
    require(content.view() == expected && tree->nodeIndex() == before, "its content");
    require(tree->velmoraPath(path + "|$", kept, log) == isThere && kept.view() == "kept", "moves");
    require(tree->nodeIndex() == (isThere ? to : before), "to the very element");
  }
};

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  if (data[0] == '<' || data[0] >= 0xEF) {  // the marks of UTF-8 and UTF-16
    velmora::loadBack({reinterpret_cast<const char*>(data), size});
  } else {
    velmora::Program{data + 1, data + size}.run();
  }
  return 0;
}
