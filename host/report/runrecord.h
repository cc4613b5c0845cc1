#pragma once
// The record that the host leaves beside a result table, "_run.json": what ran, with what, and how long
// every step took. Whoever judges a run later learns from it why two machines disagree.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/report/files.h"

namespace host {

inline constexpr const char* kRunRecordName = "_run.json";

struct SceneTimes {
  std::string scene;  ///< full path, any bytes
  double loadMs = 0;  ///< milliseconds, as all three
  double renderMs = 0;
  double saveMs = 0;
  std::string failure = {};  ///< why it could not be loaded, rendered or saved, any bytes; empty: it could
};

struct RunRecord {
  std::string scenesFolder;        ///< absolute, any bytes
  std::string referenceFolder;     ///< absolute, any bytes; empty: none was given
  std::string hostVersion;         ///< "16.038"
  std::string programVersion;      ///< of the program that ran
  std::vector<std::string> facts;  ///< what can change a pixel, "name version" each, as renderFacts()
  int threads = 0;                 ///< of the renderer
  std::string started;             ///< ISO 8601 in UTC, "2026-11-22T21:47:00Z"
  double totalMs = 0;              ///< of the whole run, milliseconds
  std::vector<SceneTimes> scenes;  ///< in the order they ran
};

/// The record of a run that went on in the result folder of an earlier one, where `now` is its second
/// session: the earlier scenes that `now` does not name, then those of `now`; the earlier start and reference
/// folder; the sum of both totals; all else as in `now`.
RunRecord continued(const RunRecord& earlier, RunRecord now);

/// The record as JSON text. A path that is not UTF-8 cannot stand in JSON: instead of a string it becomes
/// {"text": readable form, "hex": its bytes, two digits each}.
std::string runRecordText(const RunRecord& record);

/// Reads such text. Fields that are missing keep their defaults, unknown ones are ignored. Throws
/// ReportError for anything that is not JSON, nested deeper than 64, or of the wrong kind, naming the field.
RunRecord parseRunRecord(const std::string& text);

/// Writes `folder`/_run.json, in one step as seen by readers. Thread: any. Throws ReportError.
void writeRunRecord(const std::filesystem::path& folder, const RunRecord& record);

/// Reads `folder`/_run.json; nothing when there is none. Thread: any. Throws ReportError, naming the file.
/// A result folder can be judged without its record: callers note the error and go on.
std::optional<RunRecord> readRunRecord(const std::filesystem::path& folder);

}  // namespace host
