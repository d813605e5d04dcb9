#include "velmora/reading/trusted_root_loading.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/x509/signed_certificates.h"
#include "velmora/x509/trusted_root_registration.h"

namespace velmora::test {
namespace {

namespace fs = std::filesystem;

// A folder for one test.
class Folder {
 public:
  Folder() {
    std::string path = testing::TempDir() + "velmora_XXXXXX";
    EXPECT_NE(::mkdtemp(path.data()), nullptr);
    m_path = path;
  }
  ~Folder() { fs::remove_all(m_path); }

  std::string path(const std::string& name = "") const { return (m_path / name).string(); }
  void write(const std::string& name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
  }

 private:
  fs::path m_path;
};

bool isTrusted(VelmoraX509& root) {
  LogNull log;
  return root.verifyCertSignature(nullptr, log);
}

std::string counts(TrustedRootCount count) {
  return std::to_string(count.registered) + " + " + std::to_string(count.refused);
}

TEST(TrustedRootLoading, ReadsFilesAndDirectories) {
  const NoTrustedRoots none;
  SignedCertificates all;
  const Folder folder;
  folder.write("a.pem",
               pemOf(derOf(all.issuer("P-256"))) + "text\n" + pemOf(derOf(all.issuer("ed25519"))));
  folder.write("b.der", derOf(all.issuer("rsa-2048")));
  folder.write("c.pem", pemOf(all.byName("Ed25519").der) + pemOf(derOf(all.issuer("rsa-2048"))));
  folder.write("d.txt", "no certificate");
  folder.write("e.pem", "-----BEGIN CERTIFICATE-----\nMAMC!!==\n-----END CERTIFICATE-----\n");
  fs::create_directory(folder.path("directory"));

  LogText log;
  const auto says = [&](const std::string& text) {
    return log.text().containsSubstring(text.c_str());
  };
  EXPECT_EQ(counts(addTrustedRootsFrom(folder.path("a.pem").c_str(), nullptr, log)), "2 + 0");
  EXPECT_EQ(log.text().view(), "addTrustedRoots:\n");
  EXPECT_TRUE(isTrusted(all.issuer("P-256")) && isTrusted(all.issuer("ed25519")));
  EXPECT_FALSE(isTrusted(all.issuer("rsa-2048")));
  EXPECT_EQ(counts(addTrustedRootsFrom(folder.path().c_str(), nullptr, log)), "4 + 3");
  EXPECT_EQ(TrustedRoots::getCount(nullptr), 3u);
  EXPECT_TRUE(isTrusted(all.issuer("rsa-2048")));
  EXPECT_TRUE(
      says("  ERROR: A trusted root has to be issued by itself.\n  file: " + folder.path("c.pem") +
           "\n  index: 0\n  label: CERTIFICATE\n  line: 1\n  subject: CN=host\n"));
  EXPECT_TRUE(says("  file: " + folder.path("d.txt") + "\n  index: 0\n"));
  EXPECT_LT(log.text().view().find("c.pem"), log.text().view().find("d.txt"));
  EXPECT_TRUE(says("  label: CERTIFICATE\n  line: 1\n  faultLine: 2\n"));

  const std::string missing = folder.path("missing");
  EXPECT_EQ(counts(addTrustedRootsFrom(missing.c_str(), nullptr, log)), "0 + 1");
  EXPECT_TRUE(says("  file: " + missing + "\n"));
  EXPECT_EQ(counts(addTrustedRootsFrom(nullptr, nullptr, log)), "0 + 1");
}

TEST(TrustedRootLoading, TakesTheSystemsFileFromTheEnvironment) {
  const NoTrustedRoots none;
  SignedCertificates all;
  const Folder folder;
  const std::string path = folder.path("roots.pem");
  folder.write("roots.pem", pemOf(derOf(all.issuer("P-521"))));
  ::setenv("SSL_CERT_FILE", path.c_str(), 1);
  LogNull log;
  EXPECT_EQ(systemTrustedRootsPath(), path);
  EXPECT_EQ(counts(addSystemTrustedRoots("own", log)), "1 + 0");
  EXPECT_FALSE(isTrusted(all.issuer("P-521"))) << "in another set";
  EXPECT_TRUE(removeTrustedRoot(all.issuer("P-521"), "own", log));
  ::setenv("SSL_CERT_FILE", "", 1);
  const char* const usual = systemTrustedRootsPath();
  EXPECT_TRUE(usual == nullptr || fs::exists(usual));
  EXPECT_TRUE(usual != nullptr || !fs::exists("/etc/ssl/certs/ca-certificates.crt"));
  ::unsetenv("SSL_CERT_FILE");
}

}  // namespace
}  // namespace velmora::test
