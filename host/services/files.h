#pragma once
// Files that are read, files that are written as a whole or not at all, and folder listings.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace host {

/// Where a file is written before it takes its name: beside its place, under a name that no tool takes for a
/// file of its own. Without commit() nothing changes at the place.
class PendingFile {
 public:
  /// Throws std::system_error when the place is not writable.
  explicit PendingFile(const std::string& name);
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  /// Where to write. A device or pipe is written directly.
  const std::string& path() const { return temporary_.empty() ? place_ : temporary_; }
  /// Gives the file its name. Throws std::system_error.
  void commit();

 private:
  std::string place_;
  std::string temporary_;
};

/// A file of the host's file area. One thread at a time.
class FileStream {
 public:
  FileStream() = default;
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;
  ~FileStream();

  bool openForReading(const std::string& name);
  bool openForWriting(const std::string& name);
  bool isWritten() const { return pending_ != nullptr; }
  /// A file that was written takes its name now. False when it was not open, or a byte could not be written.
  bool close();
  /// Why the last close() failed.
  const std::error_code& failure() const { return failure_; }
  /// Bytes read; fewer than `count` only at the end, -1 on an error.
  int64_t read(void* buffer, int64_t count);
  bool write(const void* buffer, int64_t count);
  /// Bytes; -1 when nothing is open.
  int64_t length() const;

 private:
  void abandon();
  /// From the descriptor, past the block.
  int64_t readDirectly(char* buffer, int64_t count) const;
  /// What is left of the block, up to `count` bytes.
  int64_t takeFromBlock(char* buffer, int64_t count);
  /// Writes what was collected.
  void writeBlock();

  int descriptor_ = -1;
  std::vector<char> block_;    ///< read ahead, or not yet written: tools read and write byte by byte
  std::size_t blockNext_ = 0;  ///< the first byte of it that nobody has taken
  std::error_code failure_;    ///< the first thing that went wrong
  std::unique_ptr<PendingFile> pending_;
};

struct ListedEntry {
  std::string name;  ///< bare
  bool isFolder = false;
};

/// The entries of a folder sorted by the bytes of their names. A link to a folder that would lead the walk
/// around in a circle is left out. Throws std::system_error when the folder cannot be listed.
std::vector<ListedEntry> listFolder(const std::string& folder);

/// What went wrong, without the name of the file that system errors carry.
std::string reasonOf(const std::exception& error);

/// The bytes of a file of less than 1 GiB. Throws std::system_error.
std::string readWholeFile(const std::filesystem::path& file);
/// Writes a file as a whole or not at all. Throws std::system_error.
void writeWholeFile(const std::string& name, std::string_view bytes);

}  // namespace host
