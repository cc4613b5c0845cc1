// The host's sort classes: the comparison of two items is the one virtual operation.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

namespace vesta {

/// Sorts arrays of any item, given as bytes. Stable.
class GeSchmodderSort {
 public:
  GeSchmodderSort() = default;
  GeSchmodderSort(const GeSchmodderSort&) = default;
  GeSchmodderSort& operator=(const GeSchmodderSort&) = default;
  virtual ~GeSchmodderSort() = default;
  /// Negative when `first` sorts before `second`, 0 when equal, else positive.
  virtual int32_t Compare(const void* first, const void* second) const = 0;

  /// Sorts `count` items of `itemSize` bytes each, ascending. Items are moved as bytes.
  void Sort(void* data, int32_t count, int32_t itemSize) const;
};

inline void GeSchmodderSort::Sort(void* data, int32_t count, int32_t itemSize) const {
  if (data == nullptr || count < 2 || itemSize < 1) return;
  auto* items = static_cast<unsigned char*>(data);
  const auto size = static_cast<size_t>(itemSize);
  std::vector<uint32_t> order(static_cast<size_t>(count));
  std::iota(order.begin(), order.end(), 0U);
  std::stable_sort(order.begin(), order.end(),
                   [&](uint32_t a, uint32_t b) { return Compare(items + a * size, items + b * size) < 0; });
  std::vector<unsigned char> sorted(order.size() * size);
  for (size_t i = 0; i < order.size(); ++i) std::memcpy(&sorted[i * size], items + order[i] * size, size);
  std::memcpy(items, sorted.data(), sorted.size());
}

/// Sorts, and finds by bisection in what was sorted.
class GeSortAndSearchEx : public GeSchmodderSort {
 public:
  /// The item that compares equal to `key`, or null. `data` must be sorted.
  void* Search(const void* key, void* data, int32_t count, int32_t itemSize) const;
};

inline void* GeSortAndSearchEx::Search(const void* key, void* data, int32_t count, int32_t itemSize) const {
  auto* items = static_cast<unsigned char*>(data);
  int32_t low = 0;
  int32_t high = count;
  while (low < high) {
    const int32_t middle = low + (high - low) / 2;
    void* item = items + static_cast<size_t>(middle) * static_cast<size_t>(itemSize);
    const int32_t order = Compare(key, item);
    if (order == 0) return item;
    if (order < 0) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return nullptr;
}

}  // namespace vesta
