#pragma once

// A stable sort that does not hide that memory ran out.

#include <algorithm>
#include <utility>
#include <vector>

namespace velmora {

/// Sorts, and leaves what is equal in its order. std::stable_sort does so with a buffer that it
/// does without when there is no memory, which nobody hears of; this throws std::bad_alloc, and
/// then nothing has moved.
template <class T, class Before>
void sortStably(std::vector<T>& items, Before isBefore) {
  if (items.size() < 2) return;
  std::vector<T*> order;
  order.reserve(items.size());
  for (T& item : items) order.push_back(&item);
  std::sort(order.begin(), order.end(), [&](const T* a, const T* b) {
    if (isBefore(*a, *b)) return true;
    return !isBefore(*b, *a) && a < b;
  });
  std::vector<T> sorted;
  sorted.reserve(items.size());
  for (T* const item : order) sorted.push_back(std::move(*item));
  items = std::move(sorted);
}

}  // namespace velmora
