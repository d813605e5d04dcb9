// bench_growth [--memory] FILE...: how long each question to what the files hold takes.
// Of DER: loading it, every getter of VelmoraX509, typed parsing and every question to a
// Certificate. Of all forms: reading. Prints a line for each with the nanoseconds of CPU of the
// quickest of a few runs, or with the most octets that a process has that asks nothing else.
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/x509/all_getters.h"
#include "velmora/reading/reading.h"

namespace velmora::bench {
namespace {

int64_t cpuNanoseconds() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return int64_t{1'000'000'000} * now.tv_sec + now.tv_nsec;
}

bool asksForMemory = false;

int64_t peakOctets(const std::function<void()>& run) {
  const pid_t child = fork();
  if (child == 0) {
    run();
    _exit(0);
  }
  rusage used = {};
  int status = 0;
  if (wait4(child, &status, 0, &used) != child || status != 0) std::abort();
  return int64_t{1024} * used.ru_maxrss;
}

// What takes long is run once or twice: how it grows shows then as well.
void measure(const std::string& name, const std::function<void()>& run) {
  if (asksForMemory) {
    std::cout << peakOctets(run) << ' ' << name << std::endl;
    return;
  }
  constexpr int kMostRuns = 5;
  constexpr int64_t kEnough = 50'000'000;
  int64_t best = INT64_MAX, all = 0;
  for (int i = 0; i < kMostRuns && all < kEnough; ++i) {
    const int64_t start = cpuNanoseconds();
    run();
    const int64_t took = cpuNanoseconds() - start;
    best = std::min(best, took);
    all += took;
  }
  std::cout << best << ' ' << name << '\n';
}

// Every question, each as what is called with a certificate.
constexpr std::pair<const char*, void (*)(const Certificate&)> kQuestions[] = {
    {"rfc4514", [](auto& c) { (void)c.subject().rfc4514(); }},
    {"attributes", [](auto& c) { (void)c.subject().attributes(); }},
    {"find", [](auto& c) { (void)c.subject().find(oid::commonName); }},
    {"folded", [](auto& c) { (void)c.subject().folded(); }},
    {"matches", [](auto& c) { (void)c.subject().matches(c.subject()); }},
    {"isSelfIssued", [](auto& c) { (void)c.isSelfIssued(); }},
    {"Name::parse", [](auto& c) { (void)Name::parse(c.subject().rfc4514().value_or("")); }},
    {"serialHex", [](auto& c) { (void)c.serialHex(); }},
    {"validity", [](auto& c) { (void)c.validity(); }},
    {"publicKey", [](auto& c) { (void)c.publicKey(); }},
    {"extensions", [](auto& c) { (void)c.extensions(); }},
    {"listedExtensions", [](auto& c) { (void)c.listedExtensions(); }},
    {"extension", [](auto& c) { (void)c.extension(Oid("1.2.3")); }},
    {"criticalExtensions", [](auto& c) { (void)c.criticalExtensions(); }},
    {"unknownCriticalExtensions", [](auto& c) { (void)c.unknownCriticalExtensions(); }},
    {"extendedKeyUsage", [](auto& c) { (void)c.extendedKeyUsage(); }},
    {"subjectAltNames", [](auto& c) { (void)c.subjectAltNames(); }},
    {"dnsNames", [](auto& c) { (void)c.dnsNames(); }},
    {"authorityInfoAccess", [](auto& c) { (void)c.authorityInfoAccess(); }},
    {"crlDistributionPoints", [](auto& c) { (void)c.crlDistributionPoints(); }},
    {"policies", [](auto& c) { (void)c.policies(); }},
    {"policyMappings", [](auto& c) { (void)c.policyMappings(); }},
    {"nameConstraints", [](auto& c) { (void)c.nameConstraints(); }},
    {"signedTimestamps", [](auto& c) { (void)c.signedTimestamps(); }},
    {"departures", [](auto& c) { (void)c.departures(); }},
    {"checkSignature", [](auto& c) { (void)c.checkSignature(c); }},
};

void measureFrozen(const std::string& octets) {
  LogNull log;
  const auto load = [&] {
    RefOwner<VelmoraX509> certificate = VelmoraX509::createOwnedX509();
    certificate->loadX509DerAlt(reinterpret_cast<const unsigned char*>(octets.data()),
                                static_cast<unsigned>(octets.size()), nullptr, log);
    return certificate;
  };
  measure("VelmoraX509 load", [&] { load(); });
  const RefOwner<VelmoraX509> certificate = load();
  for (const test::NamedGetter& getter : test::kGetters) {
    measure(std::string("VelmoraX509 ") + getter.name, [&] {
      test::Answer answer;
      getter.ask(*certificate, log, answer);
    });
  }
}

void measureTyped(const std::string& octets) {
  measure("Certificate parse", [&] { (void)Certificate::parse(octets); });
  const Result<Certificate> certificate = Certificate::parse(octets);
  if (!certificate) return;
  for (const auto& [name, ask] : kQuestions) {
    measure(std::string("Certificate ") + name, [&, ask = ask] { ask(*certificate); });
  }
}

void measureReading(const std::string& octets) {
  measure("readCertificates", [&] { (void)readCertificates(octets); });
  measure("readCertificates, VelmoraX509", [&] {
    LogNull log;
    ExtPtrArray out;
    readCertificates(octets, out, log);
  });
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv) {
  using namespace velmora::bench;
  asksForMemory = argc > 1 && std::string_view(argv[1]) == "--memory";
  if (!asksForMemory) {
    // Memory stays with the process, or its pages are made anew for each run of what is large, and
    // of nothing else.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
  }
  for (int i = asksForMemory ? 2 : 1; i < argc; ++i) {
    std::ifstream file(argv[i], std::ios::binary);
    const std::string octets(std::istreambuf_iterator<char>(file), {});
    measureReading(octets);
    if (octets[0] != 0x30) continue;
    measureFrozen(octets);
    measureTyped(octets);
  }
}
