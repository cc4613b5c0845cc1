#pragma once
// Findings that somebody looked at and accepted, as a file beside the string files: a line that says what it
// is, then a finding a line as JSON, sorted. It belongs under version control with them.

#include <set>
#include <string>

#include "companions/strings/findings.h"

namespace companion {

using Subjects = std::set<Subject>;

/// The bare name of the file.
inline constexpr const char* kDismissalsName = "strings_dismissed.json";

/// Reads the dismissals of a folder; none where there is no file. Throws std::runtime_error with file, line
/// and reason.
Subjects readDismissals(const std::string& file);

/// Writes them as a whole or not at all. Throws std::system_error.
void writeDismissals(const std::string& file, const Subjects& subjects);

}  // namespace companion
