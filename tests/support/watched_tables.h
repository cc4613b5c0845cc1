#pragma once
// One decorator for any host's tables, made from the slot lists: it counts calls, fails the n-th, follows
// handles from Gives to Takes, and keeps what was done wrong.

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "vesta.framework/contract/host_tables.h"
#include "vesta.framework/contract/slot_types.h"

namespace test {

/// Watches one host while it lives; one at a time. Thread: any.
class Watch {
 public:
  explicit Watch(const HostTables& inner);
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() { current_ = nullptr; }

  /// The decorated tables, to be given to the module.
  const HostTables& tables() const { return tables_; }
  const HostTables& inner() const { return inner_; }
  static Watch& current() { return *current_; }

  /// From now on the call of that number, counted from 0 among those that can fail, answers its failure.
  void failAt(int call) { failAt_ = call; }
  /// Only calls of that slot are counted for failAt, from 0 again.
  void countOnly(std::string slot) {
    onlySlot_ = std::move(slot);
    calls_ = 0;
  }
  /// Called before each slot, with its name.
  void onCall(std::function<void(const std::string&)> hook) { hook_ = std::move(hook); }

  int calls() const { return calls_; }
  const std::string& failedSlot() const { return failedSlot_; }
  const std::map<std::string, int>& callsBySlot() const { return bySlot_; }
  /// What was done wrong with handles, and what still lives.
  std::vector<std::string> problems() const;

  // For the decorated slots.
  bool enter(const char* slot, bool canFail);
  void given(const void* handle, const char* slot);
  void lent(const void* handle);
  void taken(const void* handle, const char* slot);
  void used(const void* handle, const char* slot);

 private:
  struct Handle {
    std::string slot;
    bool alive = true;
  };
  static Watch* current_;
  const HostTables inner_;
  HostTables tables_;
  mutable std::recursive_mutex mutex_;
  std::function<void(const std::string&)> hook_;
  std::string onlySlot_;
  int failAt_ = -1;
  int calls_ = 0;
  std::string failedSlot_;
  std::map<std::string, int> bySlot_;
  std::map<const void*, Handle> handles_;
  std::vector<std::string> problems_;
};

}  // namespace test
