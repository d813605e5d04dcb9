#include <fstream>
#include <map>
#include <thread>

#include "tests/x509/all_getters.h"

namespace velmora::test {
namespace {

// The certificates of the data set by their descriptions.
std::map<std::string, std::string> dataCertificates() {
  std::ifstream file(VELMORA_SOURCE_DIR "/tests/data/certificates.pem");
  std::map<std::string, std::string> certificates;
  std::string description;
  for (std::string line; std::getline(file, line);) {
    if (line != "-----BEGIN CERTIFICATE-----") {
      description = line;
      continue;
    }
    DataBuffer der;
    while (std::getline(file, line) && line[0] != '-') der.appendEncoded(line, "base64");
    certificates[description] = der.view();
  }
  EXPECT_GT(certificates.size(), 50u);
  return certificates;
}

std::vector<std::string> answersOf(VelmoraX509& cert) {
  std::vector<std::string> answers;
  for (const NamedGetter& getter : kGetters) {
    Answer answer;
    LogNull log;
    getter.ask(cert, log, answer);
    answers.push_back(answer.str());
  }
  return answers;
}

// Each field of a certificate in turn gone, or another element.
std::vector<der::Bytes> malformedCertificates() {
  using Fields = der::Certificate;
  std::vector<der::Bytes> all = {der::sequence(der::null()), der::sequence(der::sequence())};
  for (der::Bytes Fields::*field :
       {&Fields::version, &Fields::serial, &Fields::signatureAlgorithm, &Fields::issuer,
        &Fields::validity, &Fields::subject, &Fields::publicKey, &Fields::outerAlgorithm,
        &Fields::signature}) {
    for (const der::Bytes& instead :
         {der::Bytes(), der::sequence(), der::null(), der::sequence(der::set(der::sequence())),
          der::sequence(der::utf8("x"), der::sequence(der::oid("2.5.4.3")))}) {
      Fields fields;
      fields.*field = instead;
      if (field != &Fields::version || instead.empty()) all.push_back(fields.der());
    }
  }
  return all;
}

// Every getter, also one that fails, leaves the certificate as it found it: the next one starts at
// the root again, and the same question has the same answer.
TEST(Getters, LeaveNoTrace) {
  std::vector<der::Bytes> ders = malformedCertificates();
  for (const auto& [description, der] : dataCertificates()) ders.push_back(der);
  for (const der::Bytes& der : ders) {
    LoadedX509 alone(der);
    const std::string probe = serialOf(alone);
    for (const NamedGetter& getter : kGetters) {
      LoadedX509 cert(der);
      LogNull log;
      Answer first;
      Answer second;
      getter.ask(cert, log, first);
      EXPECT_EQ(serialOf(cert), probe) << getter.name << " moved the handle";
      getter.ask(cert, log, second);
      EXPECT_EQ(second.str(), first.str()) << getter.name;
      EXPECT_FALSE(first.failed());
    }
    // One object that is asked everything says what fresh ones say.
    const std::vector<std::string> answers = answersOf(alone);
    for (size_t i = 0; i < answers.size(); ++i) {
      LoadedX509 fresh(der);
      LogNull log;
      Answer answer;
      kGetters[i].ask(fresh, log, answer);
      EXPECT_EQ(answers[i], answer.str()) << kGetters[i].name;
    }
  }
}

TEST(Getters, AnswerRightOnTwoThreads) {
  const der::Bytes der = dataCertificates().at("RSA 2048 sha256");
  LoadedX509 reference(der);
  const std::vector<std::string> expected = answersOf(reference);
  LoadedX509 shared(der);
  const auto hammer = [&] {
    for (int i = 0; i < 50; ++i) EXPECT_EQ(answersOf(shared), expected);
  };
  std::thread other(hammer);
  hammer();
  other.join();
}

}  // namespace
}  // namespace velmora::test
