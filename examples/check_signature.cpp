// Tells whether one certificate was signed with the key of another, both in DER.
#include <fstream>
#include <iostream>
#include <iterator>

#include "velmora/support/log/log_sinks.h"
#include "velmora/x509/velmora_x509.h"

using namespace velmora;

bool load(const char* path, VelmoraX509& certificate, LogBase& log) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  return certificate.loadX509DerAlt(reinterpret_cast<const unsigned char*>(bytes.data()),
                                    static_cast<unsigned int>(bytes.size()), nullptr, log);
}

int main(int argc, char** argv) {
  const auto subject = VelmoraX509::createOwnedX509();
  const auto issuer = VelmoraX509::createOwnedX509();
  LogText log;
  const bool signedByIssuer = argc == 3 && subject && issuer && load(argv[1], *subject, log) &&
                              load(argv[2], *issuer, log) &&
                              subject->verifyCertSignature(issuer.get(), log);
  std::cout << (signedByIssuer ? "signed with this key\n" : "not signed with this key\n");
  if (!signedByIssuer) std::cerr << log.text().view();
  return signedByIssuer ? 0 : 1;
}
