// The host's sort classes: the comparison of two items is the one virtual operation.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

namespace vesta {

/// The positions 0 to count - 1 in ascending order of `less`, equal ones as they stand. By merging, since a
/// comparison that a host call answers may contradict itself, which other sorts of the standard library take
/// for a promise and leave their arrays.
template <class Less>
std::vector<uint32_t> SortedOrder(uint32_t count, Less less) {
  std::vector<uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0U);
  std::vector<uint32_t> merged(count);
  for (size_t run = 1; run < order.size(); run *= 2) {
    for (size_t start = 0; start < order.size(); start += 2 * run) {
      const auto at = [&](size_t i) {
        return order.begin() + static_cast<std::ptrdiff_t>(std::min(i, order.size()));
      };
      std::merge(at(start), at(start + run), at(start + run), at(start + 2 * run),
                 merged.begin() + static_cast<std::ptrdiff_t>(start), less);
    }
    order.swap(merged);
  }
  return order;
}

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
  const auto order = SortedOrder(static_cast<uint32_t>(count), [&](uint32_t a, uint32_t b) {
    return Compare(items + a * size, items + b * size) < 0;
  });
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
