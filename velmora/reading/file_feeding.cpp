#include "velmora/reading/internal/file_feeding.h"

#include <cerrno>
#include <cstdio>
#include <memory>

namespace velmora {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

bool canBeOpened(const char* path) {
  return File(std::fopen(path, "rb")) != nullptr;
}

int feedFile(const std::string& path, CertificateReader& reader) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) return errno;
  unsigned char chunk[16384];
  size_t size = 0;
  do {
    size = std::fread(chunk, 1, sizeof chunk, file.get());
    if (std::ferror(file.get()) != 0) return errno;
  } while (size != 0 && reader.feed({chunk, size}));
  return 0;
}

}  // namespace velmora
