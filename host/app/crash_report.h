#pragma once
// When the program crashes it leaves a report of what it was, what it did and where it was, and ends by the
// signal as it would have without one: exit status and core dump stay what they are.

#include <string>

namespace host {

/// From now on crashes are reported, on standard error until there is a folder. `arguments` lives as long as
/// the program. Thread: main, before there are others.
void installCrashReports(int count, const char* const* arguments);

/// Reports go to this folder; it is made at the first crash. A name of more than 4000 bytes is not taken.
/// Thread: main, before there are others.
void setCrashFolder(const std::string& folder);

}  // namespace host
