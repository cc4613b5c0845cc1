#include "host/report/files.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "host/services/files.h"

namespace host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const char* what, const fs::path& file, int error) {
  throw ReportError(std::string(what) + " " + file.string() + ": " + std::strerror(error));
}

}  // namespace

std::string readTextFile(const fs::path& file, std::size_t limit) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) fail("cannot read", file, error ? error.value() : ENOENT);
  // A pipe would keep a build server waiting for ever.
  if (!fs::is_regular_file(status))
    throw ReportError("cannot read " + file.string() + ": not a regular file");
  try {
    if (fs::file_size(file) > limit) {
      throw ReportError("cannot read " + file.string() + ": larger than " + std::to_string(limit) + " bytes");
    }
    return readWholeFile(file);
  } catch (const std::system_error& reason) {
    fail("cannot read", file, reason.code().value());
  }
}

void writeTextFile(const fs::path& file, std::string_view text) {
  try {
    writeWholeFile(file.string(), text);
  } catch (const std::system_error& reason) {
    fail("cannot write", file, reason.code().value());
  }
}

}  // namespace host
