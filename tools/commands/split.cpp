#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "tools/commands/command.h"
#include "tools/render/name_text.h"
#include "velmora/support/pem/pem_writer.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// 0, or what writing failed with.
int writeAndClose(int file, std::string_view content) {
  int failure = writeAll(file, content);
  if (::close(file) != 0 && failure == 0) failure = errno;
  return failure;
}

class FileWriter {
 public:
  FileWriter(const Arguments& arguments, Console& console)
      : m_folder(arguments.value("--out").value_or("")),
        m_asDer(arguments.has("--der")),
        m_force(arguments.has("--force")),
        m_console(console) {}

  // What cannot be written to has its line here, and not one for each certificate.
  bool makeFolder() {
    std::error_code failure;
    if (!m_folder.empty()) std::filesystem::create_directories(m_folder, failure);
    // A file that stands there is called by this name or by that, as the C++ library will have it.
    if (failure == std::errc::file_exists) failure = make_error_code(std::errc::not_a_directory);
    if (failure) m_console.complain(m_folder, failure.message());
    return !failure;
  }

  void write(const InputCertificate& input) {
    m_content.weakClear();
    m_asDer ? print(m_content, charactersOf(std::as_bytes(input.der)))
            : appendPem("CERTIFICATE", input.der, m_content);
    whole(m_content);
    const std::string path = pathOf(input);
    if (const char* reason = writeTo(path)) return m_console.complain(path, reason);
    print(m_console.out(), Safe{path});
    appendSubject("  ", input.certificate, m_console.out());
    m_console.out().appendChar('\n');
  }

 private:
  // The source's name without folders and without its last extension, and a number.
  std::string pathOf(const InputCertificate& input) const {
    const bool isStandardInput = input.source == "-";
    const std::string number = std::to_string(input.index + 1);
    std::string path = m_folder.empty() ? std::string() : m_folder + "/";
    path += isStandardInput ? "stdin" : std::filesystem::path(input.source).stem().string();
    path.append("-").append(number.size() < 3 ? 3 - number.size() : 0, '0').append(number);
    return path + (m_asDer ? ".der" : ".pem");
  }

  // Null, or why the file was not written. Also by force nothing is overwritten that this run wrote
  // itself, of two sources of the same name.
  const char* writeTo(const std::string& path) {
    if (m_written.contains(path))
      return "another source has given a file of this name; give it another --out";
    const int mode = m_force ? O_TRUNC : O_EXCL;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | mode, 0666);
    if (file < 0) {
      return errno == EEXIST ? "the file exists; --force overwrites it" : std::strerror(errno);
    }
    m_written.insert(path);
    const int failure = writeAndClose(file, m_content.view());
    if (failure == 0) return nullptr;
    ::unlink(path.c_str());
    return std::strerror(failure);
  }

  std::string m_folder;
  bool m_asDer;
  bool m_force;
  Console& m_console;
  StringBuffer m_content;
  std::set<std::string> m_written;
};

void runSplit(const Arguments& arguments, Console& console) {
  arguments.wantAtMostOneOf({"--pem", "--der"});
  FileWriter writer(arguments, console);
  if (!writer.makeFolder()) return;
  visitFiles(arguments, console, [&](const InputCertificate& input) { writer.write(input); });
}

constexpr OptionSpec kOptions[] = {
    {"--out", "DIR", "the folder to write to, made when it is not there (default: this one)"},
    {"--pem", "", "write PEM (the default)"},
    {"--der", "", "write DER"},
    {"--force", "", "overwrite files that exist"},
};

}  // namespace

const Command kSplitCommand = {
    "split", "write each certificate to a file of its own",
    "bundle.p7b becomes bundle-001.pem, bundle-002.pem and so on, standard input\n"
    "stdin-001.pem. Each name is printed. A file that exists is left alone and has\n"
    "a line on standard error; the exit status is then 3.\n",
    kOptions, runSplit};

}  // namespace velmora::tool
