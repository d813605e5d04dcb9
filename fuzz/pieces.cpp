#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "fuzz/fuzz_target.h"
#include "tools/bulk/line_batches.h"
#include "velmora/reading/certificate_reader.h"

// Property: an input of any form that comes in pieces is read as the whole one is, item for item;
// and what lines come in batches, cut anywhere, are the input, each once and in one batch. The
// first two octets say how large the pieces are in turn.

namespace {

using namespace velmora;
using fuzz::require;
using Span = std::span<const unsigned char>;

// Writes down all that it is told.
class Record final : public CertificateSink {
 public:
  std::string text;

  void certificate(const CertificatePlace& place, Span der,
                   const Result<Certificate>& typed) override {
    add(place, "certificate", der);
    text += typed ? "typed" : typed.error().message();
    require(!typed || std::ranges::equal(octetsOf(typed->der()), der), "the same octets");
  }
  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    require(!failure.reason.empty(), "a failure has a reason");
    add(place, failure.reason, failure.octets);
    for (const size_t number :
         {failure.offset.value_or(SIZE_MAX), failure.line, static_cast<size_t>(failure.code),
          static_cast<size_t>(failure.found)}) {
      text += ' ' + std::to_string(number);
    }
  }

 private:
  void add(const CertificatePlace& place, std::string_view what, Span octets) {
    require(place.index == m_count++, "items count one by one");
    text.append("\n").append(what).append(" ").append(place.label) += std::to_string(place.line);
    text.append(octets.begin(), octets.end());
  }
  size_t m_count = 0;
};

using Pieces = std::vector<Span>;

std::string read(const Pieces& pieces) {
  Record record;
  CertificateReader reader(record);
  for (const Span piece : pieces) {
    if (!reader.feed(piece)) break;
  }
  reader.finish();
  return record.text;
}

// A socket of packets gives each piece to one read.
void readLines(const Pieces& pieces, const std::string& whole) {
  int ends[2];
  require(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0, "a socket");
  for (const Span piece : pieces) {
    const ssize_t size = ::send(ends[0], piece.data(), piece.size(), MSG_DONTWAIT);
    require(size == static_cast<ssize_t>(piece.size()), "room for a piece");
  }
  ::close(ends[0]);
  tool::LineBatches batches(ends[1]);
  std::string all;
  size_t lines = 0, octets = 0;
  for (tool::LineBatch batch; batches.next(batch); batch = {}) {
    require(batch.firstIndex == lines && !batch.lastIsCut, "lines count one by one");
    require(all.empty() || all.ends_with('\n'), "a line is in one batch");
    all += batch.text;
    octets += batch.octets;
    lines = static_cast<size_t>(std::ranges::count(all, '\n')) + (all.ends_with('\n') ? 0 : 1);
  }
  require(all == whole && octets == all.size(), "nothing is lost, and nothing twice");
  require(batches.count() == lines && batches.error() == 0, "to the end");
  ::close(ends[1]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const Span whole(data + 2, size - 2);
  for (const size_t least : {size_t{1}, size / 64 + 1}) {  // the socket has room for some dozens
    Pieces pieces;
    for (size_t at = 0; at < whole.size(); at += pieces.back().size()) {
      const size_t wanted = data[pieces.size() % 2] + least;
      pieces.push_back(whole.subspan(at, std::min(wanted, whole.size() - at)));
    }
    if (least == 1) require(read(pieces) == read({whole}), "in pieces as in one");
    if (least != 1 || pieces.size() < 64) readLines(pieces, {whole.begin(), whole.end()});
  }
  return 0;
}
