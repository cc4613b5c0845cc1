#include "host/services/run_log.h"

#include "host/services/paths.h"

namespace host {

void RunLog::openedForWriting(const std::string& name) {
  constexpr std::string_view kTable = "_result.txt";
  const size_t slash = name.rfind('/');
  const std::string leaf = slash == std::string::npos ? name : name.substr(slash + 1);
  if (leaf != kTable) return;
  const std::lock_guard lock(mutex_);
  resultFolder_ = normalPath(slash == std::string::npos ? "." : name.substr(0, slash + 1));
}

void RunLog::loaded(const std::string& scene, double milliseconds) {
  const std::lock_guard lock(mutex_);
  costs_.push_back({scene, milliseconds, 0, 0, {}});
}

void RunLog::renderBegins() {
  const std::lock_guard lock(mutex_);
  if (!costs_.empty()) costs_.back().renderMs = 0;
}

void RunLog::rendered(double milliseconds) {
  const std::lock_guard lock(mutex_);
  if (!costs_.empty()) costs_.back().renderMs = milliseconds;
}

void RunLog::saved(double milliseconds) {
  const std::lock_guard lock(mutex_);
  if (!costs_.empty()) costs_.back().saveMs += milliseconds;
}

void RunLog::failed(const std::string& reason) {
  const std::lock_guard lock(mutex_);
  if (!costs_.empty()) costs_.back().failure = reason;
}

void RunLog::fileFailed() {
  const std::lock_guard lock(mutex_);
  ++filesFailed_;
}

int RunLog::filesFailed() const {
  const std::lock_guard lock(mutex_);
  return filesFailed_;
}

std::string RunLog::resultFolder() const {
  const std::lock_guard lock(mutex_);
  return resultFolder_;
}

std::vector<SceneCost> RunLog::costs() const {
  const std::lock_guard lock(mutex_);
  return costs_;
}

}  // namespace host
