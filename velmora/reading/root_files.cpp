#include "velmora/reading/root_files.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

// With the system's own functions: in the C++ library's, memory that runs out may end the program.

namespace velmora {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

// What of a file the system tells as its type; 0 where it tells nothing.
auto typeOf(const std::string& path) noexcept {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

}  // namespace

std::error_code listRootFiles(const std::string& path, std::vector<std::string>& files) {
  // Windows tells nothing of a folder with a slash behind it.
  const size_t size = std::max<size_t>(path.find_last_not_of('/') + 1, 1);
  if (!S_ISDIR(typeOf(path.substr(0, size)))) {
    files.push_back(path);
    return {};
  }
  const auto first = static_cast<std::ptrdiff_t>(files.size());
  const std::string start = path.ends_with('/') ? path : path + '/';
  const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
  while (folder != nullptr) {
    errno = 0;
    const dirent* const entry = ::readdir(folder.get());
    if (entry == nullptr) break;
    std::string file = start + entry->d_name;
    if (S_ISREG(typeOf(file))) files.push_back(std::move(file));
  }
  const std::error_code error(errno, std::generic_category());
  std::sort(files.begin() + first, files.end());
  return error;
}

}  // namespace velmora
