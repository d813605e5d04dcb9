#pragma once

// Opens and reads files for the readers of this floor.

#include <string>

#include "velmora/reading/certificate_reader.h"

namespace velmora {

/// Feeds a file to a reader until its end, or until the reader needs no more of it; the caller
/// finishes the reader. 0, or the error (errno) with which opening or reading failed.
int feedFile(const std::string& path, CertificateReader& reader);

/// Whether there is something under the path that can be opened for reading.
bool canBeOpened(const char* path);

}  // namespace velmora
