#pragma once
// The clock of the benchmarks, and the way they tell what they measured: one line "name value" a figure.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Adds the milliseconds from its making to its end to `sum`.
class AddTime {
 public:
  explicit AddTime(double& sum) : sum_(sum) {}
  AddTime(const AddTime&) = delete;
  AddTime& operator=(const AddTime&) = delete;
  ~AddTime() { sum_ += millisecondsSince(start_); }

 private:
  double& sum_;
  Clock::time_point start_ = Clock::now();
};

/// `values` is not empty.
inline double medianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

inline void report(const char* name, double value) { std::printf("%-24s %9.3f\n", name, value); }

}  // namespace bench
