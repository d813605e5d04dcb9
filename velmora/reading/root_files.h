#pragma once

// Which files a path of trusted roots stands for.

#include <string>
#include <system_error>
#include <vector>

#include "velmora/support/core/export.h"

namespace velmora {

/// Appends the files of trusted roots that a path stands for: of a directory its regular files, in
/// the order of their names and without the directories in it, else the path itself. The error with
/// which the directory could not be listed, or not to its end. Throws std::bad_alloc alone.
VELMORA_API std::error_code listRootFiles(const std::string& path, std::vector<std::string>& files);

}  // namespace velmora
