#pragma once
// Reading and writing the small files of a result folder, with the reason when it does not work.

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace host {

/// Something that judges or reports cannot read or write; what() names the file and the reason.
class ReportError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The whole file. Thread: any. Throws ReportError when it cannot be read, is no regular file, or is larger
/// than `limit` bytes.
std::string readTextFile(const std::filesystem::path& file, std::size_t limit);

/// Replaces `file` by one with these bytes: written under a temporary name beside it, then renamed, so that
/// nobody reads half of it. A link is followed; a device or pipe (/dev/stdout) is written straight. Thread:
/// any, one writer a file at a time. Throws ReportError; `file` is then as it was.
void writeTextFile(const std::filesystem::path& file, std::string_view text);

}  // namespace host
