// Hands what operations report to a sink of one's own, here one that keeps what went wrong where.
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "velmora/support/text/printable.h"
#include "velmora/x509/velmora_x509.h"

using namespace velmora;

class ErrorSink final : public LogBase {
 public:
  void LogError(const char* message) override { add("error", message); }
  void LogInfo(const char*) override {}
  void LogData(const char* key, std::string_view value) override { add(key, value); }
  void enterContext(const char* name) override { m_contexts.push_back(name); }
  void leaveContext() override { m_contexts.pop_back(); }

 private:
  void add(const char* key, std::string_view value) {
    for (const char* context : m_contexts) std::cout << context << '/';
    StringBuffer shown;  // values come from certificates
    appendPrintable(value, shown);
    std::cout << key << ": " << shown.view() << '\n';
  }

  std::vector<const char*> m_contexts;
};

int main(int argc, char** argv) {
  std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
  const std::string octets(std::istreambuf_iterator<char>(file), {});
  DataBuffer der;
  der.append(octets.data(), octets.size());
  const auto certificate = VelmoraX509::createOwnedX509();
  ErrorSink log;
  log.m_verbose = argc > 2;  // progress too, and the data items that go with it
  const bool isTrusted = certificate && certificate->loadX509Der(der, log) &&
                         certificate->verifyCertSignature(nullptr, log);
  std::cout << (isTrusted ? "a trusted root\n" : "no trusted root\n");
  return isTrusted ? 0 : 1;
}
