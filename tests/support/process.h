#pragma once
// A program that runs as a process of its own: started, signalled, listened to, waited for.

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace test {

struct ProcessOptions {
  std::vector<std::string> environment = {};   ///< NAME=VALUE, besides what the test itself was given
  std::filesystem::path workingFolder = {};    ///< empty: the test's own
  std::optional<uint64_t> fileSizeLimit = {};  ///< bytes
  bool holdOut = false;                        ///< it blocks at its first standard output until releaseOut()
  bool holdErr = false;                        ///< it blocks at its first standard error until releaseErr()
};

/// How a process ended, and what it said.
struct Ended {
  int status = -1;  ///< exit status; -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string err;

  bool saidOut(const std::string& text) const { return out.find(text) != std::string::npos; }
  bool saidErr(const std::string& text) const { return err.find(text) != std::string::npos; }
};

/// A pipe that a child writes to. Held, it is full to the brim, and nobody reads.
class OutputPipe {
 public:
  explicit OutputPipe(bool held);
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;
  ~OutputPipe();

  int writeEnd() const { return writeEnd_; }
  void closeWriteEnd();
  /// Reads from now on.
  void release();
  /// Goes away as a reader does; whatever is written from now on fails.
  void closeReadEnd();
  /// Everything that was written; waits until the last writer is gone.
  std::string take();

 private:
  int readEnd_ = -1;
  int writeEnd_ = -1;
  size_t filling_ = 0;
  std::future<std::string> text_;
};

/// Gets no input. Killed with its test. Waiting has a generous deadline, and throws std::runtime_error then.
class Process {
 public:
  Process(const std::string& program, const std::vector<std::string>& arguments,
          const ProcessOptions& options = {});
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  void signal(int number);
  pid_t id() const { return pid_; }
  void releaseOut() { out_.release(); }
  void releaseErr() { err_.release(); }
  /// Closes the reading end of a held standard output.
  void closeOut() { out_.closeReadEnd(); }
  bool isRunning();
  /// Lets it run until the condition holds; false when it ended before.
  bool runUntil(const std::function<bool()>& condition);
  /// Waits for its end. Held output is released.
  Ended wait();

 private:
  OutputPipe out_;
  OutputPipe err_;
  pid_t pid_ = -1;
  std::optional<int> waitStatus_;
};

}  // namespace test
