#include "velmora/reading/file_pieces.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace velmora {
namespace {

// The octets as they are, in a file that no program started meanwhile gets to see.
#if defined(_WIN32)
constexpr int kHowToOpen = O_RDONLY | O_BINARY | O_NOINHERIT;
#else
constexpr int kHowToOpen = O_RDONLY | O_CLOEXEC;
#endif

constexpr size_t kPieceSize = size_t{256} << 10;

class File {
 public:
  explicit File(const std::string& path) noexcept : descriptor(::open(path.c_str(), kHowToOpen)) {}
  ~File() {
    if (descriptor >= 0) ::close(descriptor);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  const int descriptor;
};

}  // namespace

int readPieces(int descriptor, const TakePiece& take) {
  const auto piece = std::make_unique<unsigned char[]>(kPieceSize);
  for (;;) {
    const ssize_t size = ::read(descriptor, piece.get(), kPieceSize);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return errno;
    if (size == 0 || !take({piece.get(), static_cast<size_t>(size)})) return 0;
  }
}

int readPieces(const std::string& path, const TakePiece& take) {
  const File file(path);
  return file.descriptor < 0 ? errno : readPieces(file.descriptor, take);
}

}  // namespace velmora
