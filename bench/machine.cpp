#include <openssl/crypto.h>

#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>

#include "bench/benchmarks.h"
#include "bench/peers/peers.h"
#include "velmora/support/bignum/arithmetic_path.h"

namespace velmora::bench {

namespace {

// The value of the first line of /proc/cpuinfo with that key.
std::string cpuInfo(std::string_view key) {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    const size_t colon = line.find(": ");
    if (line.starts_with(key) && colon != line.npos) return line.substr(colon + 2);
  }
  return {};
}

}  // namespace

std::map<std::string, std::string> describeMachine() {
  std::istringstream words(cpuInfo("flags"));
  const std::set<std::string> flags(std::istream_iterator<std::string>(words), {});
  std::string cpu = cpuInfo("model name");
  for (const char* flag : {"bmi2", "adx", "avx2", "avx512ifma", "sha_ni"}) {
    cpu += std::string(flags.contains(flag) ? ", " : ", no ") + flag;
  }
  std::string paths;
  for (const vartime::ArithmeticPath path : vartime::kArithmeticPaths) {
    if (!vartime::arithmeticPathSupported(path)) continue;
    paths += std::string(paths.empty() ? "" : ", ") + vartime::arithmeticPathName(path);
  }
  std::map<std::string, std::string> out = {
      {"CPU", cpu},
      {"cores", std::to_string(std::thread::hardware_concurrency())},
      {"path", vartime::arithmeticPathName(vartime::bestArithmeticPath())},
      {"paths", paths},
#ifdef __clang__
      {"compiler", __VERSION__},
#else
      {"compiler", "GCC " __VERSION__},
#endif
#ifdef OPENSSL_INFO_CPU_SETTINGS
      {"OpenSSL's settings", OPENSSL_info(OPENSSL_INFO_CPU_SETTINGS)},
#endif
  };
  for (const std::unique_ptr<Peer>& peer : peers()) {
    const char* const separator = out["peers"].empty() ? "" : ", ";
    out["peers"] += separator + peer->who.key + "=" + peer->who.title;
    out["beside"] += separator + peer->who.version;
  }
  return out;
}

}  // namespace velmora::bench
