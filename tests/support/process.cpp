#include "tests/support/process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace test {
namespace {

constexpr std::chrono::minutes kDeadline{3};
constexpr std::chrono::milliseconds kPollInterval{1};
constexpr int kCouldNotStart = 126;

void closeDescriptor(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

std::string readToEnd(int descriptor) {
  std::string text;
  std::array<char, 4096> block;
  for (;;) {
    const ssize_t count = read(descriptor, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(block.data(), static_cast<size_t>(count));
  }
}

size_t fillToTheBrim(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
  const std::vector<char> block(static_cast<size_t>(sysconf(_SC_PAGESIZE)), '.');
  size_t total = 0;
  for (ssize_t count; (count = write(descriptor, block.data(), block.size())) > 0;) {
    total += static_cast<size_t>(count);
  }
  fcntl(descriptor, F_SETFL, flags);
  return total;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Between fork and exec: only calls that are safe there.
[[noreturn]] void becomeProgram(char** arguments, char** environment, int out, int err,
                                const ProcessOptions& options) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int in = open("/dev/null", O_RDONLY);
  bool good = dup2(in, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 && dup2(err, STDERR_FILENO) >= 0;
  if (!options.workingFolder.empty()) good = good && chdir(options.workingFolder.c_str()) == 0;
  if (options.fileSizeLimit) {
    const rlimit limit{*options.fileSizeLimit, *options.fileSizeLimit};
    good = good && setrlimit(RLIMIT_FSIZE, &limit) == 0;
  }
  if (good) execve(arguments[0], arguments, environment);
  _exit(kCouldNotStart);
}

}  // namespace

OutputPipe::OutputPipe(bool held) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  readEnd_ = ends[0];
  writeEnd_ = ends[1];
  if (held) {
    filling_ = fillToTheBrim(writeEnd_);
  } else {
    release();
  }
}

OutputPipe::~OutputPipe() {
  closeDescriptor(writeEnd_);
  if (text_.valid()) text_.wait();
  closeDescriptor(readEnd_);
}

void OutputPipe::closeWriteEnd() { closeDescriptor(writeEnd_); }

void OutputPipe::closeReadEnd() {
  if (!text_.valid()) closeDescriptor(readEnd_);
}

void OutputPipe::release() {
  if (!text_.valid()) text_ = std::async(std::launch::async, readToEnd, readEnd_);
}

std::string OutputPipe::take() {
  release();
  const std::string text = text_.get();
  return text.size() > filling_ ? text.substr(filling_) : "";
}

Process::Process(const std::string& program, const std::vector<std::string>& arguments,
                 const ProcessOptions& options)
    : out_(options.holdOut), err_(options.holdErr) {
  std::vector<std::string> argumentTexts = {program};
  argumentTexts.insert(argumentTexts.end(), arguments.begin(), arguments.end());
  // The first of two equal names counts.
  std::vector<std::string> environmentTexts = options.environment;
  for (char** variable = environ; *variable != nullptr; ++variable) environmentTexts.emplace_back(*variable);
  const std::vector<char*> argumentPointers = pointersTo(argumentTexts);
  const std::vector<char*> environmentPointers = pointersTo(environmentTexts);
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("no process");
  if (pid_ == 0) {
    becomeProgram(const_cast<char**>(argumentPointers.data()), const_cast<char**>(environmentPointers.data()),
                  out_.writeEnd(), err_.writeEnd(), options);
  }
  out_.closeWriteEnd();
  err_.closeWriteEnd();
}

Process::~Process() {
  if (!isRunning()) return;
  signal(SIGKILL);
  waitpid(pid_, nullptr, 0);
}

void Process::signal(int number) {
  if (!waitStatus_) kill(pid_, number);
}

bool Process::isRunning() {
  int status = 0;
  if (!waitStatus_ && waitpid(pid_, &status, WNOHANG) == pid_) waitStatus_ = status;
  return !waitStatus_;
}

bool Process::runUntil(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;
  while (!condition()) {
    if (!isRunning()) return false;
    if (std::chrono::steady_clock::now() > deadline) {
      throw std::runtime_error("the process does not come to its point");
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

Ended Process::wait() {
  out_.release();
  err_.release();
  runUntil([] { return false; });
  Ended ended;
  if (WIFEXITED(*waitStatus_)) ended.status = WEXITSTATUS(*waitStatus_);
  if (WIFSIGNALED(*waitStatus_)) ended.signal = WTERMSIG(*waitStatus_);
  ended.out = out_.take();
  ended.err = err_.take();
  return ended;
}

}  // namespace test
