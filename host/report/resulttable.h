#pragma once
// A run's result table, "_result.txt": what the render regression tester says about every scene.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/report/files.h"

namespace host {

inline constexpr const char* kResultTableName = "_result.txt";

enum class SceneStatus { Pending, Ok, Error, Created, Skipped };

/// The word that the table uses, "OK".
const char* statusWord(SceneStatus status);

struct ResultRow {
  int number = 0;  ///< 1-based, the place in the table; images are named by it
  SceneStatus status = SceneStatus::Pending;
  double timeNew = 0;                ///< seconds, cut to 10 ms
  double timeReference = 0;          ///< seconds, cut to 10 ms; 0 unless the status is OK
  std::optional<double> timeChange;  ///< timeNew / timeReference - 1, to 4 decimals; only OK rows have it
  /// Mean difference as the run computed it, to 4 decimals; nothing for "None". In pictures of more than
  /// 2.8 million pixels its 32-bit arithmetic wraps: measure the difference image instead.
  std::optional<double> difference;
  std::string path;  ///< the scene file, any bytes
};

struct ResultTable {
  std::string version;  ///< of the host that ran, "16.038"
  std::vector<ResultRow> rows;
  bool cutOff = false;  ///< the text stopped within a line; that line is not among the rows
};

/// Reads the text of a table with either line end. Columns are taken by the grammar of a row, never by
/// blanks, since wide values run together and a path may hold blanks, status words and line ends: a path goes
/// on until a line that can only be the next row. Thread: any. Throws ReportError, naming line and reason.
ResultTable parseResultTable(std::string_view text);

/// Reads `folder`/_result.txt. Thread: any. Throws ReportError, naming the file too.
ResultTable readResultTable(const std::filesystem::path& folder);

/// The image of scene `number`: "0001.tif", more digits above 9999.
std::string imageName(int number);

/// Its difference image: "0001d.tif".
std::string differenceImageName(int number);

}  // namespace host
