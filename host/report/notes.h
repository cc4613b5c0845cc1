#pragma once
// What explains the differences of a whole folder at once: another machine, other scenes.

#include <string>
#include <vector>

#include "host/report/resulttable.h"
#include "host/report/runrecord.h"

namespace host {

/// Sentences about what differs between the program and machine that made the reference and those of this
/// run: versions and renderer facts, which change pixels, and threads, which change times. Empty: nothing.
std::vector<std::string> machineNotes(const RunRecord& reference, const RunRecord& run);

/// A sentence when the reference's rows name other scene files than this run's: images are matched by their
/// number alone, so that a scene added or removed shifts all that follow. Folders are not compared, since a
/// checkout may lie anywhere. Empty: all names agree as far as both tables go.
std::string sceneOrderNote(const ResultTable& reference, const ResultTable& run);

}  // namespace host
