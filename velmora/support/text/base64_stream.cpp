#include "velmora/support/text/base64_stream.h"

#include <algorithm>
#include <cstring>

#include "velmora/support/text/byte_codecs.h"

namespace velmora {

namespace {

constexpr std::array<bool, 256> makeAlphabet() {
  std::array<bool, 256> table{};
  for (const char c :
       std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}

constexpr std::array<bool, 256> kAlphabet = makeAlphabet();

}  // namespace

bool Base64Stream::inAlphabet(char c) noexcept {
  return kAlphabet[static_cast<unsigned char>(c)];
}

size_t Base64Stream::takeRun(std::string_view text) noexcept {
  size_t taken = 0;
  if (m_padded) return taken;
  while (taken < text.size() && m_fault == Fault::kNone) {
    if (m_pendingSize == 0) taken += decodeGroups(text.substr(taken));
    const size_t room = std::min(m_pending.size() - m_pendingSize, text.size() - taken);
    const char* from = text.data() + taken;
    size_t run = 0;
    while (run < room && inAlphabet(from[run])) ++run;
    if (run == 0) break;
    std::memcpy(m_pending.data() + m_pendingSize, from, run);
    m_pendingSize += run;
    taken += run;
    if (m_pendingSize == m_pending.size()) decodePending();
  }
  return taken;
}

// What does not come in whole groups, such as the last line, is left for the buffer.
size_t Base64Stream::decodeGroups(std::string_view text) noexcept {
  text = text.substr(0, m_pending.size());
  const size_t before = m_bytes.size();
  unsigned char* const out = m_bytes.extend(text.size() / 4 * 3 + 3);
  if (out == nullptr) {
    m_fault = Fault::kNoMemory;
    return 0;
  }
  const size_t groups = base64DecodeGroups(text, out);
  m_bytes.truncate(before + 3 * groups);
  if (m_bytes.size() > m_maxBytes) m_fault = Fault::kTooLarge;
  return 4 * groups;
}

void Base64Stream::decodePending() noexcept {
  const size_t before = m_bytes.size();
  unsigned char* out = m_bytes.extend(m_pendingSize / 4 * 3 + 3);
  if (out == nullptr) {
    m_fault = Fault::kNoMemory;
    return;
  }
  const DecodeResult result = base64Decode({m_pending.data(), m_pendingSize}, false, out);
  m_bytes.truncate(before + result.written);
  m_pendingSize = 0;
  if (!result.complete) m_fault = Fault::kMalformed;
  if (m_bytes.size() > m_maxBytes) m_fault = Fault::kTooLarge;
}

Base64Stream::Fault Base64Stream::finish() noexcept {
  if (m_fault == Fault::kNone && m_pendingSize != 0) decodePending();
  return m_fault;
}

void Base64Stream::restart() noexcept {
  m_bytes.clear();
  m_pendingSize = 0;
  m_padded = false;
  m_fault = Fault::kNone;
}

void Base64Stream::release() noexcept {
  restart();
  DataBuffer().swap(m_bytes);
}

}  // namespace velmora
