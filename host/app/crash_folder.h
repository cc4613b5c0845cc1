#pragma once
// The folder of crash reports. Everything here is safe in a signal handler.

#include <array>
#include <ctime>
#include <string_view>

namespace host {

inline constexpr int kMostReports = 50;

/// A report that was begun.
struct ReportFile {
  int descriptor = -1;      ///< -1: it could not be made
  std::string_view reason;  ///< why not
  std::array<char, 4096> path{};
};

/// Makes a new file in `folder`, which is made when it is missing. Never one that was there before.
ReportFile makeReport(const char* folder, std::time_t now);

/// Removes the oldest reports when there are more than kMostReports.
void removeOldReports(const char* folder);

}  // namespace host
