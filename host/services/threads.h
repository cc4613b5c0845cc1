#pragma once
// Worker threads, the one global lock, and the user's wish to stop.

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace host {

/// The one lock of the host. A thread that holds it may take it again.
std::recursive_mutex& globalLock();

/// Whether the user has asked the whole host to stop (Ctrl-C). Thread: any, also in a signal handler.
bool interruptRequested();
void setInterruptRequested(bool requested);

/// How many worker threads run at this moment. Thread: any.
int runningWorkers();

/// A thread that a command starts. Made, started and ended on the main thread.
class WorkerThread {
 public:
  struct Work {
    std::function<void()> main;
    std::function<bool()> testBreak;    ///< an extra reason to stop
    std::function<const char*()> name;  ///< asked at the start; shown by system tools, cut to 15 bytes
  };
  explicit WorkerThread(Work work) : work_(std::move(work)) {}
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;
  ~WorkerThread() { end(true); }

  /// False when it runs, or the system has no thread left. A thread that has ended can be started again.
  bool start();
  /// Asks it to stop; with `wait` returns when it has.
  void end(bool wait);
  /// Whether a stop was asked of it, started or not. Thread: any.
  bool testBreak() const;
  /// The thread that runs or ran; no thread's id before the first start.
  std::thread::id id() const { return id_; }

 private:
  Work work_;
  std::thread thread_;
  std::thread::id id_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> running_{false};
};

}  // namespace host
