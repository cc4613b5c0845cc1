#include "host/report/files.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* what, const fs::path& file, int error) {
  throw ReportError(std::string(what) + " " + file.string() + ": " + std::strerror(error));
}

/// An open file that is closed in any case; close() tells whether every byte arrived.
class OpenFile {
 public:
  OpenFile(const fs::path& file, const char* mode) : handle_(std::fopen(file.c_str(), mode)) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { close(); }

  explicit operator bool() const { return handle_ != nullptr; }
  std::size_t read(char* bytes, std::size_t count) { return std::fread(bytes, 1, count, handle_); }
  bool failed() const { return std::ferror(handle_) != 0; }
  bool write(std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), handle_) == text.size();
  }
  bool close() {
    std::FILE* handle = handle_;
    handle_ = nullptr;
    return handle == nullptr || std::fclose(handle) == 0;
  }

 private:
  std::FILE* handle_;
};

/// 0, or the errno of what failed.
int writeStraight(const fs::path& file, std::string_view text) {
  errno = 0;
  OpenFile out(file, "wb");
  if (!out) return errno;
  if (!out.write(text)) return errno != 0 ? errno : EIO;
  if (!out.close()) return errno != 0 ? errno : EIO;
  return 0;
}

}  // namespace

std::string readTextFile(const fs::path& file, std::size_t limit) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) fail("cannot read", file, error ? error.value() : ENOENT);
  // A pipe would keep a build server waiting for ever.
  if (!fs::is_regular_file(status))
    throw ReportError("cannot read " + file.string() + ": not a regular file");
  OpenFile in(file, "rb");
  if (!in) fail("cannot read", file, errno);
  std::string text;
  std::size_t count = 1;
  for (char block[65536]; count > 0; text.append(block, count)) {
    count = in.read(block, sizeof(block));
    if (in.failed()) fail("cannot read", file, errno);
    if (count > limit - text.size()) {
      throw ReportError("cannot read " + file.string() + ": larger than " + std::to_string(limit) + " bytes");
    }
  }
  return text;
}

void writeTextFile(const fs::path& file, std::string_view text) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    if (const int reason = writeStraight(file, text)) fail("cannot write", file, reason);
    return;
  }
  error.clear();  // that nothing is there yet is no error
  const fs::path target = fs::exists(status) ? fs::canonical(file, error) : file;
  const fs::path temporary = target.string() + "." + std::to_string(getpid()) + ".tmp";
  int reason = error ? error.value() : writeStraight(temporary, text);
  if (reason == 0) {
    fs::rename(temporary, target, error);
    reason = error.value();
  }
  if (reason != 0) {
    fs::remove(temporary, error);
    fail("cannot write", file, reason);
  }
}

}  // namespace host
