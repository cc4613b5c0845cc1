#pragma once
// The clock of the benchmarks, and the way they tell what they measured: one line a figure,
// "name median least". The least is what a machine that others use as well would do if it were left alone.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Milliseconds by the wall clock, and of them those that the thread had the processor: the rest is waiting,
/// for disks or for other programs.
struct Cost {
  double wall = 0, processor = 0;

  /// As read from the clocks; only differences mean something. `processor` counts this thread alone.
  static Cost now() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    const std::chrono::duration<double, std::milli> wall = Clock::now().time_since_epoch();
    return {wall.count(), static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) * 1e-6};
  }
  Cost operator+(const Cost& other) const { return {wall + other.wall, processor + other.processor}; }
  Cost operator-(const Cost& other) const { return {wall - other.wall, processor - other.processor}; }
};

/// Adds what passes from its making to its end to `sum`.
class AddCost {
 public:
  explicit AddCost(Cost& sum) : sum_(sum) {}
  AddCost(const AddCost&) = delete;
  AddCost& operator=(const AddCost&) = delete;
  ~AddCost() { sum_ = sum_ + (Cost::now() - start_); }

 private:
  Cost& sum_;
  Cost start_ = Cost::now();
};

/// Prints median and least of `values`, which are not none.
inline void report(const std::string& name, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  std::printf("%s %.3f %.3f\n", name.c_str(), values[values.size() / 2], values.front());
}

}  // namespace bench
