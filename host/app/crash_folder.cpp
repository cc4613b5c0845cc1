#include "host/app/crash_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <string_view>

namespace host {
namespace {

constexpr std::string_view kPrefix = "crash-";
constexpr std::string_view kSuffix = ".txt";
constexpr int kMostOfOneSecond = 100;

/// Text put together in a fixed buffer; what does not fit is lost, and told.
class PathBuilder {
 public:
  explicit PathBuilder(std::array<char, 4096>& path) : path_(path) {}

  PathBuilder& operator<<(std::string_view text) {
    if (text.size() >= path_.size() - size_) {
      isCut_ = true;
      return *this;
    }
    std::memcpy(path_.data() + size_, text.data(), text.size());
    size_ += text.size();
    path_[size_] = '\0';
    return *this;
  }
  PathBuilder& number(unsigned value, std::size_t digits = 1) {
    std::array<char, 16> text;
    const char* end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    const auto length = static_cast<std::size_t>(end - text.data());
    for (std::size_t i = length; i < digits; ++i) *this << "0";
    return *this << std::string_view(text.data(), length);
  }
  bool isCut() const { return isCut_; }

 private:
  std::array<char, 4096>& path_;
  std::size_t size_ = 0;
  bool isCut_ = false;
};

/// Names in the order of time, in UTC.
void appendTime(PathBuilder& path, std::time_t now) {
  using namespace std::chrono;
  const sys_seconds moment{seconds(now)};
  const auto day = floor<days>(moment);
  const year_month_day date{day};
  const hh_mm_ss time{moment - day};
  path.number(static_cast<unsigned>(static_cast<int>(date.year())), 4);
  path.number(static_cast<unsigned>(date.month()), 2).number(static_cast<unsigned>(date.day()), 2) << "-";
  path.number(static_cast<unsigned>(time.hours().count()), 2);
  path.number(static_cast<unsigned>(time.minutes().count()), 2);
  path.number(static_cast<unsigned>(time.seconds().count()), 2);
}

bool appendName(PathBuilder& path, const char* folder, std::time_t now, int attempt) {
  path << folder << "/" << kPrefix;
  appendTime(path, now);
  path << "-";
  path.number(static_cast<unsigned>(getpid()));
  if (attempt > 1) (path << "-").number(static_cast<unsigned>(attempt));
  path << kSuffix;
  return !path.isCut();
}

/// With every folder above it.
void makeFolder(std::string_view folder) {
  std::array<char, 4096> path;
  if (folder.size() >= path.size()) return;
  for (std::size_t i = 1; i <= folder.size(); ++i) {
    if (i < folder.size() && folder[i] != '/') continue;
    std::memcpy(path.data(), folder.data(), i);
    path[i] = '\0';
    mkdir(path.data(), 0777);
  }
}

bool isReport(std::string_view name) {
  return name.size() > kPrefix.size() + kSuffix.size() && name.substr(0, kPrefix.size()) == kPrefix &&
         name.substr(name.size() - kSuffix.size()) == kSuffix;
}

/// What a walk through the folder finds.
struct Reports {
  int count = 0;
  std::array<char, 256> oldest{};

  void add(const char* name) {
    if (!isReport(name) || std::strlen(name) >= oldest.size()) return;
    if (count++ == 0 || std::strcmp(name, oldest.data()) < 0)
      std::memcpy(oldest.data(), name, std::strlen(name) + 1);
  }
};

/// The library's way to list a folder allocates.
Reports reportsIn(int folder) {
  Reports reports;
  alignas(dirent64) std::array<char, 4096> entries;
  lseek(folder, 0, SEEK_SET);
  for (;;) {
    const long bytes = syscall(SYS_getdents64, folder, entries.data(), entries.size());
    if (bytes <= 0) return reports;
    for (long i = 0; i < bytes;) {
      const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + i);
      reports.add(entry->d_name);
      i += entry->d_reclen;
    }
  }
}

}  // namespace

ReportFile makeReport(const char* folder, std::time_t now) {
  ReportFile report;
  makeFolder(folder);
  for (int attempt = 1; attempt <= kMostOfOneSecond; ++attempt) {
    PathBuilder path(report.path);
    if (!appendName(path, folder, now, attempt)) {
      report.reason = "its name is too long";
      break;
    }
    report.descriptor = open(report.path.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (report.descriptor >= 0) break;
    report.reason = strerrordesc_np(errno);
    if (errno != EEXIST) break;
  }
  return report;
}

void removeOldReports(const char* folder) {
  const int descriptor = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  for (int left = kMostReports; left > 0; --left) {
    const Reports reports = reportsIn(descriptor);
    if (reports.count <= kMostReports || unlinkat(descriptor, reports.oldest.data(), 0) != 0) break;
  }
  close(descriptor);
}

}  // namespace host
