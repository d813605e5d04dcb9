#pragma once

// Lines of an input of any length, in batches.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/terminal/console.h"
#include "velmora/reading/certificate_reader.h"

namespace velmora::tool {

/// Some whole lines of an input that stand in a row, and what becomes of them.
struct LineBatch {
  std::string text;       // with the ends of the lines; the last one of an input may have none
  size_t firstIndex = 0;  // of its first line in the input, from 0
  size_t octets = 0;      // that were read from the input for it
  // The last line is longer than kMaxLine, and the start of it alone is here.
  bool lastIsCut = false;

  StringBuffer out;  // what is put out for these lines
  ExitStatus status = ExitStatus::kDone;
  size_t certificates = 0;
  size_t errors = 0;
  std::vector<std::string> complaints;  // about the first of these, a line each, safe to print
};

/// Cuts an input into batches. What a pipe brings is given at once as far as it is whole lines; a
/// line is never held in part by two batches. At most one piece and one line are held.
class LineBatches {
 public:
  /// As much DER as is read of a file, in base64, and a key.
  static constexpr size_t kMaxLine =
      (CertificateReader::kMaxDerSize + 2) / 3 * 4 + (size_t{64} << 10);
  /// What is kept of a line beyond that, for its key.
  static constexpr size_t kCutLine = size_t{4} << 10;

  /// Reads from a descriptor that stays the caller's.
  explicit LineBatches(int descriptor) noexcept : m_descriptor(descriptor) {}

  /// Fills in the text and the numbers of an empty batch. False at the end of the input, when
  /// reading failed, and once the run is interrupted. Throws std::bad_alloc.
  bool next(LineBatch& batch);

  /// How many lines there were up to here.
  size_t count() const noexcept { return m_nextIndex; }

  /// The error (errno) with which reading failed, else 0.
  int error() const noexcept { return m_error; }

 private:
  bool readPiece(std::string& text, size_t most);
  void skipLine(LineBatch& batch);

  int m_descriptor;
  int m_error = 0;
  size_t m_nextIndex = 0;
  std::string m_rest;  // the start of a line
};

}  // namespace velmora::tool
