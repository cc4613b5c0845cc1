#include "host/services/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <system_error>

#include "host/services/paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwErrno(const std::string& name) {
  throw std::system_error(errno, std::generic_category(), name);
}

constexpr int64_t kBlockSize = 65536;
// Whoever reads a file whole keeps more than its bytes.
constexpr int64_t kLongestWholeFile = int64_t{1} << 30;

std::error_code lastError() { return {errno, std::generic_category()}; }

/// In the same folder, and short: a name that fits there leaves no room for an addition.
std::string temporaryName(const std::string& place) {
  static std::atomic<unsigned> count{0};
  const std::string leaf = ".vesta-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".part";
  return (fs::path(place).parent_path() / leaf).string();
}

bool writeAll(int descriptor, const void* buffer, int64_t count) {
  const char* bytes = static_cast<const char*>(buffer);
  while (count > 0) {
    const ssize_t written = ::write(descriptor, bytes, static_cast<size_t>(count));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    count -= written;
  }
  return true;
}

bool contains(const fs::path& outer, const fs::path& inner) {
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

/// Whether walking into the link `entry` of `folder` would come back to a folder that the way to it has
/// already passed, through whatever links.
bool leadsAround(const fs::path& folder, const fs::path& entry) {
  std::error_code error;
  const fs::path target = fs::canonical(entry, error);
  if (error) return true;
  for (fs::path passed = folder; !passed.empty(); passed = passed.parent_path()) {
    const fs::path real = fs::canonical(passed, error);
    if (!error && contains(target, real)) return true;
    if (passed == passed.root_path()) break;
  }
  return false;
}

/// Opens what stands there already. Without O_NONBLOCK a pipe that nobody reads would keep the program
/// waiting; with it the writing itself would give up too early.
int openToWrite(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor >= 0) static_cast<void>(fcntl(descriptor, F_SETFL, 0));
  return descriptor;
}

}  // namespace

PendingFile::PendingFile(const std::string& name) {
  // The system would take what stands before it for the whole name.
  if (name.find('\0') != std::string::npos) throw std::system_error(EINVAL, std::generic_category(), name);
  std::error_code error;
  const fs::path real = fs::weakly_canonical(name, error);
  place_ = error || name.empty() ? name : real.string();
  const fs::file_status status = fs::status(place_, error);
  if (fs::is_directory(status)) throw std::system_error(EISDIR, std::generic_category(), name);
  if (fs::exists(status) && access(place_.c_str(), W_OK) != 0) throwErrno(name);
  if (fs::exists(status) && !fs::is_regular_file(status)) return;
  temporary_ = temporaryName(place_);
  const int descriptor = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor < 0) {
    temporary_.clear();
    throwErrno(name);
  }
  if (fs::exists(status)) static_cast<void>(fchmod(descriptor, static_cast<mode_t>(status.permissions())));
  ::close(descriptor);
}

PendingFile::~PendingFile() {
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void PendingFile::commit() {
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), place_.c_str()) != 0) throwErrno(place_);
  temporary_.clear();
}

FileStream::~FileStream() { abandon(); }

void FileStream::abandon() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  failure_.clear();
  pending_.reset();
  block_.clear();
  blockNext_ = 0;
}

bool FileStream::openForReading(const std::string& name) {
  abandon();
  // Without O_NONBLOCK a pipe of that name would keep the program waiting for a writer.
  descriptor_ = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor_ < 0) return false;
  struct stat status {};
  if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) return true;
  abandon();
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return false;
}

bool FileStream::openForWriting(const std::string& name) {
  abandon();
  if (name.empty()) return false;
  try {
    pending_ = std::make_unique<PendingFile>(name);
  } catch (const std::system_error&) {
    return false;
  }
  descriptor_ = openToWrite(pending_->path());
  return descriptor_ >= 0;
}

bool FileStream::close() {
  if (descriptor_ < 0) return false;
  writeBlock();
  // Some file systems tell of a full disk only here.
  if (::close(descriptor_) != 0 && !failure_) failure_ = lastError();
  descriptor_ = -1;
  if (!failure_ && pending_) {
    try {
      pending_->commit();
    } catch (const std::system_error& error) {
      failure_ = error.code();
    }
  }
  pending_.reset();
  return !failure_;
}

