// Worker threads and the global lock.
#pragma once

#include "vesta.framework/handles.h"

namespace vesta {

/// Holds the one global lock of the host for the length of a scope.
class GlobalThreadLock {
 public:
  GlobalThreadLock() { Host().threads.GlobalThreadLock(); }
  ~GlobalThreadLock() { Host().threads.GlobalThreadUnlock(); }
  GlobalThreadLock(const GlobalThreadLock&) = delete;
  GlobalThreadLock& operator=(const GlobalThreadLock&) = delete;
};

struct ThreadTraits {
  using Handle = HostThread;
  static void End(HostThread* handle) { Host().threads.ThreadFree(handle); }
};

/// Base of worker threads. Made, started and ended on the main thread.
class VestaThread {
 public:
  VestaThread();
  VestaThread(const VestaThread&) = delete;
  VestaThread& operator=(const VestaThread&) = delete;

  /// Frees the host's thread; a class whose Main runs calls End first, while its own part still stands.
  virtual ~VestaThread();
  /// An extra reason to stop.
  virtual bool TestBreakExtra() { return false; }
  /// The thread's work.
  virtual void Main() = 0;
  /// A constant text.
  virtual const char* GetThreadName() = 0;

  /// Runs Main on a thread of its own. False when that could not be started.
  bool Start();
  /// Asks the thread to stop and waits for it.
  void End();
  /// Whether a stop was asked. Thread: any.
  bool TestBreak() const;
  HostThread* Get() const { return thread_.Get(); }

 private:
  Owned<ThreadTraits> thread_;
};

}  // namespace vesta
