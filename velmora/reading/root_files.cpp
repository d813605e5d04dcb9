#include "velmora/reading/root_files.h"

#include <algorithm>
#include <filesystem>

namespace velmora {

std::error_code listRootFiles(const std::string& path, std::vector<std::string>& files) {
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) {
    files.push_back(path);
    return {};
  }
  const auto first = static_cast<std::ptrdiff_t>(files.size());
  std::filesystem::directory_iterator entry(path, error);
  const std::filesystem::directory_iterator end;
  for (; !error && entry != end; entry.increment(error)) {
    std::error_code unknown;
    if (entry->is_regular_file(unknown)) files.push_back(entry->path().string());
  }
  std::sort(files.begin() + first, files.end());
  return error;
}

}  // namespace velmora
