#include "tools/bulk/line_batches.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "tools/bulk/interrupt.h"

namespace velmora::tool {

namespace {

constexpr size_t kPieceSize = size_t{256} << 10;

}  // namespace

bool LineBatches::next(LineBatch& batch) {
  std::string& text = batch.text;
  text = std::exchange(m_rest, {});
  size_t lastEnd = text.rfind('\n');
  while (lastEnd == text.npos && text.size() <= kMaxLine) {
    const size_t held = text.size();
    // No more than shows that the line is too long.
    if (!readPiece(text, std::min(kPieceSize, kMaxLine + 1 - held))) break;
    const size_t found = std::string_view(text).substr(held).rfind('\n');
    if (found != text.npos) lastEnd = held + found;
  }
  if (Interruptible::interrupted()) return false;
  batch.octets = text.size();
  if (lastEnd != text.npos) {
    m_rest.assign(text, lastEnd + 1);
    text.resize(lastEnd + 1);
    batch.octets = text.size();
  } else if (text.size() > kMaxLine) {
    skipLine(batch);
  }
  if (text.empty()) return false;
  const auto ends = std::count(text.begin(), text.end(), '\n');
  batch.firstIndex = m_nextIndex;
  m_nextIndex += static_cast<size_t>(ends) + (text.ends_with('\n') ? 0 : 1);
  return true;
}

// Passes over what is left of a line, and keeps the start of it.
void LineBatches::skipLine(LineBatch& batch) {
  batch.lastIsCut = true;
  batch.text.resize(kCutLine);
  batch.text.shrink_to_fit();
  std::string piece;
  while (readPiece(piece, kPieceSize)) {
    const size_t end = std::min(piece.size(), piece.find('\n'));
    batch.octets += end;
    if (end != piece.size()) {
      m_rest.assign(piece, end + 1);
      return;
    }
    piece.clear();
  }
}

// Appends what can be read at once.
bool LineBatches::readPiece(std::string& text, size_t most) {
  const size_t held = text.size();
  ssize_t size = -1;
  text.resize(held + most);
  while (m_error == 0 && size < 0 && Interruptible::awaitInput(m_descriptor)) {
    size = ::read(m_descriptor, text.data() + held, most);
    if (size < 0 && errno != EINTR) m_error = errno;
  }
  text.resize(held + static_cast<size_t>(std::max<ssize_t>(size, 0)));
  return size > 0;
}

}  // namespace velmora::tool
