#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "tools/commands/command.h"
#include "tools/reading/input.h"
#include "tools/render/escape.h"
#include "tools/render/name_text.h"
#include "tools/render/octets.h"
#include "velmora/support/pem/pem_writer.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

struct SplitForm {
  std::string folder;
  bool asDer = false;
  bool force = false;
};

// The source's name without folders and without its last extension.
std::string_view stemOf(std::string_view source) {
  if (source == "-") return "stdin";
  source.remove_prefix(source.find_last_of('/') + 1);
  const size_t dot = source.find_last_of('.');
  return dot == source.npos || dot == 0 ? source : source.substr(0, dot);
}

// 0, or what writing failed with.
int writeAndClose(int file, std::string_view content) {
  int failure = writeAll(file, content);
  if (::close(file) != 0 && failure == 0) failure = errno;
  return failure;
}

class WriteFiles final : public CertificateVisitor {
 public:
  WriteFiles(SplitForm form, Console& console) : m_form(std::move(form)), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    m_content.weakClear();
    m_form.asDer ? static_cast<void>(m_content.append(charactersOf(std::as_bytes(input.der))))
                 : appendPem("CERTIFICATE", input.der, m_content);
    whole(m_content);
    const std::string path = pathOf(input);
    const char* reason = write(path);
    reason == nullptr ? tell(path, input) : m_console.complain(path, reason);
    return nullptr;
  }

 private:
  std::string pathOf(const InputCertificate& input) const {
    std::array<char, 24> number;
    std::snprintf(number.data(), number.size(), "-%03zu", input.index + 1);
    std::string path = m_form.folder.empty() ? std::string() : m_form.folder + "/";
    path += stemOf(input.source);
    path += number.data();
    path += m_form.asDer ? ".der" : ".pem";
    return path;
  }

  // Null, or why the file was not written. Also by force nothing is overwritten that this run wrote
  // itself, of two sources of the same name.
  const char* write(const std::string& path) {
    if (m_written.contains(path)) return "another source has given a file of this name";
    const int mode = m_form.force ? O_TRUNC : O_EXCL;
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

  void tell(const std::string& path, const InputCertificate& input) {
    StringBuffer& out = m_console.out();
    appendPrintable(path, out);
    appendSubject("  ", input.certificate, out);
    out.appendChar('\n');
  }

  SplitForm m_form;
  Console& m_console;
  StringBuffer m_content;
  std::set<std::string> m_written;
};

// What cannot be written to has its line here, and not one for each certificate.
bool makeFolder(const std::string& folder, Console& console) {
  std::error_code failure;
  if (!folder.empty()) std::filesystem::create_directories(folder, failure);
  if (!failure) return true;
  console.complain(folder, failure.message());
  return false;
}

bool runSplit(const Arguments& arguments, Console& console, std::string& usageError) {
  if (!arguments.atMostOneOf({"--pem", "--der"}, usageError)) return false;
  SplitForm form;
  form.folder = arguments.value("--out").value_or("");
  form.asDer = arguments.has("--der");
  form.force = arguments.has("--force");
  if (!makeFolder(form.folder, console)) return true;
  WriteFiles visitor(form, console);
  visitCertificates(arguments.files(), false, visitor, console);
  return true;
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
