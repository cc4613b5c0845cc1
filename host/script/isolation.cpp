#include "host/script/isolation.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

#include "host/script/diagnostics.h"
#include "host/services/fatal_signals.h"

namespace host {
namespace {

constexpr rlim_t kMostSeconds = 10;

/// One end of a pipe.
class PipeEnd {
 public:
  explicit PipeEnd(int descriptor) : descriptor_(descriptor) {}
  PipeEnd(const PipeEnd&) = delete;
  PipeEnd& operator=(const PipeEnd&) = delete;
  ~PipeEnd() { close(); }

  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

  /// Everything up to the end.
  std::string readAll() const {
    std::string bytes;
    char buffer[65536];
    for (;;) {
      const ssize_t count = ::read(descriptor_, buffer, sizeof buffer);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return bytes;
      bytes.append(buffer, static_cast<std::size_t>(count));
    }
  }

  bool writeAll(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

 private:
  int descriptor_;
};

void limitTheCopy() {
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const rlimit time{kMostSeconds, kMostSeconds};
  setrlimit(RLIMIT_CPU, &time);
  // A failed assertion of the library is no text for the user.
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
  std::signal(SIGPIPE, SIG_IGN);
  // A crash here is an error of the script, told as such, and no crash of the host.
  restoreFatalSignals();
}

[[noreturn]] void workInTheCopy(const std::function<std::string()>& work, const PipeEnd& out) {
  bool good = false;
  try {
    limitTheCopy();
    good = out.writeAll(work());
  } catch (...) {
    // The exit status says it.
  }
  // Nothing of the host may be ended twice.
  _exit(good ? 0 : 1);
}

int waitFor(pid_t process) {
  int status = 0;
  while (::waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
  }
  return status;
}

std::string whyKilled(int signal) {
  // At both limits of RLIMIT_CPU; the second one comes as SIGKILL.
  if (signal == SIGXCPU || signal == SIGKILL) return "the script engine took too long";
  return std::string("the script engine failed: ") + strsignal(signal);
}

}  // namespace

std::string runApart(const std::function<std::string()>& work) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  PipeEnd in(ends[0]);
  PipeEnd out(ends[1]);
  const pid_t process = ::fork();
  if (process < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (process == 0) workInTheCopy(work, out);
  out.close();
  std::string answer = in.readAll();
  const int status = waitFor(process);
  if (WIFSIGNALED(status)) throw ScriptError(whyKilled(WTERMSIG(status)));
  if (WEXITSTATUS(status) != 0) throw ScriptError("the script engine failed");
  return answer;
}

}  // namespace host
