#include <mbedtls/version.h>
#include <openssl/crypto.h>

#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "bench/benchmarks.h"

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

StringBuffer describeMachine() {
  std::istringstream words(cpuInfo("flags"));
  const std::set<std::string> flags(std::istream_iterator<std::string>(words), {});
  StringBuffer out("CPU       ");
  out.append(cpuInfo("model name"));
  for (const char* flag : {"bmi2", "adx", "avx2", "avx512ifma", "sha_ni"}) {
    out.append3(flags.contains(flag) ? ", " : ", no ", flag, "");
  }
  out.append("\nCompiler  ");
#ifndef __clang__
  out.append("GCC ");
#endif
  out.append(__VERSION__);
  out.append3("\nBeside    ", OpenSSL_version(OPENSSL_VERSION), ", ");
  char mbedtls[18];
  mbedtls_version_get_string_full(mbedtls);
  out.append3(mbedtls, "\n", "");
  return out;
}

}  // namespace velmora::bench