int64_t FileStream::readDirectly(char* buffer, int64_t count) const {
  int64_t total = 0;
  while (total < count) {
    const ssize_t got = ::read(descriptor_, buffer + total, static_cast<size_t>(count - total));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) break;
    total += got;
  }
  return total;
}

int64_t FileStream::takeFromBlock(char* buffer, int64_t count) {
  const int64_t taken = std::min(count, static_cast<int64_t>(block_.size() - blockNext_));
  std::copy_n(block_.begin() + static_cast<std::ptrdiff_t>(blockNext_), taken, buffer);
  blockNext_ += static_cast<size_t>(taken);
  return taken;
}

int64_t FileStream::read(void* buffer, int64_t count) {
  if (count <= 0) return 0;
  char* bytes = static_cast<char*>(buffer);
  int64_t total = takeFromBlock(bytes, count);
  if (total == count) return total;
  if (count - total >= kBlockSize) {
    const int64_t got = readDirectly(bytes + total, count - total);
    return got < 0 ? -1 : total + got;
  }
  block_.resize(kBlockSize);
  blockNext_ = 0;
  const int64_t got = readDirectly(block_.data(), kBlockSize);
  block_.resize(static_cast<size_t>(std::max<int64_t>(got, 0)));
  return got < 0 ? -1 : total + takeFromBlock(bytes + total, count - total);
}

bool FileStream::write(const void* buffer, int64_t count) {
  if (descriptor_ < 0 || !pending_ || count < 0) return false;
  if (count >= kBlockSize - static_cast<int64_t>(block_.size())) writeBlock();
  if (count >= kBlockSize) {
    if (!failure_ && !writeAll(descriptor_, buffer, count)) failure_ = lastError();
  } else {
    const char* bytes = static_cast<const char*>(buffer);
    block_.insert(block_.end(), bytes, bytes + count);
  }
  return !failure_;
}

void FileStream::writeBlock() {
  if (!pending_) return;
  if (!failure_ && !writeAll(descriptor_, block_.data(), static_cast<int64_t>(block_.size())))
    failure_ = lastError();
  block_.clear();
}

int64_t FileStream::length() const {
  struct stat status {};
  if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) return -1;
  return status.st_size + (pending_ ? static_cast<int64_t>(block_.size()) : 0);
}

std::vector<ListedEntry> listFolder(const std::string& folder) {
  std::vector<ListedEntry> entries;
  fs::directory_iterator walk(folder);
  while (walk != fs::directory_iterator()) {
    std::error_code ignored;
    const bool isFolder = walk->is_directory(ignored);
    const bool isLink = walk->is_symlink(ignored);
    if (!isFolder || !isLink || !leadsAround(folder, walk->path())) {
      entries.push_back({walk->path().filename().string(), isFolder});
    }
    ++walk;
  }
  std::sort(entries.begin(), entries.end(),
            [](const ListedEntry& a, const ListedEntry& b) { return a.name < b.name; });
  return entries;
}

std::string reasonOf(const std::exception& error) {
  const auto* system = dynamic_cast<const std::system_error*>(&error);
  return system != nullptr ? system->code().message() : error.what();
}

std::string readWholeFile(const fs::path& file) {
  FileStream stream;
  if (!stream.openForReading(file.string())) throwErrno(file.string());
  const int64_t length = std::max<int64_t>(stream.length(), 0);
  std::string bytes;
  // Files of the system say that they are empty, and others grow meanwhile.
  for (int64_t wanted = std::max<int64_t>(length, kBlockSize), got = wanted; got == wanted;
       wanted = kBlockSize) {
    const size_t before = bytes.size();
    if (static_cast<int64_t>(before) + wanted > kLongestWholeFile)
      throw std::system_error(EFBIG, std::generic_category(), file.string());
    bytes.resize(before + static_cast<size_t>(wanted));
    got = stream.read(bytes.data() + before, wanted);
    if (got < 0) throwErrno(file.string());
    bytes.resize(before + static_cast<size_t>(got));
  }
  return bytes;
}

void writeWholeFile(const std::string& name, std::string_view bytes) {
  PendingFile pending(name);
  const int descriptor = openToWrite(pending.path());
  if (descriptor < 0) throwErrno(name);
  const bool written = writeAll(descriptor, bytes.data(), static_cast<int64_t>(bytes.size()));
  const int reason = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) errno = reason;
  if (!written || !closed) throwErrno(name);
  pending.commit();
}

}  // namespace host
