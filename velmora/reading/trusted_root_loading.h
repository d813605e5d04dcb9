#pragma once

// Fills TrustedRoots from files. `set` is a set of that registry, null the one that verification
// asks. Any thread may call any of these.

#include <cstddef>

#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// What became of an input. A root that was registered before counts again.
struct TrustedRootCount {
  size_t registered = 0;  // certificates that are trusted roots now
  size_t refused = 0;     // certificates, and files or parts of files that could not be read
};

/// Registers every certificate of a file as addTrustedRoot does, in any form that CertificateReader
/// reads, or of all the regular files of a directory (in the order of their names, without the
/// directories in it). What is refused is passed over, each with an error and the data items
/// "file", "index", "label", "line", "faultLine", "offset" and "subject" where they are known. Log
/// context "addTrustedRoots".
VELMORA_API TrustedRootCount addTrustedRootsFrom(const char* path, const char* set, LogBase& log);

/// The file of trusted roots that the operating system keeps: the one that the environment variable
/// SSL_CERT_FILE names, else the first that can be opened of the usual places. Null when there is
/// none.
VELMORA_API const char* systemTrustedRootsPath();

/// The same with that file. Without one an error, and nothing is registered.
VELMORA_API TrustedRootCount addSystemTrustedRoots(const char* set, LogBase& log);

}  // namespace velmora
