#include <deque>
#include <sstream>

#include "tests/certificate/typed_test.h"
#include "tests/common/table_file.h"
#include "velmora/path/internal/policy_graph.h"

namespace velmora::test {
namespace {

constexpr uint32_t kPlenty = 250'000;

// "A" is a policy of its own, "*" anyPolicy.
std::string oidOf(char policy) {
  return policy == '*' ? "2.5.29.32.0" : "1.3.6.1.4.1." + std::to_string(policy);
}
std::string letterOf(const Oid& policy) {
  return std::string(1, static_cast<char>(std::stoi(policy.text().substr(12))));
}
std::string number(const std::string& word) {
  return {static_cast<char>(std::stoi(word.substr(word.find('=') + 1)))};
}

// A certificate in words: policies, "A>B" for mappings, "A=uri" for a policy with a CPS,
// "explicit=0", "mapping=0" and "any=0" for the constraints, "self" for self-issued.
struct Described {
  explicit Described(const std::string& words) {
    std::string policies, mappings, constraints, any;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
      if (word == "self") {
        isSelfIssued = true;
      } else if (word.starts_with("explicit=")) {
        constraints = primitive(0, number(word)) + constraints;
      } else if (word.starts_with("mapping=")) {
        constraints += primitive(1, number(word));
      } else if (word.starts_with("any=")) {
        any = extension("2.5.29.54", octets(integer(number(word))));
      } else if (word.size() == 3 && word[1] == '>') {
        mappings += sequence(der::oid(oidOf(word[0])), der::oid(oidOf(word[2])));
      } else if (word != "-") {
        policies += policy(word);
      }
    }
    const auto list = [](const char* oid, const std::string& members) {
      return members.empty() ? "" : extension(oid, octets(sequence(members)));
    };
    certificate = parsed(withExtensions(list("2.5.29.32", policies), list("2.5.29.33", mappings),
                                        list("2.5.29.36", constraints), any));
  }

  static std::string policy(const std::string& word) {
    const std::string cps = word.size() < 2 ? "" : ia5(word.substr(2));
    return sequence(der::oid(oidOf(word[0])),
                    cps.empty() ? "" : sequence(sequence(der::oid("1.3.6.1.5.5.7.2.1"), cps)));
  }

  Certificate certificate = parsed(der::Certificate().der());
  bool isSelfIssued = false;
};

PolicyOptions optionsOf(const std::string& words) {
  PolicyOptions options;
  std::istringstream stream(words);
  for (std::string word; stream >> word;) {
    if (word.size() == 1) options.accepted.push_back(*Oid::parse(oidOf(word[0])));
    if (word == "explicit") options.requireExplicit = true;
    if (word == "implicit") options.requireExplicit = false;
    if (word == "nomapping") options.inhibitMapping = true;
    if (word == "noany") options.inhibitAny = true;
  }
  return options;
}

PolicyAnswer judge(const std::vector<std::string>& way, const std::string& options,
                   uint32_t& comparisons) {
  const std::vector<Described> described(way.begin(), way.end());
  std::vector<PolicyInput> inputs;
  std::deque<CertificatePolicies> policies;
  for (const Described& one : described) {
    inputs.push_back({&policies.emplace_back(one.certificate), one.isSelfIssued});
  }
  return judgePolicies(inputs, optionsOf(options), comparisons);
}

// The policies held with the CPS URIs of each, "*" for anyPolicy; or where there are none any more.
std::string textOf(const PolicyAnswer& answer) {
  EXPECT_TRUE(answer.isCounted);
  const std::string at = "@" + std::to_string(answer.refusedAt);
  if (!answer.isEnough) return (answer.mapsAny ? "maps any" : "refused") + at;
  std::string text = answer.holdsAny ? "*" : "";
  for (const HeldPolicy& held : answer.held) {
    text += letterOf(held.id);
    for (const PolicyQualifier& qualifier : held.qualifiers) {
      text += "=" + std::get<CpsUri>(qualifier).text;
    }
  }
  return text;
}

TEST(Policies, HoldForTheWholeWay) {
  for (const Row& row :
       tableOf("policies", "certificates from the anchor down, what is asked, what holds then")) {
    std::vector<std::string> way;
    std::istringstream certificates(row[0]);
    for (std::string one; std::getline(certificates, one, '/');) way.push_back(one);
    uint32_t comparisons = kPlenty;
    EXPECT_EQ(textOf(judge(way, row[1], comparisons)), row[2]) << row[0] << ' ' << row[1];
  }
}

// Each certificate doubles the nodes of a tree; of the graph it adds two.
TEST(Policies, CostNoMoreThanTheyAreMany) {
  std::vector<std::string> way(63, "A B A>A A>B B>A B>B");
  way.push_back("A=x");
  uint32_t left = kPlenty;
  EXPECT_EQ(textOf(judge(way, "explicit", left)), "A=xB");
  const uint32_t used = kPlenty - left;
  EXPECT_LT(used, 64u * 16);
  left = used;
  EXPECT_TRUE(judge(way, "explicit", left).isCounted);
  EXPECT_EQ(left, 0u);
  left = used - 1;
  EXPECT_FALSE(judge(way, "explicit", left).isCounted);
}

}  // namespace
}  // namespace velmora::test
