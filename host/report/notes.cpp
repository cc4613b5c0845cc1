#include "host/report/notes.h"

#include <algorithm>
#include <iterator>

#include "host/report/text.h"

namespace host {

namespace {

/// Sorted.
std::vector<std::string> factsOf(const RunRecord& record) {
  std::vector<std::string> facts = record.facts;
  if (!record.hostVersion.empty()) facts.push_back("host " + record.hostVersion);
  if (!record.programVersion.empty()) facts.push_back("program " + record.programVersion);
  std::sort(facts.begin(), facts.end());
  return facts;
}

/// The facts that the other side does not have, joined by commas.
std::string joinMissing(const std::vector<std::string>& facts, const std::vector<std::string>& other) {
  std::vector<std::string> missing;
  std::set_difference(facts.begin(), facts.end(), other.begin(), other.end(), std::back_inserter(missing));
  std::string joined;
  for (const std::string& fact : missing) {
    if (!joined.empty()) joined += ", ";
    joined += fact;
  }
  return joined.empty() ? "none of these" : joined;
}

std::string fileNameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

std::vector<std::string> machineNotes(const RunRecord& reference, const RunRecord& run) {
  std::vector<std::string> notes;
  const std::vector<std::string> before = factsOf(reference);
  const std::vector<std::string> now = factsOf(run);
  if (before != now) {
    notes.push_back("reference was made with " + joinMissing(before, now) + "; this run with " +
                    joinMissing(now, before));
  }
  if (reference.threads != run.threads) {
    notes.push_back("times: reference ran with threads " + std::to_string(reference.threads) +
                    ", this run with " + std::to_string(run.threads));
  }
  return notes;
}

std::string sceneOrderNote(const ResultTable& reference, const ResultTable& run) {
  const std::size_t count = std::min(reference.rows.size(), run.rows.size());
  for (std::size_t i = 0; i < count; ++i) {
    const std::string before = fileNameOf(reference.rows[i].path);
    const std::string now = fileNameOf(run.rows[i].path);
    if (before == now) continue;
    return formatted(
        "reference has %s as scene %zu, this run %s: images are matched by number, and scenes were "
        "added, removed or renamed since",
        before.c_str(), i + 1, now.c_str());
  }
  return "";
}

}  // namespace host
