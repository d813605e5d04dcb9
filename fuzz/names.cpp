#include <algorithm>
#include <array>
#include <functional>

#include "fuzz/fuzz_target.h"
#include "tests/common/der_builder.h"
#include "velmora/certificate/name.h"
#include "velmora/x509/velmora_x509.h"

// Property: in every style a name is written as its attributes are, each for itself, one behind the
// other; the text of RFC 4514 stands for the name, and what is read of that for itself to the
// octet. An input is the DER of a name, or such a text.

namespace {

using namespace velmora;
using namespace velmora::test;
using fuzz::require;

using Shown = std::array<std::string, 4>;  // with types and without; from behind: text and JSON

Shown show(const der::Bytes& name, int style, const char* keywords) {
  LogNull log;
  log.m_optionKeywords.setString(keywords);
  VelmoraX509 object;
  const auto der = withField(&der::Certificate::subject, name);
  const auto* const octets = reinterpret_cast<const unsigned char*>(der.data());
  const auto size = static_cast<unsigned>(der.size());
  XString line, values, reversed;
  StringBuffer json;
  require(object.loadX509DerAlt(octets, size, nullptr, log) &&
              object.getDN(true, true, line, log, style) &&
              object.getDN(true, false, values, log, style) &&
              object.getDN_reverseOrder(true, true, style, reversed, log) &&
              object.getDnJson(true, json, log, style),
          "it loads and shows");
  return {std::string(line.view()), std::string(values.view()), std::string(reversed.view()),
          std::string(json.view())};
}

std::string textOf(Bytes octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

void checkStyle(const der::Bytes& name, std::vector<Attribute> all, int style,
                const char* keywords) {
  const bool isTight = style == 22 || std::string_view(keywords).ends_with("nospaceaftercomma");
  Shown expected;
  for (size_t what = 0; what < expected.size(); ++what) {
    uint32_t rdn = UINT32_MAX;
    if (what == 2) std::ranges::stable_sort(all, std::greater(), &Attribute::rdn);
    for (const Attribute& each : all) {
      const bool isSameRdn = std::exchange(rdn, each.rdn) == each.rdn, isJson = what == 3;
      if (isJson && isSameRdn) continue;
      const auto alone = sequence(element(6, textOf(each.rawType)), textOf(each.der));
      const char* const separator = isSameRdn && style == 6 ? " + "
                                    : isTight || isJson     ? ","
                                                            : ", ";
      expected[what] += (expected[what].empty() ? "" : separator) +
                        show(sequence(set(alone)), style, keywords)[what];
    }
  }
  require(show(name, style, keywords) == expected, "attribute by attribute");
}

// Whether all its text is in types that are equal to those which Name::parse makes.
bool isFolded(const Attribute& each) {
  const bool hasIa5 = each.type == oid::emailAddress || each.type == oid::domainComponent;
  return each.kind == TextKind::none || each.kind == TextKind::utf8 ||
         each.kind == TextKind::printable || (each.kind == TextKind::ia5 && hasIa5);
}

void check(const Name& name) {
  const auto all = name.attributes();
  const Result<std::string> text = name.rfc4514();
  constexpr const char* kKeywords[] = {"", "DN_Lowercase", "x dn_nospaceaftercomma",
                                       "OrgID_OID_Hex"};
  constexpr int kStyles[] = {0, 1, 2, 3, 4, 5, 6, 22};
  const std::string der = textOf(name.der());  // whose size chooses, since they take long
  if (all && all->size() < 8) {
    checkStyle(der, *all, kStyles[der.size() % 8], kKeywords[der.size() / 8 % 4]);
  }
  if (!text || text->size() > 0x10000) return;
  const Result<Name> back = Name::parse(*text);
  require(back && (back->matches(name) || !std::ranges::all_of(*all, isFolded)),
          "it stands for it");
  const Result<std::string> again = back->rfc4514();
  require(again && Name::parse(*again) && *Name::parse(*again) == *back, "and so does its own");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto name = Name::fromDer(std::as_bytes(std::span(data, size)))) return check(*name), 0;
  const Result<Name> parsed = Name::parse(text);
  require(parsed || parsed.error().offset <= size, "an error is inside");
  if (parsed) check(*parsed);
  return 0;
}
