#include "velmora/support/text/byte_store.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

namespace velmora {
namespace {

constexpr unsigned char kClosingZero = 0;
constexpr size_t kSmallestCapacity = 31;  // 32 bytes with the closing zero
constexpr size_t kLargestCapacity = SIZE_MAX / 2;
constexpr size_t kOutside = SIZE_MAX;

}  // namespace

ByteStore& ByteStore::operator=(ByteStore&& other) noexcept {
  ByteStore taken(std::move(other));
  swap(taken);
  return *this;
}

ByteStore::~ByteStore() {
  delete[] m_data;
}

const unsigned char* ByteStore::data() const noexcept {
  return m_data != nullptr ? m_data : &kClosingZero;
}

bool ByteStore::reserve(size_t total) noexcept {
  if (m_failed) return false;
  if (total <= m_capacity) return true;
  m_failed = !reallocate(total);
  return !m_failed;
}

// NOLINTNEXTLINE(misc-no-recursion): extend() says why
unsigned char* ByteStore::extendSlowly(size_t count) noexcept {
  if (m_failed) return nullptr;
  if (count == 0) return const_cast<unsigned char*>(std::as_const(*this).data()) + m_size;
  return grow(count) ? extend(count) : nullptr;
}

bool ByteStore::append(const void* bytes, size_t count) noexcept {
  if (count == 0) return !m_failed;
  const size_t offset = offsetOf(bytes);
  unsigned char* added = extend(count);
  if (added == nullptr) return false;
  std::memcpy(added, offset == kOutside ? bytes : m_data + offset, count);
  return true;
}

bool ByteStore::append(const ByteStore& other) noexcept {
  if (other.m_failed) {
    m_failed = true;
    return false;
  }
  return append(other.m_data, other.m_size);
}

bool ByteStore::assign(const void* bytes, size_t count) noexcept {
  const size_t offset = offsetOf(bytes);
  if (offset != kOutside) {
    truncate(offset + count);
    erase(0, offset);
    return !m_failed;
  }
  clear();
  return append(bytes, count);
}

bool ByteStore::prepend(const void* bytes, size_t count) noexcept {
  if (count == 0) return !m_failed;
  const size_t offset = offsetOf(bytes);
  const size_t oldSize = m_size;
  if (extend(count) == nullptr) return false;
  std::memmove(m_data + count, m_data, oldSize);
  // Bytes of this store have just moved up with the rest.
  std::memcpy(m_data, offset == kOutside ? bytes : m_data + count + offset, count);
  return true;
}

void ByteStore::truncate(size_t size) noexcept {
  if (size >= m_size) return;
  m_size = size;
  m_data[m_size] = 0;
}

void ByteStore::erase(size_t offset, size_t count) noexcept {
  if (offset >= m_size || count == 0) return;
  const size_t removed = std::min(count, m_size - offset);
  std::memmove(m_data + offset, m_data + offset + removed, m_size - offset - removed);
  truncate(m_size - removed);
}

void ByteStore::clear() noexcept {
  truncate(0);
  m_failed = false;
}

void ByteStore::release() noexcept {
  ByteStore empty;
  swap(empty);
}

void ByteStore::shrinkToFit() noexcept {
  if (m_size == m_capacity) return;
  if (m_size == 0) {
    delete[] m_data;
    m_data = nullptr;
    m_capacity = 0;
  } else {
    reallocate(m_size);  // when it fails the larger memory serves as well
  }
}

bool ByteStore::equals(const ByteStore& other) const noexcept {
  return !m_failed && !other.m_failed && m_size == other.m_size &&
         std::memcmp(data(), other.data(), m_size) == 0;
}

void ByteStore::swap(ByteStore& other) noexcept {
  std::swap(m_data, other.m_data);
  std::swap(m_size, other.m_size);
  std::swap(m_capacity, other.m_capacity);
  std::swap(m_failed, other.m_failed);
}

// Where bytes that lie inside this store stand in it; a growing store takes them along.
size_t ByteStore::offsetOf(const void* bytes) const noexcept {
  const std::less<const void*> before;  // a total order, also for pointers of different objects
  if (m_size == 0 || before(bytes, m_data) || !before(bytes, m_data + m_size)) return kOutside;
  return static_cast<size_t>(static_cast<const unsigned char*>(bytes) - m_data);
}

bool ByteStore::grow(size_t count) noexcept {
  if (count > kLargestCapacity - m_size) {
    m_failed = true;
    return false;
  }
  return reserve(
      std::max({m_size + count, std::min(m_capacity * 2, kLargestCapacity), kSmallestCapacity}));
}

bool ByteStore::reallocate(size_t capacity) noexcept {
  if (capacity > kLargestCapacity) return false;
  auto* fresh = new (std::nothrow) unsigned char[capacity + 1];
  if (fresh == nullptr) return false;
  std::memcpy(fresh, std::as_const(*this).data(), m_size + 1);
  delete[] m_data;
  m_data = fresh;
  m_capacity = capacity;
  return true;
}

}  // namespace velmora
