#include <charconv>
#include <string>

#include "fuzz/fuzz_target.h"
#include "viewer/module/session.h"

// Property: what the viewer says of an input is the same in whatever pieces it comes, and every
// element of a certificate that it lists lies inside the one around it.

namespace velmora::viewer {
namespace {

using fuzz::require;

std::string read(Session& session, std::span<const unsigned char> input, size_t cut) {
  StringBuffer out;
  session.begin("input");
  session.feed(input.first(cut), out);
  session.feed(input.subspan(cut), out);
  session.finish(out);
  return std::string(out.view());
}

// The numbers that every list inside a list of some JSON starts with: [offset, header, content,
// depth].
std::vector<std::vector<size_t>> listed(std::string_view json) {
  std::vector<std::vector<size_t>> lists;
  bool isText = false;
  for (size_t at = 0; at < json.size(); ++at) {
    if (json[at] == '"') isText = !isText;
    if (isText && json[at] == '\\') ++at;
    if (isText || json[at] != '[' || json[at + 1] < '0' || json[at + 1] > '9') continue;
    std::vector<size_t>& numbers = lists.emplace_back();
    for (const char* next = &json[at]; numbers.size() < 4;) {
      next = std::from_chars(next + 1, json.data() + json.size(), numbers.emplace_back()).ptr;
    }
  }
  return lists;
}

void askElements(const Session& session, size_t row) {
  StringBuffer octets;
  StringBuffer json;
  session.octets(row, octets);
  session.elements(row, json);
  std::vector<size_t> ends = {octets.getSize()};
  for (const std::vector<size_t>& each : listed(json.view())) {
    const size_t depth = each[3];
    require(depth < ends.size(), "a member follows what it is in");
    ends.resize(depth + 1);
    const size_t end = each[0] + each[1] + each[2];
    require(each[1] >= 2 && end <= ends.back(), "an element is inside the one around it");
    ends.push_back(end);
    session.value(row, each[0], json);
  }
  require(ends.size() > 1, "there is an element");
}

}  // namespace
}  // namespace velmora::viewer

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  using namespace velmora::viewer;
  Session session;
  Session other;
  const std::string whole = read(session, {data, size}, size);
  velmora::fuzz::require(whole == read(other, {data, size}, size / 2), "pieces do not matter");
  constexpr size_t kMostRows = 3;
  for (size_t row = 0; row < kMostRows; ++row) {
    velmora::StringBuffer out;
    session.pem(row, out);
    if (out.isEmpty()) break;
    askElements(session, row);
    session.show(row, out);
    session.summary(row, out);
    session.differences(0, row, out);
    session.trust(row, true);
    session.verify(row, {}, out);
  }
  return 0;
}
